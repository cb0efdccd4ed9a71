#pragma once

#include <QRectF>
#include <QString>

class QPainter;
struct Palette;
struct NoteItem;

/// Sizes of a row in points.
struct RowStyle {
    qreal height = 24;
    qreal boxLeft = 6;
    qreal boxSide = 14;
    qreal boxRadius = 4;
    qreal boxLine = 1.3;
    qreal tickLine = 1.8;
    qreal textLeft = 28;
    qreal textSize = 12;
    qreal editorInset = 1; // above and below
    qreal editorOverhang = 6; // so that the text does not move when its field comes
    qreal removeSide = 24;
    qreal removeArm = 3.5; // of the cross, from its middle
    qreal removeLine = 1.4;
    qreal removeRingInset = 2;
    qreal hoverRadius = 6;
    qreal hoverInset = 1;
};

/// Places in a row, in points.
struct RowLayout {
    QRectF hover;
    QRectF box;
    QRectF text;
    QRectF editor;
    QRectF remove;
};

/// How a row stands with pointer and keyboard.
struct RowLook {
    bool isHovered = false;
    bool hasRing = false; // around what has the keyboard
    bool hasText = true; // not while a field stands in its place
};

/// Lays a row of `width` points out.
[[nodiscard]] RowLayout rowLayout(qreal width, const RowStyle& style = {});

/// Whether the whole text of a task fits into the row.
[[nodiscard]] bool fitsRow(const QString& text, const RowLayout& layout,
                           const RowStyle& style = {});

/// Draws everything but the remove button. The text begins on the side where its script does.
void drawRow(QPainter& painter, const NoteItem& item, const RowLook& look, const RowLayout& layout,
             const Palette& palette, const RowStyle& style = {});

/// Draws the remove button into `place`; `isStrong` when pointer or keyboard is at it.
void drawRemove(QPainter& painter, const QRectF& place, bool hasRing, bool isStrong,
                const Palette& palette, const RowStyle& style = {});
