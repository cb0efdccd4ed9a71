#include "panel/UsagePanelView.h"

#include "characters/CharacterSpeech.h"
#include "platform/TextFonts.h"

#include <QPainter>
#include <QVBoxLayout>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr qreal emptyHeight = 170; // points
constexpr qreal emptyTitleSize = 14;
constexpr qreal emptyHintSize = 11;

bool isLowLimit(MascotState state)
{
    return state == MascotState::tired || state == MascotState::exhausted;
}

} // namespace

UsagePanelView::UsagePanelView(QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addStretch();
}

void UsagePanelView::setTheme(const PixelTheme* theme)
{
    m_theme = theme;
    for (Slot& slot : m_slots)
        slot.pictureKey.clear();
}

void UsagePanelView::setColors(const Palette& palette)
{
    m_palette = palette;
    for (const Slot& slot : m_slots)
        slot.view->setColors(palette);
    update();
}

void UsagePanelView::makeViews(qsizetype count)
{
    auto* column = static_cast<QVBoxLayout*>(layout());
    while (qsizetype(m_slots.size()) > count) {
        delete m_slots.back().view;
        m_slots.pop_back();
    }
    while (qsizetype(m_slots.size()) < count) {
        auto* view = new UsageCardView(this);
        view->setColors(m_palette);
        column->insertWidget(int(m_slots.size()), view);
        m_slots.push_back({.view = view});
    }
}

void UsagePanelView::showCards(Date now)
{
    makeViews(m_services.size());
    for (qsizetype i = 0; i < m_services.size(); ++i) {
        const ServiceUsage& service = m_services[i];
        Slot& slot = m_slots[size_t(i)];
        const QColor color = m_theme ? m_theme->color(service.id) : QColor();
        UsageCard card = usageCard(service, m_displayMode, color, QLocale(), now);
        if (m_speechEnabled)
            card.speech = CharacterSpeech::line(service, m_speechRotation, now);
        if (m_speechEnabled && m_speechFont)
            slot.view->setSpeechFont(m_speechFont->font(BubbleStyle().textSize));
        slot.view->setCard(card);
        slot.view->setRevealCount(m_speechRevealCount);
        slot.state = lowLimitState(service, m_preview, m_looks, now);
        updateCharacter(slot);
    }
    setAccessibleName(m_services.isEmpty() ? tr("Nothing to show yet") : tr("AI Usage"));
    updateGeometry();
    update();
}

void UsagePanelView::setSpeech(bool isEnabled, qint64 rotation)
{
    m_speechEnabled = isEnabled;
    m_speechRotation = rotation;
}

void UsagePanelView::setSpeechRevealCount(int count)
{
    m_speechRevealCount = count;
    for (const Slot& slot : m_slots)
        slot.view->setRevealCount(count);
}

int UsagePanelView::longestSpeech() const
{
    qsizetype longest = 0;
    for (const Slot& slot : m_slots)
        longest = std::max(longest, slot.view->card().speech.size());
    return int(longest);
}

void UsagePanelView::setAnimationTime(double seconds)
{
    m_animationTime = seconds;
    for (Slot& slot : m_slots)
        updateCharacter(slot);
}

void UsagePanelView::updateCharacter(Slot& slot)
{
    if (!m_theme)
        return;
    const QString slotId = slot.view->card().id;
    const QString character = m_theme->choices.character(slotId);
    const double time = m_animationTime / slowdown(slot.state);
    const CharacterPicture picture{
        .character = character,
        .frame = m_theme->frameIndex(character, time, m_isLively),
        .color = m_theme->characterColor(slotId),
        .size = UsageCardView::characterSide(),
        .pixelRatio = devicePixelRatioF(),
        .lively = m_isLively,
    };
    // Most steps of the clock show the same rows again. A badge moves while its character stands.
    const QStringList rows = m_theme->characterRows(character, picture.frame, m_isLively);
    const QString key = u"%1 %2 %3 %4 %5 %6"_s.arg(
        character, rawValue(slot.state), picture.color.name(),
        isLowLimit(slot.state) ? QString::number(picture.frame) : rows.join(u'/'),
        QString::number(picture.size), QString::number(picture.pixelRatio));
    if (key == slot.pictureKey)
        return;
    slot.pictureKey = key;
    slot.view->setCharacter(isLowLimit(slot.state) ? m_theme->lowLimitImage(picture, slot.state)
                                                   : m_theme->characterImage(picture));
}

QSize UsagePanelView::sizeHint() const
{
    const double scale = textScale();
    int height = m_slots.empty() ? int(std::ceil(emptyHeight * scale)) : 0;
    for (const Slot& slot : m_slots)
        height += slot.view->sizeHint().height();
    return {int(std::ceil(CardStyle().width * scale)), height};
}

void UsagePanelView::paintEvent(QPaintEvent*)
{
    if (!m_slots.empty())
        return;
    QPainter painter(this);
    const double scale = textScale();
    painter.scale(scale, scale);
    const QRectF area(0, 0, width() / scale, height() / scale);
    painter.setPen(m_palette.label);
    painter.setFont(textFont(emptyTitleSize, QFont::DemiBold));
    painter.drawText(area.adjusted(16, 0, -16, -72), Qt::AlignCenter, tr("Nothing to show yet"));
    painter.setPen(m_palette.secondaryLabel);
    painter.setFont(textFont(emptyHintSize));
    painter.drawText(area.adjusted(16, 0, -16, -16), int(Qt::AlignCenter) | Qt::TextWordWrap,
                     tr("Open Settings > General to choose what to show."));
    painter.drawText(
        area.adjusted(16, 56, -16, 0), int(Qt::AlignCenter) | Qt::TextWordWrap,
        tr("vexlo --connect-claude connects Claude Code. Codex is found by itself once "
           "you have logged in."));
}
