#include "today/DashboardDrawing.h"

#include "characters/SpritePainter.h"
#include "platform/TextFonts.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr double shapeContrast = 3;
constexpr double textContrast = 4.5;
constexpr int contrastSteps = 16; // from a colour to the label colour
constexpr qreal iconPixel = 2; // points
constexpr double iconGroundShare = 0.12; // of the icon's colour
constexpr double iconShadeShare = 0.5;
constexpr qreal labelSize = 10;
constexpr qreal labelSpacing = 0.8;
constexpr qreal graphLineWidth = 1.5;
constexpr double graphFillShare = 0.14;

/// The first of the colours from `color` to the label colour with this contrast to cards.
QColor standingOut(const QColor& color, const Palette& palette, double contrast)
{
    for (int step = 0; step < contrastSteps; ++step) {
        const QColor candidate = tinted(palette.label, color, double(step) / contrastSteps);
        if (contrastRatio(candidate, palette.cardBackground) >= contrast)
            return candidate;
    }
    return palette.label;
}

/// "C" is the main colour, "S" a paler one.
PixelFrame iconRows(const QString& name)
{
    static const QHash<QString, PixelFrame> icons{
        {u"cpu"_s,
         {u"....C.C.C...."_s, u"....C.C.C...."_s, u"..CCCCCCCCC.."_s, u"..C.......C.."_s,
          u"CCC.SSSSS.CCC"_s, u"..C.SSSSS.C.."_s, u"CCC.SSCSS.CCC"_s, u"..C.SSSSS.C.."_s,
          u"CCC.SSSSS.CCC"_s, u"..C.......C.."_s, u"..CCCCCCCCC.."_s, u"....C.C.C...."_s,
          u"....C.C.C...."_s}},
        {u"ram"_s,
         {u"CCCCCCCCCCCCC"_s, u"C...........C"_s, u"C.SS.SSS.SS.C"_s, u"C.SS.SSS.SS.C"_s,
          u"C.SS.SSS.SS.C"_s, u"C...........C"_s, u"CCCCCC.CCCCCC"_s, u".C.C.C.C.C.C."_s,
          u".C.C.C.C.C.C."_s}},
        {u"storage"_s,
         {u"..CCCCCCCCC.."_s, u"..C.......C.."_s, u".C..SSSSS..C."_s, u".C.........C."_s,
          u"C...........C"_s, u"CCCCCCCCCCCCC"_s, u"C...........C"_s, u"C.SSSSS...C.C"_s,
          u"C...........C"_s, u"CCCCCCCCCCCCC"_s}},
        {u"battery"_s,
         {u"CCCCCCCCCCCC."_s, u"C..........C."_s, u"C.SS.SS.SS.C."_s, u"C.SS.SS.SS.CC"_s,
          u"C.SS.SS.SS.CC"_s, u"C.SS.SS.SS.C."_s, u"C..........C."_s, u"CCCCCCCCCCCC."_s}},
        {u"temp"_s,
         {u"..CCC.."_s, u".C...C."_s, u".C...C."_s, u".C.S.C."_s, u".C.S.C."_s, u".C.S.C."_s,
          u".C.S.C."_s, u"C..S..C"_s, u"C.SSS.C"_s, u"C.SSS.C"_s, u"C..S..C"_s, u".C...C."_s,
          u"..CCC.."_s}},
    };
    return icons.value(name);
}

/// Opaque stairs: the three rectangles overlap.
void fillStairs(QPainter& painter, const QRectF& frame, const QColor& color, qreal step)
{
    for (const qreal cut : {0.0, step, 2 * step})
        painter.fillRect(frame.adjusted(cut, 2 * step - cut, -cut, cut - 2 * step), color);
}

void fillCell(QPainter& painter, const QRectF& cell, const QColor& color,
              const std::optional<QColor>& edge)
{
    painter.fillRect(cell, edge.value_or(color));
    if (edge && cell.width() > 2)
        painter.fillRect(cell.adjusted(1, 1, -1, -1), color);
}

} // namespace

DashboardColors dashboardColors(const Palette& palette, const QColor& accent)
{
    const QColor wanted = accent.isValid() ? accent : palette.accent;
    return {.palette = palette, .accent = standingOut(wanted, palette, shapeContrast)};
}

QColor toneColor(MetricTone tone, const DashboardColors& colors)
{
    switch (tone) {
    case MetricTone::warm:
        return colors.palette.warningYellow;
    case MetricTone::hot:
        return colors.palette.warningRed;
    case MetricTone::cool:
        return colors.palette.cool;
    case MetricTone::unknown:
        return colors.palette.secondaryLabel;
    case MetricTone::normal:
        break;
    }
    return colors.accent;
}

QColor toneTextColor(MetricTone tone, const DashboardColors& colors)
{
    const bool isPale = tone == MetricTone::warm && colors.palette.warningYellowEdge;
    return standingOut(isPale ? *colors.palette.warningYellowEdge : toneColor(tone, colors),
                       colors.palette, textContrast);
}

QColor tinted(const QColor& color, const QColor& ground, double share)
{
    const auto part = [share](int from, int to) { return from + qRound((to - from) * share); };
    return {part(ground.red(), color.red()), part(ground.green(), color.green()),
            part(ground.blue(), color.blue())};
}

void pixelBox(QPainter& painter, const QRectF& frame, const QColor& fill, const QColor& stroke,
              const PixelBoxStyle& style)
{
    const qreal border = style.border;
    fillStairs(painter, frame, stroke, style.step);
    fillStairs(painter, frame.adjusted(border, border, -border, -border), fill, style.step);
}

void dashboardGauge(QPainter& painter, const QRectF& frame, double level, int cells,
                    MetricTone tone, const DashboardColors& colors, const GaugeStyle& style)
{
    const Palette& palette = colors.palette;
    const QColor track = tinted(palette.label, palette.cardBackground, style.trackShare);
    const QColor color = toneColor(tone, colors);
    const auto edge = tone == MetricTone::warm ? palette.warningYellowEdge : std::nullopt;
    const qreal end = frame.left() + std::clamp(level, 0.0, 1.0) * frame.width();
    const qreal pitch = (frame.width() + style.gap) / cells;
    for (int i = 0; i < cells; ++i) {
        const QRectF cell(frame.left() + i * pitch, frame.top(), pitch - style.gap, frame.height());
        painter.fillRect(cell, track);
        if (const QRectF lit(cell.topLeft(), QPointF(std::min(cell.right(), end), cell.bottom()));
            lit.width() > 0)
            fillCell(painter, lit, color, edge);
    }
}

void drawMetricIcon(QPainter& painter, const QString& name, const QRectF& frame, MetricTone tone,
                    const DashboardColors& colors)
{
    const QColor color = standingOut(toneColor(tone, colors), colors.palette, shapeContrast);
    const QColor ground = tinted(color, colors.palette.cardBackground, iconGroundShare);
    pixelBox(painter, frame, ground, ground);
    const PixelFrame rows = iconRows(name);
    const QSizeF size = QSizeF(gridSize(rows)) * iconPixel;
    const QPointF place = frame.topLeft()
        + QPointF(frame.width() - size.width(), frame.height() - size.height()) / 2;
    drawPixelRows(painter, rows, place, iconPixel, color,
                  {{u'S', tinted(color, ground, iconShadeShare)}});
}

void drawTransferArrow(QPainter& painter, bool isDownload, QPointF middle, const QColor& color)
{
    PixelFrame rows{u"...CCC..."_s, u"...CCC..."_s, u"...CCC..."_s, u"...CCC..."_s, u"CCCCCCCCC"_s,
                    u".CCCCCCC."_s, u"..CCCCC.."_s, u"...CCC..."_s, u"....C...."_s};
    if (!isDownload)
        std::reverse(rows.begin(), rows.end());
    const QSizeF size = gridSize(rows);
    drawPixelRows(painter, rows, middle - QPointF(size.width(), size.height()) / 2, 1, color);
}

qreal drawLine(QPainter& painter, qreal x, qreal middle, TextSide side, const QFont& font,
               const QColor& color, const QString& text)
{
    const QFontMetricsF metrics(font);
    const qreal width = metrics.horizontalAdvance(text);
    painter.setFont(font);
    painter.setPen(color);
    painter.drawText(
        QPointF(side == TextSide::left ? x : x - width, middle + metrics.capHeight() / 2), text);
    return width;
}

qreal cardLabel(QPainter& painter, qreal left, qreal middle, const QString& text,
                const Palette& palette)
{
    QFont font = fixedFont(labelSize, QFont::Bold);
    font.setLetterSpacing(QFont::AbsoluteSpacing, labelSpacing);
    return drawLine(painter, left, middle, TextSide::left, font, palette.secondaryLabel, text);
}

QPolygonF graphLine(const QList<quint64>& history, qsizetype capacity, const QRectF& frame)
{
    QPolygonF line;
    if (history.isEmpty())
        return line;
    const quint64 largest = *std::max_element(history.cbegin(), history.cend());
    const qreal step = frame.width() / qreal(capacity - 1);
    for (qsizetype i = 0; i < history.size(); ++i) {
        const double level = largest == 0 ? 0 : double(history[i]) / double(largest);
        line.append({frame.right() - step * qreal(history.size() - 1 - i),
                     frame.bottom() - level * frame.height()});
    }
    return line;
}

void drawNetworkGraph(QPainter& painter, const QList<quint64>& history, qsizetype capacity,
                      const QRectF& frame, const QColor& color, const Palette& palette)
{
    painter.save();
    // Half of the line's width would otherwise be cut off above and below.
    const qreal inset = graphLineWidth / 2;
    const QPolygonF line = graphLine(history, capacity, frame.adjusted(0, inset, 0, -inset));
    painter.fillRect(QRectF(frame.left(), frame.bottom() - 1, frame.width(), 1), palette.separator);
    if (line.size() > 1) {
        painter.setRenderHint(QPainter::Antialiasing);
        QPolygonF area = line;
        area << QPointF(line.last().x(), frame.bottom())
             << QPointF(line.first().x(), frame.bottom());
        painter.setPen(Qt::NoPen);
        painter.setBrush(tinted(color, palette.cardBackground, graphFillShare));
        painter.drawPolygon(area);
        painter.setPen(QPen(color, graphLineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPolyline(line);
    }
    painter.restore();
}
