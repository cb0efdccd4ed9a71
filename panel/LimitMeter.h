#pragma once

#include <QColor>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <optional>

class QPainter;
struct Palette;

/// Sizes of one meter row in points; places are from the card's left edge and from the middle of
/// the track.
struct MeterStyle {
    qreal titleLeft = 92;
    qreal trackLeft = 134;
    QSizeF trackSize{112, 8};
    qreal trackRadius = 4;
    qreal trackAlpha = 0.13; // of the label colour
    qreal staleAlpha = 0.45; // of the fill
    qreal figureLeft = 256;
    qreal resetOffset = 11; // from the track's middle down to the middle of the reset line
    qreal titleSize = 10;
    qreal figureSize = 9;
    qreal resetSize = 9; // 8 would fall below what can be read
};

/// What one row says.
struct MeterRow {
    QString title;
    std::optional<double> remaining; // percent left; absent for a limit that is not known
    double shown = 0; // percent to draw: left or used
    QString figure; // "77% left"; a dash without a limit
    QString reset; // empty for none
    bool isStale = false;
    QColor color; // of the card

    bool operator==(const MeterRow&) const = default;
};

enum class MeterTone { normal, yellow, red };

/// The tone of a limit of which `remaining` percent is left; 10 and 25 belong to the lower tone.
[[nodiscard]] MeterTone meterTone(double remaining);

/// The short title of the limit called `name`: "5hr", "WEEK", …; for a name that is not known its
/// first five letters in upper case.
[[nodiscard]] QString meterTitle(const QString& name);

struct MeterLayout {
    QRectF track;
    QRectF fill; // empty where nothing is to be drawn
};

/// Lays a row out whose track's middle is at `middle` below the card's top. `shown` is the drawn
/// figure in percent; 0 or less draws no fill, more than 100 a full one.
[[nodiscard]] MeterLayout meterLayout(qreal middle, double shown, const MeterStyle& style = {});

void drawMeter(QPainter& painter, qreal middle, const MeterRow& row, const Palette& palette,
               const MeterStyle& style = {});
