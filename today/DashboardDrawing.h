#pragma once

#include "platform/DesktopAppearance.h"

#include <QFont>
#include <QList>
#include <QPolygonF>
#include <QRectF>
#include <QString>

#include <optional>

class QPainter;

// The parts that the System tab is put together from.

/// The look of a thing that is well, in need of attention, in trouble, cold, or not known.
enum class MetricTone { normal, warm, hot, cool, unknown };

/// The colours of the dashboard.
struct DashboardColors {
    Palette palette;
    QColor accent; // of the System tab; at least 3 to 1 on cards
};

/// The dashboard's colours in `palette`. An `accent` that would be lost on a card is moved towards
/// the label colour until it shows; an invalid one stands for the palette's own.
[[nodiscard]] DashboardColors dashboardColors(const Palette& palette, const QColor& accent);

[[nodiscard]] QColor toneColor(MetricTone tone, const DashboardColors& colors);

/// The same for words: at least 4.5 to 1 on cards.
[[nodiscard]] QColor toneTextColor(MetricTone tone, const DashboardColors& colors);

/// `ground` under a layer of `color` that lets all but `share` (0 to 1) of it through.
[[nodiscard]] QColor tinted(const QColor& color, const QColor& ground, double share);

/// Sizes of a box in points.
struct PixelBoxStyle {
    qreal step = 2; // of the two stairs in which every corner is cut
    qreal border = 1;
};

/// Fills `frame` with `fill` and a border in `stroke`, both opaque.
void pixelBox(QPainter& painter, const QRectF& frame, const QColor& fill, const QColor& stroke,
              const PixelBoxStyle& style = {});

/// Sizes of a gauge in points.
struct GaugeStyle {
    qreal gap = 2; // between two cells
    qreal trackShare = 0.13; // of the label colour
};

/// Draws a gauge of `cells` cells in `frame`, of which `level` (0 to 1; more and less count as
/// those) is lit, to the point exactly.
void dashboardGauge(QPainter& painter, const QRectF& frame, double level, int cells,
                    MetricTone tone, const DashboardColors& colors, const GaugeStyle& style = {});

/// Draws the icon called "cpu", "ram", "storage", "battery" or "temp" in the middle of a small
/// ground of its own at `frame`. Another name draws the ground alone.
void drawMetricIcon(QPainter& painter, const QString& name, const QRectF& frame, MetricTone tone,
                    const DashboardColors& colors);

/// Draws an arrow around `middle`, down for what comes in and up for what goes out.
void drawTransferArrow(QPainter& painter, bool isDownload, QPointF middle, const QColor& color);

enum class TextSide { left, right };

/// Draws one line of text from `x`, or up to it, whose middle lies at `middle`. Returns its width.
qreal drawLine(QPainter& painter, qreal x, qreal middle, TextSide side, const QFont& font,
               const QColor& color, const QString& text);

/// Draws the title of a card, which is in capitals. Returns its width.
qreal cardLabel(QPainter& painter, qreal left, qreal middle, const QString& text,
                const Palette& palette);

/// The points of a graph in `frame` with room for `capacity` values, the newest at the right edge;
/// the largest value of all touches the top, 0 the bottom.
[[nodiscard]] QPolygonF graphLine(const QList<quint64>& history, qsizetype capacity,
                                  const QRectF& frame);

/// Draws that line in `color` above its ground.
void drawNetworkGraph(QPainter& painter, const QList<quint64>& history, qsizetype capacity,
                      const QRectF& frame, const QColor& color, const Palette& palette);
