#pragma once

#include "characters/CharacterArt.h"
#include "characters/CharacterChoices.h"
#include "characters/MascotState.h"

class PreferenceStore;

/// The theme's own frames for the menu bar.
struct ThemeMenu {
    QList<PixelFrame> active; // at least two
    QList<PixelFrame> tired; // tired or exhausted; empty when it has none
    QList<PixelFrame> idle; // at least one

    bool operator==(const ThemeMenu&) const = default;
};

/// One character of a theme.
struct ThemeCharacter {
    QString color; // the main colour, as hex text
    QList<PixelFrame> frames; // at least one
    QMap<QString, QString> palette; // letter to hex text; names of other than one letter are idle
    std::optional<double> frameDuration; // seconds per frame, 0.08 to 2

    bool operator==(const ThemeCharacter&) const = default;
};

/// The characters and the menu-bar sprite, and how they look in each mood.
///
/// An immutable value once loaded; the caller loads again when theme or characters change.
struct PixelTheme {
    // The theme's file
    QString id; // also its folder's name
    QString name; // as shown
    QString mascotColor; // hex text
    ThemeMenu menu;
    QMap<QString, ThemeCharacter> characters; // by id; "default" serves for those not there

    // Beside it
    CharacterChoices choices;
    CharacterLookup findArt; // may be empty

    /// The theme that the user selected, from the first of `roots` that has it in good order; else
    /// the "original" theme; else `fallback`. Never fails.
    [[nodiscard]] static PixelTheme loadSelected(const PreferenceStore& preferences,
                                                 const QStringList& roots,
                                                 CharacterLookup findArt = {});
    /// A plain sprite for when there are no theme files.
    [[nodiscard]] static PixelTheme fallback();

    /// Whether everything that drawing relies on is there and within its limits.
    [[nodiscard]] bool isValid() const;

    /// The character with this id: outside artwork, the theme's, the theme's "default", the theme's
    /// mascot. With `lively`, outside artwork plays its lively loop, if it has one.
    [[nodiscard]] ThemeCharacter rawCharacter(const QString& id, bool lively) const;
    [[nodiscard]] PixelPalette characterPalette(const QString& id) const;
    /// The main colour of the character in `slot`: its own, the place's, or the user's, as chosen.
    [[nodiscard]] QColor characterColor(const QString& slot) const;
    /// The colour of a card or character: the user's, the theme's, the service's.
    [[nodiscard]] QColor color(const QString& key) const;

    /// The frame to show at step `phase` of the animation. Calm characters of the "original" theme
    /// breathe and blink; all others play their frames in turn. Empty when there are none.
    [[nodiscard]] PixelFrame characterRows(const QString& id, qint64 phase, bool lively) const;
    /// How many frames have passed when the clock stands at `seconds`.
    [[nodiscard]] qint64 frameIndex(const QString& id, double seconds, bool lively) const;

    /// The character's own frames for `state`; empty when it has none that fit its calm ones.
    [[nodiscard]] QList<PixelFrame> lowLimitFrames(const QString& id, MascotState state) const;
    [[nodiscard]] PixelPalette lowLimitPalette(const QString& id) const;

    /// Whether the menu bar shows the chosen character's own frames, not the theme's.
    [[nodiscard]] bool menuUsesCharacterFrames() const;
    [[nodiscard]] QList<PixelFrame> menuFrames(MascotState state) const;
};

/// Colours of the cards whose ids may have no character.
[[nodiscard]] const QHash<QString, QString>& serviceCardColors();
