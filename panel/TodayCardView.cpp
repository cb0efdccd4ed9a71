#include "panel/TodayCardView.h"

#include "platform/TextFonts.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

using Kind = CalendarHit::Kind;

QDate firstOfMonth(QDate day)
{
    return {day.year(), day.month(), 1};
}

} // namespace

TodayCardView::TodayCardView(QWidget* parent)
    : CharacterCard(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAccessibleName(tr("Today"));
}

qreal TodayCardView::characterSide() const
{
    return TodayStyle().characterSide * textScale();
}

void TodayCardView::setUsage(const ServiceUsage& usage, Date now)
{
    TodayCard card = todayCard(usage, QLocale(), now);
    card.speech = m_card.speech;
    setCard(std::move(card));
}

void TodayCardView::setSpeech(const QString& text)
{
    TodayCard card = m_card;
    card.speech = text;
    setCard(std::move(card));
}

void TodayCardView::setCard(TodayCard card)
{
    if (card == m_card)
        return;
    m_card = std::move(card);
    if (m_cursor.isValid() && firstOfMonth(m_cursor) != m_card.grid.month)
        m_cursor = {};
    describe();
    layOut();
}

void TodayCardView::describe()
{
    QString words = m_card.spoken();
    for (const MonthDay& day : m_card.grid.days) {
        if (day.date != m_cursor || day.date == m_card.day)
            continue;
        const QString name = dayText(day.date, QLocale());
        words = (day.hasEvents ? tr("%1, has events").arg(name) : name) + u". "_s + words;
    }
    setAccessibleDescription(words);
}

void TodayCardView::measure()
{
    m_layout = todayLayout(m_card, speechFont());
    m_calendarHits = calendarHits(m_card.grid, m_layout.grid);
    m_hovered.reset();
}

CharacterCard::Places TodayCardView::places() const
{
    return {.character = m_layout.character,
            .bubble = m_layout.bubble,
            .size = {TodayStyle().width, m_layout.height}};
}

void TodayCardView::navigate(QDate month, QDate selected)
{
    if (!onCalendarNavigate)
        return;
    const bool isToday = selected == m_card.today;
    onCalendarNavigate(startOfDay(firstOfMonth(month)),
                       isToday ? std::nullopt : std::optional(startOfDay(selected)));
}

void TodayCardView::selectDay(QDate day)
{
    // A click on the selected day goes back to today. The month stays: a second click of a double
    // one is to meet the same day.
    navigate(m_card.grid.month, day == m_card.day ? m_card.today : day);
}

void TodayCardView::mousePressEvent(QMouseEvent* event)
{
    m_deselected = {};
    m_showsFocus = false;
    update();
    const std::optional<CalendarHit> hit
        = calendarHitAt(m_calendarHits, event->position() / textScale());
    if (event->button() != Qt::LeftButton || !hit)
        return;
    if (hit->kind != Kind::day) {
        navigate(m_card.grid.month.addMonths(hit->kind == Kind::nextMonth ? 1 : -1), m_card.day);
        return;
    }
    if (hit->day == m_card.day)
        m_deselected = hit->day;
    m_cursor = hit->day;
    selectDay(hit->day);
}

void TodayCardView::mouseDoubleClickEvent(QMouseEvent* event)
{
    const std::optional<CalendarHit> hit
        = calendarHitAt(m_calendarHits, event->position() / textScale());
    if (event->button() != Qt::LeftButton || !hit)
        return;
    if (hit->kind != Kind::day) {
        mousePressEvent(event); // quick clicks through the months
        return;
    }
    // The first click of the two was no wish to leave the day.
    if (hit->day == m_deselected)
        navigate(m_card.grid.month, hit->day);
    if (onOpenCalendar)
        onOpenCalendar();
}

void TodayCardView::setHovered(const std::optional<CalendarHit>& hit)
{
    if (hit == m_hovered)
        return;
    for (const auto& changed : {m_hovered, hit}) {
        if (changed)
            update(scaled(changed->area));
    }
    m_hovered = hit;
}

void TodayCardView::mouseMoveEvent(QMouseEvent* event)
{
    setHovered(calendarHitAt(m_calendarHits, event->position() / textScale()));
}

void TodayCardView::leaveEvent(QEvent* event)
{
    setHovered({});
    QWidget::leaveEvent(event);
}

QDate TodayCardView::cursor() const
{
    if (m_cursor.isValid())
        return m_cursor;
    const QDate month = m_card.grid.month;
    if (firstOfMonth(m_card.day) == month)
        return m_card.day;
    return month;
}

void TodayCardView::moveCursor(QDate day, QDate selected)
{
    m_cursor = day;
    if (firstOfMonth(day) != m_card.grid.month || selected != m_card.day)
        navigate(day, selected);
    describe();
    update();
}

bool TodayCardView::handleKey(const QKeyEvent& event)
{
    const bool isEnter = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (isEnter && modifiers == Qt::ControlModifier) {
        if (onOpenCalendar)
            onOpenCalendar();
        return true;
    }
    if (modifiers != Qt::NoModifier)
        return false;
    if (isEnter) {
        selectDay(cursor());
        return true;
    }
    const QDate day = dayMovedBy(event.key(), cursor(), m_card.today);
    if (!day.isValid())
        return false;
    moveCursor(day, event.key() == Qt::Key_Home ? m_card.today : m_card.day);
    return true;
}

void TodayCardView::keyPressEvent(QKeyEvent* event)
{
    if (!handleKey(*event)) {
        QWidget::keyPressEvent(event);
        return;
    }
    m_showsFocus = true;
    update();
}

void TodayCardView::focusInEvent(QFocusEvent* event)
{
    m_showsFocus = event->reason() != Qt::MouseFocusReason;
    QWidget::focusInEvent(event);
}

void TodayCardView::focusOutEvent(QFocusEvent* event)
{
    m_cursor = {};
    describe();
    QWidget::focusOutEvent(event);
}

QString TodayCardView::toolTipAt(QPointF position) const
{
    if (m_layout.agenda.contains(position / textScale()))
        return m_card.agenda.words.join(u'\n').toHtmlEscaped().replace(u'\n', u"<br>"_s);
    const std::optional<CalendarHit> hit = calendarHitAt(m_calendarHits, position / textScale());
    if (!hit)
        return {};
    switch (hit->kind) {
    case Kind::previousMonth:
        return tr("Previous month");
    case Kind::nextMonth:
        return tr("Next month");
    case Kind::day:
        break;
    }
    return dayText(hit->day, QLocale());
}

bool TodayCardView::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        QToolTip::showText(help->globalPos(), toolTipAt(help->pos()), this);
        return true;
    }
    return CharacterCard::event(event);
}

void TodayCardView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    if (isCharacterOnly(event->rect())) {
        painter.fillRect(event->rect(), colors().cardBackground);
    } else {
        const double scale = textScale();
        painter.scale(scale, scale);
        const bool showsFocus = hasFocus() && m_showsFocus;
        const MonthGridMarks marks{.hovered = m_hovered, .cursor = showsFocus ? cursor() : QDate()};
        drawTodayCard(painter, m_card, m_layout, colors(), marks);
        drawSpeech(painter);
        if (showsFocus)
            drawCardFocus(painter, m_layout.frame, colors());
        painter.resetTransform();
    }
    painter.drawImage(characterRect().topLeft(), character());
}
