#pragma once

#include "today/ShelfItem.h"

#include <QIcon>
#include <QImage>
#include <QRectF>

class QPainter;
struct Palette;

/// What one row of the shelf shows.
struct ShelfRow {
    QUuid id;
    ShelfItemKind kind = ShelfItemKind::text;
    QString title; // one line, cut where no row could show it
    QString age;
    QString toolTip;

    bool operator==(const ShelfRow&) const = default;
};

[[nodiscard]] ShelfRow shelfRow(const ShelfItem& item, Date now = currentDate());

/// What stands before a row's title: a thumbnail, else an icon of the desktop's, else a sign for
/// the kind.
struct ShelfRowIcon {
    QImage thumbnail;
    QIcon icon;

    [[nodiscard]] bool isEmpty() const { return thumbnail.isNull() && icon.isNull(); }
};

/// Sizes of a row in points.
struct ShelfRowStyle {
    qreal height = 38;
    qreal radius = 7;
    qreal inset = 8; // from either side
    qreal iconSide = 28;
    qreal thumbnailRadius = 4;
    qreal iconGap = 10;
    qreal ageGap = 10;
    qreal removeSide = 22;
    qreal crossSide = 7;
    qreal titleSize = 12.5;
    qreal ageSize = 10.5;
};

/// Places in a row, in points from its top left corner.
struct ShelfRowLayout {
    QRectF ground;
    QRectF icon;
    QRectF title;
    QRectF age; // empty where the title needs the room
    QRectF remove; // over the others while the row is pointed at
};

[[nodiscard]] ShelfRowLayout shelfRowLayout(const ShelfRow& row, qreal width,
                                            const ShelfRowStyle& style = {});

/// How a row stands with mouse and keyboard.
struct ShelfRowState {
    bool isHovered = false;
    bool isPressed = false;
    bool hasFocus = false;
    bool isRemoveHovered = false;
};

void drawShelfRow(QPainter& painter, const ShelfRow& row, const ShelfRowIcon& icon,
                  const ShelfRowLayout& layout, const ShelfRowState& state, const Palette& palette,
                  const ShelfRowStyle& style = {});

/// The sign for `kind`, drawn in `color` into `place`.
void drawShelfSymbol(QPainter& painter, ShelfItemKind kind, const QRectF& place,
                     const QColor& color);
