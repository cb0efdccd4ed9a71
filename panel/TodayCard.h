#pragma once

#include "panel/MonthGrid.h"
#include "panel/SpeechBubble.h"
#include "panel/TodayAgenda.h"
#include "today/CardFrame.h"

/// What the Today card says.
struct TodayCard {
    QDate today;
    QDate day; // whose agenda is shown
    QString date; // that day: "Sunday, 22 November"
    QString shortDate; // for where the date has no room
    TodayAgenda agenda;
    QString error; // in place of the agenda; empty for none
    MonthGrid grid;
    QString speech; // what the character says; empty for nothing

    [[nodiscard]] bool isToday() const { return day == today; }
    /// The same in words, for a screen reader.
    [[nodiscard]] QString spoken() const;

    bool operator==(const TodayCard&) const = default;
};

/// Makes the card of the calendar record `service`, in local time.
[[nodiscard]] TodayCard todayCard(const ServiceUsage& service, const QLocale& locale,
                                  Date now = currentDate());

/// `day` in words without its year: "Sunday, 22 November", in the order of the locale.
[[nodiscard]] QString dayText(QDate day, const QLocale& locale);

/// Sizes of the card in points; places are from the card's left and top edges.
struct TodayStyle : CardFrameStyle {
    qreal characterSide = 40;
    qreal headerMiddle = 19;
    qreal headerGap = 8; // from the header to the date
    qreal columnRight = 171; // of the agenda
    qreal firstRowMiddle = 43;
    qreal rowPitch = 22;
    QSizeF barSize{3, 14};
    qreal timeLeft = 9; // from the column's left
    qreal widestTime = 48; // that all titles make room for
    qreal titleGap = 8; // from the time
    qreal highlightOutset = 5; // of the current event's ground, to both sides
    qreal highlightHeight = 20;
    qreal highlightRadius = 5;
    qreal highlightAlpha = 0.13; // of the accent colour
    qreal endedAlpha = 0.4; // of an ended event's bar
    qreal textTop = 36; // of what stands in place of the agenda
    qreal characterGap = 4; // above the character
    qreal noteGap = 9; // from the character to the note
    qreal bottomPadding = 11;
    qreal bubbleMargin = 6; // from the card's edge
    qreal headerSize = 10;
    qreal dateSize = 11;
    qreal timeSize = 9;
    qreal titleSize = 12;
    qreal noteSize = 11;
};

/// Places of one agenda row.
struct AgendaRowLayout {
    QRectF area;
    QRectF bar;
    QPointF time; // where its baseline begins
    QPointF title;
    QString titleText; // as much as fits
};

/// Places in the card, in points from the top left corner of the card with its margins.
struct TodayLayout {
    QRectF frame;
    QPointF header; // where the baseline begins
    QPointF date;
    QString dateText; // what fits there
    QList<AgendaRowLayout> rows;
    QPointF more; // where the baseline begins
    QRectF agenda; // all rows and the line that counts the others
    QRectF error;
    QRectF character;
    QRectF note; // beside the character; in place of an empty agenda
    MonthGridLayout grid;
    BubbleLayout bubble;
    qreal height = 0; // margins included
};

/// Lays `card` out; the character speaks in `speechFont`.
[[nodiscard]] TodayLayout todayLayout(const TodayCard& card, const QFont& speechFont,
                                      const TodayStyle& style = {});

/// Draws everything but the character and its bubble, which the caller draws at their places.
void drawTodayCard(QPainter& painter, const TodayCard& card, const TodayLayout& layout,
                   const Palette& palette, const MonthGridMarks& marks = {},
                   const TodayStyle& style = {});
