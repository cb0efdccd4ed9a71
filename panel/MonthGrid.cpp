#include "panel/MonthGrid.h"

#include "platform/DesktopAppearance.h"
#include "platform/TextFonts.h"

#include <QDateTime>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int daysPerWeek = 7;

QString monthName(QDate month, const QLocale& locale, QLocale::FormatType format, bool withYear)
{
    const QString name = locale.standaloneMonthName(month.month(), format);
    return withYear ? name + u' ' + locale.toString(month, u"yyyy") : name;
}

QColor faded(QColor color, qreal alpha)
{
    color.setAlphaF(float(alpha));
    return color;
}

QPolygonF chevron(QPointF middle, qreal reach, bool pointsLeft)
{
    const qreal tip = pointsLeft ? -reach / 2 : reach / 2;
    return {
        {middle + QPointF(-tip, -reach), middle + QPointF(tip, 0), middle + QPointF(-tip, reach)}};
}

void drawControls(QPainter& painter, const MonthGridLayout& layout, const Palette& palette,
                  const MonthGridStyle& style)
{
    painter.setPen(QPen(palette.secondaryLabel, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(chevron(layout.previous.center(), style.chevron, true));
    painter.drawPolyline(chevron(layout.next.center(), style.chevron, false));
}

/// Draws `text` on one line in the middle of `cell`, by the height of its capitals.
void drawCentred(QPainter& painter, QPointF middle, const QString& text)
{
    const QFontMetricsF metrics(painter.font());
    painter.drawText(
        middle + QPointF(-metrics.horizontalAdvance(text) / 2, metrics.capHeight() / 2), text);
}

void drawDay(QPainter& painter, const MonthDay& day, QPointF middle, const Palette& palette,
             const MonthGridStyle& style)
{
    QColor figure = day.isPast ? palette.secondaryLabel : palette.label;
    QColor dot = faded(palette.accent, day.isPast && !day.isSelected ? style.pastAlpha : 1);
    if (day.isToday) {
        figure = dot = palette.accentText;
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette.accent);
        painter.drawEllipse(middle, style.circleRadius, style.circleRadius);
    } else if (day.isSelected) {
        const qreal radius = style.circleRadius - style.ringWidth / 2;
        painter.setPen(QPen(palette.accent, style.ringWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(middle, radius, radius);
    }
    const bool isStrong = day.isToday || day.isSelected;
    painter.setFont(textFont(style.daySize, isStrong ? QFont::Bold : QFont::Normal));
    painter.setPen(figure);
    drawCentred(painter, middle - QPointF(0, style.figureRise), day.number);
    if (day.hasEvents) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(dot);
        painter.drawEllipse(middle + QPointF(0, style.dotDrop), style.dotRadius, style.dotRadius);
    }
}

void drawMarks(QPainter& painter, const MonthGrid& grid, const MonthGridLayout& layout,
               const Palette& palette, const MonthGridMarks& marks, const MonthGridStyle& style)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(faded(palette.label, style.hoverAlpha));
    if (marks.hovered)
        painter.drawEllipse(marks.hovered->area.center(), style.circleRadius, style.circleRadius);
    for (qsizetype i = 0; i < grid.days.size(); ++i) {
        if (grid.days[i].date != marks.cursor)
            continue;
        const qreal inset = style.ringWidth / 2;
        painter.setPen(QPen(palette.label, style.ringWidth));
        painter.drawRoundedRect(layout.days[i].adjusted(inset, inset, -inset, -inset), 4, 4);
    }
}

} // namespace

QDate localDay(Date date)
{
    return QDateTime::fromMSecsSinceEpoch(date.time_since_epoch().count()).date();
}

Date startOfDay(QDate day)
{
    return Date(std::chrono::milliseconds(day.startOfDay().toMSecsSinceEpoch()));
}

MonthGrid monthGrid(const ServiceUsage& service, const QLocale& locale, Date now)
{
    const QDate today = localDay(now);
    const QDate shown = localDay(service.calendarMonth.value_or(now));
    const QDate month(shown.year(), shown.month(), 1);
    const QDate selected = service.selectedDay ? localDay(*service.selectedDay) : today;
    const bool withYear = month.year() != today.year();

    MonthGrid grid{
        .month = month,
        .title = monthName(month, locale, QLocale::LongFormat, withYear),
        .shortTitle = monthName(month, locale, QLocale::ShortFormat, withYear),
    };
    const int firstWeekday = locale.firstDayOfWeek();
    for (int i = 0; i < daysPerWeek; ++i) {
        const int weekday = (firstWeekday - 1 + i) % daysPerWeek + 1;
        grid.weekdays.append(locale.standaloneDayName(weekday, QLocale::NarrowFormat));
    }
    const int before = (month.dayOfWeek() - firstWeekday + daysPerWeek) % daysPerWeek;
    for (int i = 0; i < month.daysInMonth(); ++i) {
        const QDate date = month.addDays(i);
        grid.days.append({
            .date = date,
            .number = locale.toString(date.day()),
            .week = (before + i) / daysPerWeek,
            .column = (before + i) % daysPerWeek,
            .isToday = date == today,
            .isSelected = date == selected && date != today,
            .isPast = date < today,
            .hasEvents = service.eventDays.contains(date.day()),
        });
    }
    return grid;
}

MonthGridLayout monthGridLayout(const MonthGrid& grid, QPointF corner, const MonthGridStyle& style)
{
    MonthGridLayout layout;
    const QPointF origin = corner - QPointF(daysPerWeek * style.cell, 0);
    const auto cell = [&](int column, qreal middle) {
        return QRectF(origin.x() + column * style.cell, origin.y() + middle - style.cell / 2,
                      style.cell, style.cell);
    };
    for (int i = 0; i < grid.weekdays.size(); ++i)
        layout.weekdays.append(cell(i, style.weekdayMiddle));
    for (const MonthDay& day : grid.days)
        layout.days.append(cell(day.column, style.firstWeekMiddle + day.week * style.cell));

    const QSizeF control(style.control, style.control);
    const qreal top = origin.y() + style.titleMiddle - style.control / 2;
    layout.next = QRectF({corner.x() - style.control, top}, control);
    layout.previous = layout.next.translated(-style.control, 0);
    layout.title
        = {QPointF(origin.x() + style.textInset, top), QPointF(layout.previous.left(), top)};
    layout.title.setHeight(style.control);
    const QFontMetricsF metrics(textFont(style.titleSize, QFont::DemiBold));
    const bool fits = metrics.horizontalAdvance(grid.title) <= layout.title.width();
    layout.titleText = metrics.elidedText(fits ? grid.title : grid.shortTitle, Qt::ElideRight,
                                          layout.title.width());
    const qreal height = style.firstWeekMiddle + (style.weeks - 0.5) * style.cell;
    layout.frame = {origin, QSizeF(daysPerWeek * style.cell, height)};
    return layout;
}

QList<CalendarHit> calendarHits(const MonthGrid& grid, const MonthGridLayout& layout)
{
    QList<CalendarHit> hits{
        {.kind = CalendarHit::Kind::previousMonth, .area = layout.previous},
        {.kind = CalendarHit::Kind::nextMonth, .area = layout.next},
    };
    for (qsizetype i = 0; i < grid.days.size(); ++i)
        hits.append({.area = layout.days[i], .day = grid.days[i].date});
    return hits;
}

std::optional<CalendarHit> calendarHitAt(const QList<CalendarHit>& hits, QPointF point)
{
    for (const CalendarHit& hit : hits) {
        if (hit.area.contains(point))
            return hit;
    }
    return {};
}

QDate dayMovedBy(int key, QDate day, QDate today)
{
    switch (key) {
    case Qt::Key_Left:
        return day.addDays(-1);
    case Qt::Key_Right:
        return day.addDays(1);
    case Qt::Key_Up:
        return day.addDays(-daysPerWeek);
    case Qt::Key_Down:
        return day.addDays(daysPerWeek);
    case Qt::Key_PageUp:
        return day.addMonths(-1);
    case Qt::Key_PageDown:
        return day.addMonths(1);
    case Qt::Key_Home:
        return today;
    default:
        return {};
    }
}

void drawMonthGrid(QPainter& painter, const MonthGrid& grid, const MonthGridLayout& layout,
                   const Palette& palette, const MonthGridMarks& marks, const MonthGridStyle& style)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QFont titleFont = textFont(style.titleSize, QFont::DemiBold);
    painter.setFont(titleFont);
    painter.setPen(palette.label);
    const qreal baseline = layout.title.center().y() + QFontMetricsF(titleFont).capHeight() / 2;
    painter.drawText(QPointF(layout.title.left(), baseline), layout.titleText);

    painter.setFont(textFont(style.weekdaySize, QFont::DemiBold));
    painter.setPen(palette.secondaryLabel);
    for (qsizetype i = 0; i < grid.weekdays.size(); ++i)
        drawCentred(painter, layout.weekdays[i].center(), grid.weekdays[i]);
    drawMarks(painter, grid, layout, palette, marks, style);
    drawControls(painter, layout, palette, style);
    for (qsizetype i = 0; i < grid.days.size(); ++i)
        drawDay(painter, grid.days[i], layout.days[i].center(), palette, style);
    painter.restore();
}
