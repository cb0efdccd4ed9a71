#pragma once

#include <QFont>

/// The smallest text that is still read on every screen, in logical pixels.
inline constexpr double smallestText = 9;

/// The desktop's fixed font at `size` logical pixels, or `smallestText` when that is larger.
[[nodiscard]] QFont fixedFont(double size, QFont::Weight weight = QFont::Normal);

/// The desktop's font for text, likewise.
[[nodiscard]] QFont textFont(double size, QFont::Weight weight = QFont::Normal);

/// How much larger than usual the user's desktop shows text: 1 at its usual ten points, never less.
[[nodiscard]] double textScale();
