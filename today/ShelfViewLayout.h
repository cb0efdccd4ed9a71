#pragma once

#include "today/CardFrame.h"

#include <QRectF>
#include <QSizeF>

/// Sizes of the Clipboard tab in points.
struct ShelfViewStyle : CardFrameStyle {
    qreal height = 474; // nine rows
    qreal headerHeight = 64;
    qreal switchGap = 8;
    qreal switchInset = 2; // of its track, which lines up with the text
    qreal titleMiddle = 22; // from the card's top
    qreal statusMiddle = 43;
    qreal lineHeight = 22;
    qreal characterSide = 44;
    qreal characterRight = 12; // from the card's edge
    qreal listInset = 5; // around the rows
    qreal filterHeight = 30;
    qreal footerHeight = 38;
    qreal emptyInset = 30;
    qreal emptySymbolSide = 56;
    qreal emptySymbolAbove = 72; // its middle, from that of the rows
    qreal emptySymbolScale = 2;
    qreal titleSize = 13;
    qreal textSize = 11;
    qreal dropBorder = 2;
    qreal dropInset = 3; // from the tab's edge
    qreal dropRadius = 12;
};

/// Places in the Clipboard tab, in points.
struct ShelfViewLayout {
    QRectF header; // the upper card
    QRectF toggle;
    QRectF title;
    QRectF status;
    QRectF character;
    QRectF list; // the lower card
    QRectF filter; // empty for none
    QRectF rows;
    QRectF emptySymbol;
    QRectF empty; // the text that stands there instead of rows
    QRectF footer;
};

/// Lays the tab out in `size`. `toggle` is the size of its switch.
[[nodiscard]] ShelfViewLayout shelfViewLayout(QSizeF size, QSizeF toggle, bool hasFilter,
                                              const ShelfViewStyle& style = {});
