#pragma once

#include <QColor>

#include <functional>
#include <optional>

enum class ColorScheme { light, dark };

/// How the user wants programs to look.
struct Appearance {
    ColorScheme scheme = ColorScheme::light;
    std::optional<QColor> accent; // absent: the user chose none, or the desktop knows none
    bool reducesMotion = false;

    bool operator==(const Appearance&) const = default;
};

/// The colours of everything that the program draws, all opaque.
struct Palette {
    QColor label;
    QColor secondaryLabel; // at least 4.5 to 1 on cards and windows
    QColor cardBackground;
    QColor windowBackground;
    QColor separator; // lines between things and the border of a card
    QColor accent; // at least 3 to 1 on cards
    QColor accentText; // on a filled area in the accent colour
    QColor warningRed;
    QColor warningYellow;
    std::optional<QColor> warningYellowEdge; // drawn around yellow where it is too pale alone
    QColor cool;
};

/// The colours for `scheme`. An `accent` that would be lost on a card is moved towards the label
/// colour until it shows.
[[nodiscard]] Palette paletteFor(ColorScheme scheme, const std::optional<QColor>& accent = {});

/// How far two opaque colours stand apart for the eye: 1 (not at all) to 21 (black and white), as
/// the accessibility guidelines of the web reckon it.
[[nodiscard]] double contrastRatio(const QColor& one, const QColor& other);

/// The user's wishes as the desktop keeps them. Main thread only.
class DesktopAppearance {
public:
    virtual ~DesktopAppearance() = default;

    /// What is known so far; never waits.
    [[nodiscard]] virtual Appearance current() const = 0;

    /// Called after `current` has changed: shortly after the start, and when the user decides anew.
    std::function<void()> onChange;
};
