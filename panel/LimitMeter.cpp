#include "panel/LimitMeter.h"

#include "platform/Characters.h"
#include "platform/DesktopAppearance.h"
#include "platform/TextFonts.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr double redUpTo = 10; // percent left
constexpr double yellowUpTo = 25;
constexpr qsizetype longestTitle = 5;

QColor fillColor(const MeterRow& row, const Palette& palette)
{
    switch (meterTone(row.remaining.value_or(0))) {
    case MeterTone::red:
        return palette.warningRed;
    case MeterTone::yellow:
        return palette.warningYellow;
    case MeterTone::normal:
        break;
    }
    return row.color;
}

/// The fill with round ends. However narrow, it keeps to the track's own round end.
QPainterPath fillPath(const MeterLayout& layout, qreal radius)
{
    QPainterPath track;
    track.addRoundedRect(layout.track, radius, radius);
    QPainterPath fill;
    fill.addRoundedRect(layout.fill.adjusted(-2 * radius, 0, 0, 0), radius, radius);
    return track.intersected(fill);
}

/// Draws one line of text whose middle lies at `middle`.
void drawText(QPainter& painter, qreal left, qreal middle, const QFont& font, const QColor& color,
              const QString& text)
{
    painter.setFont(font);
    painter.setPen(color);
    const QFontMetricsF metrics(font);
    const qreal baseline = middle + metrics.capHeight() / 2;
    painter.drawText(QPointF(left, baseline), text);
}

} // namespace

MeterTone meterTone(double remaining)
{
    if (remaining <= redUpTo)
        return MeterTone::red;
    return remaining <= yellowUpTo ? MeterTone::yellow : MeterTone::normal;
}

QString meterTitle(const QString& name)
{
    static const std::array<std::pair<QLatin1StringView, QString>, 10> titles{{
        {"5-hour"_L1, u"5hr"_s},
        {"Short limit"_L1, u"5hr"_s},
        {"Session"_L1, u"5hr"_s},
        {"Weekly"_L1, u"WEEK"_s},
        {"Monthly"_L1, u"MONTH"_s},
        {"Premium"_L1, u"PREM"_s},
        {"Free daily"_L1, u"DAY"_s},
        {"Key credit"_L1, u"CRED"_s},
        {"Credits"_L1, u"CRED"_s},
        {"Completions"_L1, u"CODE"_s},
    }};
    for (const auto& [known, title] : titles) {
        if (name == known)
            return title;
    }
    return firstCharacters(name.toUpper(), longestTitle);
}

MeterLayout meterLayout(qreal middle, double shown, const MeterStyle& style)
{
    const QRectF track({style.trackLeft, middle - style.trackSize.height() / 2}, style.trackSize);
    QRectF fill = track;
    fill.setWidth(std::clamp(shown, 0.0, 100.0) * track.width() / 100);
    return {.track = track, .fill = fill};
}

void drawMeter(QPainter& painter, qreal middle, const MeterRow& row, const Palette& palette,
               const MeterStyle& style)
{
    const MeterLayout layout = meterLayout(middle, row.shown, style);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor trackColor = palette.label;
    trackColor.setAlphaF(float(style.trackAlpha));
    painter.setBrush(trackColor);
    painter.drawRoundedRect(layout.track, style.trackRadius, style.trackRadius);
    if (row.remaining && !layout.fill.isEmpty()) {
        QColor color = fillColor(row, palette);
        color.setAlphaF(row.isStale ? float(style.staleAlpha) : 1.0F);
        painter.setBrush(color);
        if (palette.warningYellowEdge && meterTone(*row.remaining) == MeterTone::yellow)
            painter.setPen(QPen(*palette.warningYellowEdge, 1));
        painter.drawPath(fillPath(layout, style.trackRadius));
    }
    drawText(painter, style.titleLeft, middle, fixedFont(style.titleSize, QFont::Bold),
             palette.secondaryLabel, row.title);
    drawText(painter, style.figureLeft, middle, fixedFont(style.figureSize, QFont::Bold),
             palette.label, row.figure);
    drawText(painter, style.trackLeft, middle + style.resetOffset, fixedFont(style.resetSize),
             palette.secondaryLabel, row.reset);
    painter.restore();
}
