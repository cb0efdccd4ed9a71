#include "app/SettingsControl.h"

#include "app/ClaudeCommand.h"
#include "app/SettingsControls.h"
#include "app/WelcomeChoices.h"
#include "platform/DesktopAppearance.h"
#include "usage/ClaudeSetup.h"
#include "usage/CodexSnapshot.h"
#include "usage/ProviderRegistry.h"

#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int snapshotSteps = 4; // there are three moods: the last one twice
constexpr auto snapshotPause = 400ms; // for the pictures to be drawn

} // namespace

SettingsControl::SettingsControl(Facilities facilities)
    : m_facilities(std::move(facilities))
{
}

SettingsControl::~SettingsControl() = default;

Palette SettingsControl::palette() const
{
    const Appearance appearance = m_facilities.appearance.current();
    return paletteFor(appearance.scheme, appearance.accent);
}

SettingsWindow& SettingsControl::made()
{
    if (m_window)
        return *m_window;
    m_window = std::make_unique<SettingsWindow>(m_facilities.settings);
    m_window->setColors(palette());
    m_window->onPreview = [this] { onPreview(); };
    m_window->onSaved = [this] { onSaved(); };
    m_window->onShown = [this] { onVisibility(true); };
    m_window->onClosed = [this] {
        onPreview();
        onVisibility(false);
    };
    m_window->onConnectClaude = [this] {
        m_window->close();
        connectClaude();
    };
    m_window->onShowWelcome = [this] { showWelcome(); };
    m_window->onKeyStored = [this](const QString& id) { onKeyStored(id); };
    if (!m_crash.isEmpty())
        m_window->tellOfCrash(m_crash);
    return *m_window;
}

void SettingsControl::showSettings(const QString& pane, const QRect& panel, const QScreen* screen)
{
    made().showSettings(pane, panel, screen);
}

bool SettingsControl::isOpen() const
{
    return m_window && m_window->isVisible();
}

SettingsWindow* SettingsControl::window() const
{
    return isOpen() ? m_window.get() : nullptr;
}

void SettingsControl::setColors(const Palette& palette)
{
    if (m_window)
        m_window->setColors(palette);
    if (m_welcome)
        m_welcome->setColors(palette);
}

void SettingsControl::animate(double seconds, bool reducedMotion)
{
    if (isOpen())
        m_window->animate(seconds, reducedMotion);
}

void SettingsControl::reloadCharacters()
{
    if (m_window)
        m_window->reloadCharacters();
}

void SettingsControl::refreshAccountStatus()
{
    if (isOpen())
        m_window->refreshAccountStatus();
}

void SettingsControl::connectClaude()
{
    askAboutClaude(!m_facilities.claudeSetup.isConnected());
}

void SettingsControl::askAboutClaude(bool connects)
{
    QMessageBox* box = settingsMessage(
        nullptr, palette(), connects ? tr("Connect Claude Code?") : tr("Disconnect Claude Code?"),
        connects ? tr("Vexlo will back up ~/.claude/settings.json and add a status line bridge. An "
                      "existing custom status line will keep its output.")
                 : tr("Vexlo will back up ~/.claude/settings.json, put back the status line you "
                      "had before connecting, and stop showing Claude usage."));
    QPushButton* yes
        = box->addButton(connects ? tr("Connect") : tr("Disconnect"), QMessageBox::AcceptRole);
    box->addButton(tr("Cancel"), QMessageBox::RejectRole);
    box->setDefaultButton(yes);
    connect(yes, &QPushButton::clicked, this, [this, connects] { changeClaude(connects); });
    box->open();
}

void SettingsControl::changeClaude(bool connects)
{
    ClaudeSetup& setup = m_facilities.claudeSetup;
    ProviderRegistry& registry = m_facilities.settings.registry;
    const ClaudeOutcome outcome
        = connects ? ::connectClaude(setup, registry) : disconnectClaude(setup, registry);
    QMessageBox* box = settingsMessage(nullptr, palette(), outcome.title, outcome.message);
    box->addButton(QMessageBox::Ok);
    box->open();
    onSaved();
}

void SettingsControl::showWelcome()
{
    if (!m_welcome) {
        m_welcome = std::make_unique<WelcomeController>(
            m_facilities.settings.loadTheme(), m_facilities.speechFont, suggestedToday(),
            [this](const WelcomeController::Result& result) {
                saveWelcome(result, m_facilities.settings.preferences,
                            m_facilities.settings.registry);
                onSaved();
            });
    }
    const Appearance appearance = m_facilities.appearance.current();
    m_welcome->setColors(palette());
    m_welcome->setMotion(!appearance.reducesMotion, appearance.reducesMotion);
    m_welcome->show();
}

void SettingsControl::setTrayHint(const QString& text)
{
    if (welcome())
        m_welcome->setTrayHint(text);
}

TodayChoice SettingsControl::suggestedToday() const
{
    const ProviderRegistry& registry = m_facilities.settings.registry;
    const bool hasAiService = registry.hasConnected(u"claude"_s)
        || registry.hasConnected(u"codex"_s) || m_facilities.claudeSetup.isConnected()
        || CodexSnapshot::codexBinary();
    return ::suggestedToday(m_facilities.hasCalendar(), hasAiService);
}

void SettingsControl::snapshotCharacterSettings(const QString& folder,
                                                const std::function<void(bool)>& done)
{
    SettingsWindow& window = made();
    window.showSettings(u"character"_s, {}, QGuiApplication::primaryScreen());
    const auto isGood = std::make_shared<bool>(true);
    for (int step = 0; step < snapshotSteps; ++step) {
        QTimer::singleShot(snapshotPause * (2 * step), &window,
                           [&window, step] { window.characterPane().setLowLimitPreview(step); });
        QTimer::singleShot(snapshotPause * (2 * step + 1), &window, [=, &window] {
            *isGood &= window.grab().save(folder + u"/settings-%1.png"_s.arg(step));
            if (step == snapshotSteps - 1)
                done(*isGood);
        });
    }
}
