#pragma once

#include <QPalette>
#include <QString>

struct Palette;

/// Our colours for the toolkit's own controls.
[[nodiscard]] QPalette widgetPalette(const Palette& colors);

/// The style sheet of a slim vertical scroll bar, for `scale` times the usual text.
[[nodiscard]] QString scrollBarStyle(const Palette& colors, double scale);
