#include "app/CharacterDriver.h"

#include "characters/CharacterMotion.h"
#include "characters/SpriteImages.h"
#include "panel/UsagePanelView.h"
#include "platform/StatusItem.h"

#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr double phaseStep = 0.12; // per step of the timer, at usual speed
constexpr double characterTimePerPhase = 0.5; // seconds
constexpr int bobSteps = 4;
constexpr int speechRest = 4; // steps for which a line that is typed out counts as being typed

/// How many half phases one of the theme's own menu frames lasts.
int menuFrameDivisor(MascotState state)
{
    switch (state) {
    case MascotState::active:
        return 2;
    case MascotState::tired:
        return 4;
    case MascotState::exhausted:
        return 8;
    case MascotState::idle:
        break;
    }
    return 6;
}

} // namespace

CharacterDriver::CharacterDriver(const PreferenceStore& preferences, StatusItem& statusItem,
                                 UsagePanelView& panel)
    : m_preferences(preferences)
    , m_statusItem(statusItem)
    , m_panel(panel)
{
    m_timer.setInterval(animationInterval);
    connect(&m_timer, &QTimer::timeout, this, &CharacterDriver::advanceAnimation);
    m_speechTimer.setInterval(speechInterval);
    connect(&m_speechTimer, &QTimer::timeout, this, &CharacterDriver::advanceSpeech);
}

void CharacterDriver::setTheme(const PixelTheme* theme)
{
    m_theme = theme;
    m_lastIconKey.clear();
}

void CharacterDriver::setReducedMotion(bool isReduced)
{
    m_reducedMotion = isReduced;
    m_panel.setLively(CharacterMotion::playsLively(m_preferences, isReduced));
    if (isReduced)
        m_panel.setAnimationTime(0);
}

void CharacterDriver::updateAnimationTimers(bool isOpen)
{
    if (isOpen) {
        m_speed = CharacterMotion::speedFactor(CharacterMotion::animationSpeed(m_preferences));
        if (!m_timer.isActive())
            m_timer.start();
        continueSpeech();
        return;
    }
    m_timer.stop();
    m_speechTimer.stop();
    updateStatusItem(0, menuBarState(m_panel.services()));
}

void CharacterDriver::setSpeedDraft(std::optional<int> step)
{
    m_speed = CharacterMotion::speedFactor(
        step.value_or(CharacterMotion::animationSpeed(m_preferences)));
}

void CharacterDriver::updateStillImages()
{
    if (!m_timer.isActive())
        updateStatusItem(0, menuBarState(m_panel.services()));
}

void CharacterDriver::advanceAnimation()
{
    m_animationPhase += m_speed * phaseStep;
    const MascotState state = menuBarState(m_panel.services());
    updateStatusItem(menuFrame(state), state);
    const double time = m_reducedMotion ? 0 : m_animationPhase * characterTimePerPhase;
    m_panel.setAnimationTime(time);
    if (onStep)
        onStep(time);
}

void CharacterDriver::restartSpeech()
{
    m_panel.setSpeechRevealCount(0);
    continueSpeech();
}

void CharacterDriver::continueSpeech()
{
    if (m_reducedMotion)
        advanceSpeech();
    else if (m_timer.isActive() && !m_speechTimer.isActive())
        m_speechTimer.start();
}

void CharacterDriver::advanceSpeech()
{
    const int count = m_panel.speechRevealCount();
    if (m_reducedMotion) {
        m_panel.setSpeechRevealCount(std::numeric_limits<int>::max());
        m_speechTimer.stop();
    } else if (count < m_panel.longestSpeech() + speechRest) {
        m_panel.setSpeechRevealCount(count + 1);
    } else {
        m_speechTimer.stop(); // nothing to wake up for until there is more to say
    }
}

qint64 CharacterDriver::menuFrame(MascotState state) const
{
    if (m_reducedMotion || !m_theme)
        return 0;
    if (m_theme->menuUsesCharacterFrames()) {
        const double time = m_animationPhase * characterTimePerPhase / slowdown(state);
        return m_theme->frameIndex(m_theme->choices.character(u"menu"_s), time, false);
    }
    return qint64(2 * m_animationPhase / menuFrameDivisor(state));
}

void CharacterDriver::updateStatusItem(qint64 frame, MascotState state)
{
    if (!m_theme)
        return;
    const qsizetype count = std::max<qsizetype>(1, m_theme->menuFrames(state).size());
    const qint64 bobStep = m_theme->menuUsesCharacterFrames() ? frame % bobSteps : 0;
    const QString key
        = u"%1-%2-%3-%4"_s.arg(m_theme->id, rawValue(state)).arg(frame % count).arg(bobStep);
    if (key == m_lastIconKey)
        return;
    m_lastIconKey = key;
    m_statusItem.setImages(
        {menuImage(*m_theme, frame, state, 1), menuImage(*m_theme, frame, state, 2)});
}
