#pragma once

#include <QColor>
#include <QHash>
#include <QList>
#include <QSize>
#include <QStringList>

#include <optional>

/// One picture of a character: rows of equal length, the top row first, one letter per pixel.
///
/// "." is clear, "C" the character's main colour, "W" white and "D" black; a palette adds letters.
using PixelFrame = QStringList;

/// The colours of further letters. Its entries win over the fixed meanings, but for ".".
using PixelPalette = QHash<QChar, QColor>;

/// The colour of `letter`, absent for a clear one. Letters without a meaning are in `main`.
[[nodiscard]] std::optional<QColor> letterColor(QChar letter, const QColor& main,
                                                const PixelPalette& palette);

/// `number` counted round and round through 0 to `count` - 1; `count` is above 0.
[[nodiscard]] constexpr qint64 wrapped(qint64 number, qint64 count)
{
    return (number % count + count) % count;
}

/// Columns and rows of `frame`; the first row tells the columns. 1 x 1 for a frame without pixels.
[[nodiscard]] QSize gridSize(const PixelFrame& frame);
