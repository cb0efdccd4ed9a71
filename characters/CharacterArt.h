#pragma once

#include "characters/PixelFrame.h"

#include <QMap>

#include <functional>

/// A character's artwork from outside the theme, ready to play.
struct CharacterArt {
    QString color; // the main colour, as hex text
    QMap<QString, QString> palette; // letter to hex text
    QMap<QString, QString> lowPalette; // laid over `palette` for the low-limit frames
    QList<PixelFrame> frames; // at least one
    QList<PixelFrame> livelyFrames; // the whole loop; empty for a character that stays still
    QList<PixelFrame> tiredFrames; // empty when it has none
    QList<PixelFrame> exhaustedFrames; // empty when it has none
    std::optional<double> frameDuration; // seconds per calm frame

    bool operator==(const CharacterArt&) const = default;
};

/// Finds the artwork for a character id; absent when the theme is to draw it. Asked for every
/// picture, so it answers from memory.
using CharacterLookup = std::function<std::optional<CharacterArt>(const QString& id)>;
