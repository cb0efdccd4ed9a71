#pragma once

#include "characters/PixelFrame.h"

#include <QPointF>

class QPainter;

/// Paints `rows` with their top left corner at `topLeft` and pixels of side `pixelSize`, both in
/// the painter's units. Clear letters touch nothing.
///
/// Every edge lies on a whole device pixel, so that neighbours meet without a gap at any size and
/// scale. The painter may be moved and scaled, but not turned.
void drawPixelRows(QPainter& painter, const PixelFrame& rows, QPointF topLeft, qreal pixelSize,
                   const QColor& main, const PixelPalette& palette = {});
