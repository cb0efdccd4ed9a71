#pragma once

#include <QFont>
#include <QPolygonF>
#include <QRectF>
#include <QString>

class QPainter;
struct Palette;

/// Sizes of a speech bubble in points.
struct BubbleStyle {
    qreal radius = 4;
    qreal insetX = 7; // from the edge to the text
    qreal insetY = 3;
    qreal tailHeight = 6; // above the bubble
    qreal tailWidth = 8;
    qreal textSize = 15; // at which the longest line fits
};

/// Places of a bubble and its tail. Empty without a text.
struct BubbleLayout {
    QRectF frame;
    QPolygonF tail;
    QRectF text;
    qreal bottom = 0;
};

/// Lays a bubble for `text` out in the column `left` to `right` with its tail's tip at `tip`; the
/// tail rises from the left. As wide as the text, which wraps where the column ends.
[[nodiscard]] BubbleLayout bubbleLayout(const QString& text, const QFont& font, QPointF tip,
                                        qreal left, qreal right, const BubbleStyle& style = {});

/// Draws the bubble with the first `revealed` characters of `text`; those to come keep their place.
void drawBubble(QPainter& painter, const QString& text, qsizetype revealed, const QFont& font,
                const BubbleLayout& layout, const Palette& palette, const BubbleStyle& style = {});
