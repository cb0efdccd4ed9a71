#pragma once

#include <QColor>
#include <QString>

#include <optional>

// Colours as the theme, the character files and the preferences write them: "#A97BFF", in sRGB.

/// The colour of a hexadecimal number, with or without one "#" before it. Its last 24 bits count,
/// red first, however many digits there are. Absent when it is not such a number of at most 64
/// bits.
[[nodiscard]] std::optional<QColor> readableHex(QStringView text);

/// The same; #A97BFF for what cannot be read.
[[nodiscard]] QColor hex(QStringView text);

/// `color` as "#" and six capital digits, without its opacity; "#A97BFF" for an invalid colour.
[[nodiscard]] QString hexString(const QColor& color);
