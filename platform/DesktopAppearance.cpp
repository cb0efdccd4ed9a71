#include "platform/DesktopAppearance.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double accentContrast = 3;
constexpr int accentSteps = 16; // from the user's accent to the label colour

/// The accents stand for a desktop that has none.
Palette basePalette(ColorScheme scheme)
{
    if (scheme == ColorScheme::light) {
        return {
            .label = 0x1f2328,
            .secondaryLabel = 0x5f6772,
            .cardBackground = 0xffffff,
            .windowBackground = 0xf3f3f5,
            .separator = 0xe5e5e7,
            .accent = 0x2f6fde,
            .warningRed = 0xc62828,
            .warningYellow = 0xe6a100,
            .warningYellowEdge = 0x8a5200,
            .cool = 0x0e7490,
        };
    }
    return {
        .label = 0xf2f3f5,
        .secondaryLabel = 0xa9b0ba,
        .cardBackground = 0x2b2e33,
        .windowBackground = 0x1f2124,
        .separator = 0x3c3e43,
        .accent = 0x6ea8ff,
        .warningRed = 0xff6b60,
        .warningYellow = 0xf5b01e,
        .cool = 0x5cc8e0,
    };
}

/// The share of full daylight white, 0 to 1, that the eye takes `color` for.
double luminance(const QColor& color)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
        + 0.0722 * linear(color.blueF());
}

/// `color` with `share` (0 to 1) of `other` in it.
QColor mixed(const QColor& color, const QColor& other, double share)
{
    const auto part = [share](int from, int to) { return from + qRound((to - from) * share); };
    return {part(color.red(), other.red()), part(color.green(), other.green()),
            part(color.blue(), other.blue())};
}

QColor visibleAccent(const QColor& accent, const Palette& palette)
{
    for (int step = 0; step < accentSteps; ++step) {
        const QColor candidate = mixed(accent, palette.label, double(step) / accentSteps);
        if (contrastRatio(candidate, palette.cardBackground) >= accentContrast)
            return candidate;
    }
    return palette.label;
}

} // namespace

double contrastRatio(const QColor& one, const QColor& other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

Palette paletteFor(ColorScheme scheme, const std::optional<QColor>& accent)
{
    Palette palette = basePalette(scheme);
    if (accent)
        palette.accent = visibleAccent(*accent, palette);
    const QColor white = Qt::white;
    const QColor ink = basePalette(ColorScheme::light).label;
    const bool suitsWhite
        = contrastRatio(white, palette.accent) >= contrastRatio(ink, palette.accent);
    palette.accentText = suitsWhite ? white : ink;
    return palette;
}
