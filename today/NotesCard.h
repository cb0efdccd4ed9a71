#pragma once

#include "today/CardFrame.h"

#include <QString>

/// Sizes of the Notes card in points.
struct NotesCardStyle : CardFrameStyle {
    qreal headHeight = 82; // from the top to the first row
    qreal rowHeight = 24;
    qreal bottomMargin = 12; // below the last row
    qreal rowOverhang = 6; // of a row's ground beyond the column of texts
    qreal titleMiddle = 24;
    qreal titleSize = 10;
    qreal titleSpacing = 1; // between its letters
    qreal actionTop = 31;
    qreal actionHeight = 19;
    qreal undoGap = 2; // before the button
    qreal textSize = 11;
    qreal characterTop = 10;
    qreal characterSide = 40;
    qreal characterGap = 8; // from the count to the character
    qreal inputTop = 51;
    qreal inputHeight = 26;
    qreal inputTextSize = 12;
};

/// What the card itself says; its rows and fields speak for themselves.
struct NotesCardTexts {
    QString count; // of open tasks; empty without tasks
    QString removed; // what could be brought back; empty for nothing
    QString empty; // in place of rows; empty when there are some
};

/// Places in a card, in points from its top left corner.
struct NotesCardLayout {
    QRectF frame;
    QRectF title;
    QRectF count;
    QRectF character;
    QRectF removed;
    QRectF undo;
    QRectF clear;
    QRectF input;
    QRectF rows;

    [[nodiscard]] QRectF row(qsizetype index, const NotesCardStyle& style = {}) const;
};

/// The height of a card with `itemCount` tasks, in points.
[[nodiscard]] qreal notesCardHeight(qsizetype itemCount, const NotesCardStyle& style = {});

/// Lays a card out. `undoText` and `clearText` are what its two buttons say.
[[nodiscard]] NotesCardLayout notesCardLayout(qsizetype itemCount, const NotesCardTexts& texts,
                                              const QString& undoText, const QString& clearText,
                                              const NotesCardStyle& style = {});

/// Draws everything but the character, the rows, the field and the buttons.
void drawNotesCard(QPainter& painter, const NotesCardTexts& texts, const NotesCardLayout& layout,
                   const Palette& palette, const NotesCardStyle& style = {});
