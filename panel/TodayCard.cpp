#include "panel/TodayCard.h"

#include "platform/DesktopAppearance.h"
#include "platform/TextFonts.h"

#include <QCoreApplication>
#include <QPainter>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

using State = AgendaRow::State;

constexpr auto wrapping = Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap;

class Texts {
    Q_DECLARE_TR_FUNCTIONS(TodayCard)
};

/// The locale's long date, without the year and what belongs to it.
QString dateFormat(const QLocale& locale)
{
    static const QRegularExpression last(u"[\\s,]*('[^']*'\\s*)?y+('[^']*'|[^dM'])*$"_s);
    static const QRegularExpression first(u"y+('[^']*'|[^dM'])*"_s);
    return locale.dateFormat(QLocale::LongFormat).remove(last).remove(first);
}

QString headerText()
{
    return QLocale().toUpper(Texts::tr("Today"));
}

QFont headerFont(const TodayStyle& style)
{
    QFont font = fixedFont(style.headerSize, QFont::Bold);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 1);
    return font;
}

QFont dateFont(const TodayCard& card, const TodayStyle& style)
{
    return textFont(style.dateSize, card.isToday() ? QFont::Normal : QFont::DemiBold);
}

QFont titleFont(State state, bool allDay, const TodayStyle& style)
{
    const bool isNow = state == State::current && !allDay;
    return textFont(style.titleSize, isNow ? QFont::DemiBold : QFont::Normal);
}

qreal baseline(qreal middle, const QFont& font)
{
    return middle + QFontMetricsF(font).capHeight() / 2;
}

/// The agenda's column, with neither top nor bottom.
QRectF column(const TodayStyle& style)
{
    const qreal left = style.margin + style.padding;
    return {left, 0, style.margin + style.columnRight - left, 0};
}

void layOutHeader(TodayLayout& layout, const TodayCard& card, const TodayStyle& style)
{
    const QRectF place = column(style);
    const qreal middle = style.gap + style.headerMiddle;
    const QFont font = headerFont(style);
    layout.header = {place.left(), baseline(middle, font)};
    const QFont date = dateFont(card, style);
    layout.date
        = {place.left() + QFontMetricsF(font).horizontalAdvance(headerText()) + style.headerGap,
           baseline(middle, date)};
    const QFontMetricsF metrics(date);
    const qreal room = place.right() - layout.date.x();
    const bool fits = metrics.horizontalAdvance(card.date) <= room;
    layout.dateText = metrics.elidedText(fits ? card.date : card.shortDate, Qt::ElideRight, room);
}

/// How wide the times are. A time that is longer than usual pushes its own title alone.
qreal timeWidth(const TodayCard& card, const QFontMetricsF& metrics, const TodayStyle& style)
{
    qreal widest = 0;
    for (const AgendaRow& row : card.agenda.rows) {
        const qreal width = metrics.horizontalAdvance(row.time);
        if (width <= style.widestTime)
            widest = std::max(widest, width);
    }
    return widest;
}

AgendaRowLayout rowLayout(const AgendaRow& row, qreal middle, qreal times, const TodayStyle& style)
{
    const QRectF place = column(style);
    const QFont timeFont = fixedFont(style.timeSize);
    const QFont font = titleFont(row.state, row.allDay, style);
    const qreal timeLeft = place.left() + style.timeLeft;
    const qreal own = QFontMetricsF(timeFont).horizontalAdvance(row.time);
    const qreal titleLeft = timeLeft + std::max(times, own) + style.titleGap;
    return {
        .area = QRectF(place.left(), middle - style.highlightHeight / 2, place.width(),
                       style.highlightHeight),
        .bar = {QPointF(place.left(), middle - style.barSize.height() / 2), style.barSize},
        .time = {timeLeft, baseline(middle, timeFont)},
        .title = {titleLeft, baseline(middle, font)},
        .titleText
        = QFontMetricsF(font).elidedText(row.title, Qt::ElideRight, place.right() - titleLeft),
    };
}

/// Where a text goes that stands in place of the agenda.
QRectF textPlace(const QString& text, const TodayStyle& style)
{
    const QRectF place = column(style);
    const QRectF room(place.left(), style.gap + style.textTop, place.width(), 10'000);
    const QFontMetricsF metrics(textFont(style.noteSize));
    QRectF used = metrics.boundingRect(room, int(Qt::AlignTop) | Qt::TextWordWrap, text);
    used.setWidth(room.width());
    return used;
}

/// Lays the rows out, or the text that stands for them. Returns where they end.
qreal layOutAgenda(TodayLayout& layout, const TodayCard& card, const TodayStyle& style)
{
    const QRectF place = column(style);
    qreal middle = style.gap + style.firstRowMiddle;
    if (!card.error.isEmpty()) {
        layout.error = textPlace(card.error, style);
        return layout.error.bottom();
    }
    if (card.agenda.rows.isEmpty()) {
        layout.note = textPlace(card.agenda.note, style);
        return layout.note.bottom();
    }
    const qreal times = timeWidth(card, QFontMetricsF(fixedFont(style.timeSize)), style);
    for (const AgendaRow& row : card.agenda.rows) {
        layout.rows.append(rowLayout(row, middle, times, style));
        middle += style.rowPitch;
    }
    layout.more = {place.left() + style.timeLeft, baseline(middle, textFont(style.noteSize))};
    if (!card.agenda.more.isEmpty())
        middle += style.rowPitch;
    layout.agenda = place;
    layout.agenda.setTop(style.gap + style.firstRowMiddle - style.rowPitch / 2);
    layout.agenda.setBottom(middle - style.rowPitch / 2);
    return layout.agenda.bottom();
}

void drawRow(QPainter& painter, const AgendaRow& row, const AgendaRowLayout& layout,
             const Palette& palette, const TodayStyle& style)
{
    const bool isEnded = row.state == State::ended;
    painter.setPen(Qt::NoPen);
    QColor color = palette.accent;
    if (row.state == State::current && !row.allDay) {
        color.setAlphaF(float(style.highlightAlpha));
        painter.setBrush(color);
        painter.drawRoundedRect(
            layout.area.adjusted(-style.highlightOutset, 0, style.highlightOutset, 0),
            style.highlightRadius, style.highlightRadius);
    }
    color.setAlphaF(isEnded ? float(style.endedAlpha) : 1);
    painter.setBrush(color);
    painter.drawRoundedRect(layout.bar, style.barSize.width() / 2, style.barSize.width() / 2);
    painter.setPen(palette.secondaryLabel);
    painter.setFont(fixedFont(style.timeSize));
    painter.drawText(layout.time, row.time);
    painter.setPen(isEnded ? palette.secondaryLabel : palette.label);
    painter.setFont(titleFont(row.state, row.allDay, style));
    painter.drawText(layout.title, layout.titleText);
}

} // namespace

QString dayText(QDate day, const QLocale& locale)
{
    return locale.toString(day, dateFormat(locale));
}

QString TodayCard::spoken() const
{
    QStringList parts{date};
    if (error.isEmpty())
        parts.append(agenda.words);
    else
        parts.append(error);
    if (!agenda.note.isEmpty())
        parts.append(agenda.note);
    if (!speech.isEmpty())
        parts.append(speech);
    return parts.join(u"; "_s);
}

TodayCard todayCard(const ServiceUsage& service, const QLocale& locale, Date now)
{
    TodayCard card{.today = localDay(now)};
    card.day = service.selectedDay ? localDay(*service.selectedDay) : card.today;
    card.date = dayText(card.day, locale);
    const QString format = dateFormat(locale).replace(u"dddd"_s, u"ddd"_s);
    card.shortDate = locale.toString(card.day, QString(format).replace(u"MMMM"_s, u"MMM"_s));
    card.grid = monthGrid(service, locale, now);
    if (service.error) {
        card.error = *service.error;
        return card;
    }
    card.agenda = todayAgenda(service, card.day, locale, now);
    return card;
}

TodayLayout todayLayout(const TodayCard& card, const QFont& speechFont, const TodayStyle& style)
{
    TodayLayout layout;
    layOutHeader(layout, card, style);
    const qreal right = style.width - style.margin;
    // The figures of the last column, not its cells, end where other cards' contents end.
    const QPointF corner(right - style.padding + MonthGridStyle().textInset, style.gap);
    layout.grid = monthGridLayout(card.grid, corner);
    const qreal agendaBottom = layOutAgenda(layout, card, style);

    const QRectF place = column(style);
    const qreal top = std::max(agendaBottom + style.characterGap,
                               layout.grid.frame.bottom() - style.characterSide);
    layout.character = {place.left(), top, style.characterSide, style.characterSide};
    if (!layout.rows.isEmpty()) {
        layout.note = layout.character;
        layout.note.setLeft(layout.character.right() + style.noteGap);
        layout.note.setRight(place.right());
    }
    const qreal left = style.margin + style.bubbleMargin;
    const qreal bottom = layout.character.bottom();
    layout.bubble = bubbleLayout(card.speech, speechFont, {layout.character.center().x(), bottom},
                                 left, style.width - left);
    const qreal padding = card.speech.isEmpty() ? style.bottomPadding : style.bubbleMargin;
    layout.frame = {style.margin, style.gap, style.width - 2 * style.margin,
                    layout.bubble.bottom + padding - style.gap};
    layout.height = layout.frame.bottom() + style.gap;
    return layout;
}

void drawTodayCard(QPainter& painter, const TodayCard& card, const TodayLayout& layout,
                   const Palette& palette, const MonthGridMarks& marks, const TodayStyle& style)
{
    painter.save();
    drawCardFrame(painter, layout.frame, palette, style);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(palette.secondaryLabel);
    painter.setFont(headerFont(style));
    painter.drawText(layout.header, headerText());
    painter.setPen(card.isToday() ? palette.secondaryLabel : palette.label);
    painter.setFont(dateFont(card, style));
    painter.drawText(layout.date, layout.dateText);
    for (qsizetype i = 0; i < card.agenda.rows.size(); ++i)
        drawRow(painter, card.agenda.rows[i], layout.rows[i], palette, style);

    painter.setFont(textFont(style.noteSize));
    painter.setPen(palette.secondaryLabel);
    painter.drawText(layout.more, card.agenda.more);
    painter.drawText(layout.note, int(wrapping), card.agenda.note);
    painter.setPen(palette.label);
    painter.drawText(layout.error, int(wrapping), card.error);
    drawMonthGrid(painter, card.grid, layout.grid, palette, marks);
    painter.restore();
}
