#pragma once

#include "usage/ServiceUsage.h"

#include <QDate>
#include <QList>
#include <QLocale>
#include <QRectF>
#include <QStringList>

#include <optional>

class QPainter;
struct Palette;

/// The day that `date` falls on in local time.
[[nodiscard]] QDate localDay(Date date);

/// When `day` begins in local time: at midnight, or after a clock change that skips it.
[[nodiscard]] Date startOfDay(QDate day);

/// One day of the shown month.
struct MonthDay {
    QDate date;
    QString number; // in the locale's digits
    int week = 0; // row of the grid, 0 to 5
    int column = 0; // from the locale's first day of the week, 0 to 6
    bool isToday = false;
    bool isSelected = false; // by the user; never today, which is shown by itself
    bool isPast = false; // before today
    bool hasEvents = false;

    bool operator==(const MonthDay&) const = default;
};

/// What the grid of one month says.
struct MonthGrid {
    QDate month; // its first day
    QString title; // the month's name, with the year when it is another one
    QString shortTitle; // for where the title has no room
    QStringList weekdays; // seven initials
    QList<MonthDay> days;

    bool operator==(const MonthGrid&) const = default;
};

/// The grid of the month that the calendar record `service` shows; the month of `now` when it tells
/// none.
[[nodiscard]] MonthGrid monthGrid(const ServiceUsage& service, const QLocale& locale,
                                  Date now = currentDate());

/// Sizes of the grid in points.
struct MonthGridStyle {
    qreal cell = 18; // of a day, square
    qreal titleMiddle = 19; // from the top
    qreal weekdayMiddle = 39;
    qreal firstWeekMiddle = 57;
    int weeks = 6; // as many as a month may touch: the grid keeps its height
    qreal control = 20; // side of a month control
    qreal textInset = 3; // from a cell's edge to its figures
    qreal chevron = 3.5; // half the height of a control's arrow
    qreal circleRadius = 8.5;
    qreal ringWidth = 1.5;
    qreal figureRise = 0.5; // of a figure above the middle
    qreal dotRadius = 1.25;
    qreal dotDrop = 6.5; // below the middle
    qreal pastAlpha = 0.5; // of a past day's dot
    qreal hoverAlpha = 0.09; // of the label colour
    qreal titleSize = 11;
    qreal weekdaySize = 9;
    qreal daySize = 10;
};

/// A place of the grid that can be clicked, and what a click there does.
struct CalendarHit {
    enum class Kind { previousMonth, nextMonth, day };

    Kind kind = Kind::day;
    QRectF area;
    QDate day; // of a day's cell alone

    bool operator==(const CalendarHit&) const = default;
};

/// Places in the grid in points.
struct MonthGridLayout {
    QRectF frame;
    QRectF title;
    QString titleText; // what fits there
    QRectF previous;
    QRectF next;
    QList<QRectF> weekdays;
    QList<QRectF> days;
};

/// Lays `grid` out with its top right corner at `corner`.
[[nodiscard]] MonthGridLayout monthGridLayout(const MonthGrid& grid, QPointF corner,
                                              const MonthGridStyle& style = {});

/// Everything that can be clicked, in the order in which it is looked up.
[[nodiscard]] QList<CalendarHit> calendarHits(const MonthGrid& grid, const MonthGridLayout& layout);

/// The first of `hits` at `point`; absent beside all of them.
[[nodiscard]] std::optional<CalendarHit> calendarHitAt(const QList<CalendarHit>& hits,
                                                       QPointF point);

/// Where `key` takes the keyboard from `day`; null for a key that does not move it.
[[nodiscard]] QDate dayMovedBy(int key, QDate day, QDate today);

/// What is marked only while mouse or keyboard are there.
struct MonthGridMarks {
    std::optional<CalendarHit> hovered;
    QDate cursor; // the keyboard's day; null for none
};

void drawMonthGrid(QPainter& painter, const MonthGrid& grid, const MonthGridLayout& layout,
                   const Palette& palette, const MonthGridMarks& marks = {},
                   const MonthGridStyle& style = {});
