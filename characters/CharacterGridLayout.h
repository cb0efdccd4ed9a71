#pragma once

#include "characters/CharacterChoiceView.h"

#include <QList>
#include <QPointF>
#include <QRectF>

/// Sizes of the grid in points.
struct CharacterGridStyle {
    QSizeF tile = ChoiceTileStyle().size;
    qreal gap = 8; // between tiles, at least
    qreal headingHeight = 18;
    qreal groupGap = 14; // above a heading
    qreal edge = 4; // around it all
    qreal headingSize = 11;
    qreal nothingSize = 12; // of the text that nothing was found
    qreal searchGap = 8; // below the search field
};

/// What the grid must know of a group to place it.
struct GridGroup {
    int tiles = 0;
    qreal headingWidth = 0; // points

    bool operator==(const GridGroup&) const = default;
};

/// Where a group ends up, in points.
struct GridGroupPlace {
    QRectF heading;
    QList<QPointF> tiles; // their top left corners
};

struct GridPlaces {
    QList<GridGroupPlace> groups;
    qreal height = 0;
};

/// Lays `groups` out in a column of `width`; those without tiles take no room. Groups share a row
/// of tiles when all of the next one, its heading too, fits into what is left of it.
[[nodiscard]] GridPlaces gridPlaces(const QList<GridGroup>& groups, qreal width,
                                    const CharacterGridStyle& style = {});
