#pragma once

#include <QRectF>

class QPainter;
struct Palette;

/// What the cards of the panel have in common, in points.
struct CardFrameStyle {
    qreal width = 340; // of the panel
    qreal margin = 12; // from the panel's edge to the card
    qreal gap = 5; // above and below; half the distance of two cards
    qreal radius = 10;
    qreal padding = 14;
};

/// The ground of a card: `frame` filled and with a thin border.
void drawCardFrame(QPainter& painter, const QRectF& frame, const Palette& palette,
                   const CardFrameStyle& style = {});

/// The border of a card that has the keyboard.
void drawCardFocus(QPainter& painter, const QRectF& frame, const Palette& palette,
                   const CardFrameStyle& style = {});
