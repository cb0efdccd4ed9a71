#include "panel/UsagePanelView.h"

#include "characters/CharacterSpeech.h"
#include "characters/Retire.h"
#include "characters/SpriteImages.h"
#include "panel/TodayCardView.h"
#include "platform/TextFonts.h"

#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

const QString calendarId = u"calendar"_s;
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

void UsagePanelView::setNotesCard(QWidget* card)
{
    m_notesCard = card;
    card->setParent(this);
    card->hide();
}

UsagePanelView::Slot UsagePanelView::takeSlot(const QString& id)
{
    const auto found = std::ranges::find(m_slots, id, &Slot::id);
    if (found != m_slots.end()) {
        Slot slot = *found;
        m_slots.erase(found);
        return slot;
    }
    CharacterCard* view = makeCard(id);
    view->setColors(m_palette);
    return {.id = id, .view = view};
}

CharacterCard* UsagePanelView::makeCard(const QString& id)
{
    if (id != calendarId)
        return new UsageCardView(this);
    auto* today = new TodayCardView(this);
    today->onCalendarNavigate
        = [this](Date month, std::optional<Date> selected) { onCalendarNavigate(month, selected); };
    today->onOpenCalendar = [this] { onOpenCalendar(); };
    return today;
}

void UsagePanelView::arrangeCards()
{
    std::vector<Slot> arranged;
    for (const ServiceUsage& service : m_services)
        arranged.push_back(takeSlot(service.id));
    for (const Slot& left : m_slots)
        retire(left.view);
    m_slots = std::move(arranged);

    QList<QWidget*> cards;
    for (const Slot& slot : m_slots)
        cards.append(slot.view);
    const bool hasNotes = m_notesCard && m_notesPlace;
    if (hasNotes)
        cards.insert(std::clamp<qsizetype>(*m_notesPlace, 0, cards.size()), m_notesCard);
    if (m_notesCard)
        m_notesCard->setVisible(hasNotes);
    auto* column = static_cast<QVBoxLayout*>(layout());
    for (qsizetype i = 0; i < cards.size(); ++i) {
        if (column->indexOf(cards[i]) == i)
            continue;
        column->removeWidget(cards[i]);
        column->insertWidget(int(i), cards[i]);
        if (i > 0)
            setTabOrder(cards[i - 1], cards[i]);
    }
    if (m_notesCard && !hasNotes)
        column->removeWidget(m_notesCard);
}

void UsagePanelView::showCards(Date now)
{
    arrangeCards();
    for (qsizetype i = 0; i < m_services.size(); ++i)
        showService(m_slots[size_t(i)], m_services[i], now);
    setAccessibleName(m_slots.empty() && !m_notesPlace ? tr("Nothing to show yet")
                                                       : tr("AI Usage"));
    updateGeometry();
    update();
}

void UsagePanelView::showService(Slot& slot, const ServiceUsage& service, Date now)
{
    if (m_speechEnabled && m_speechFont)
        slot.view->setSpeechFont(m_speechFont->font(BubbleStyle().textSize));
    const bool isCalendar = service.id == calendarId;
    const QString speech = m_speechEnabled
        ? CharacterSpeech::line(isCalendar ? m_spokenCalendar : service, m_speechRotation, now)
        : QString();
    if (isCalendar) {
        auto* today = static_cast<TodayCardView*>(slot.view);
        today->setUsage(service, now);
        today->setSpeech(speech);
    } else {
        showUsage(static_cast<UsageCardView&>(*slot.view), service, speech, now);
    }
    slot.view->setRevealCount(m_speechRevealCount);
    slot.state = lowLimitState(service, m_preview, m_looks, now);
    updateCharacter(slot);
}

void UsagePanelView::showUsage(UsageCardView& view, const ServiceUsage& service,
                               const QString& speech, Date now)
{
    const QColor color = m_theme ? m_theme->color(service.id) : QColor();
    UsageCard card = usageCard(service, m_displayMode, color, QLocale(), now);
    card.speech = speech;
    view.setCard(card);
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
        longest = std::max(longest, slot.view->speech().size());
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
    const QString character = m_theme->choices.character(slot.id);
    const double time = m_animationTime / slowdown(slot.state);
    const CharacterPicture picture{
        .character = character,
        .frame = m_theme->frameIndex(character, time, m_isLively),
        .color = m_theme->characterColor(slot.id),
        .size = slot.view->characterSide(),
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
    slot.view->setCharacter(isLowLimit(slot.state) ? lowLimitImage(*m_theme, picture, slot.state)
                                                   : characterImage(*m_theme, picture));
}

QSize UsagePanelView::sizeHint() const
{
    const double scale = textScale();
    const bool hasNotes = m_notesCard && m_notesPlace;
    int height = hasNotes ? m_notesCard->sizeHint().height() : 0;
    for (const Slot& slot : m_slots)
        height += slot.view->sizeHint().height();
    if (m_slots.empty() && !hasNotes)
        height = int(std::ceil(emptyHeight * scale));
    return {int(std::ceil(CardStyle().width * scale)), height};
}

void UsagePanelView::paintEvent(QPaintEvent*)
{
    if (!m_slots.empty() || (m_notesCard && m_notesPlace))
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
