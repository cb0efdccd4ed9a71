#pragma once

#include "characters/CharacterArt.h"

#include <QStringList>

/// One character as a file: who it is, its colours and its frames.
///
/// A JSON object with a member for each field; those that are optional here may be missing or null.
/// Frames are 12 x 12 or 24 x 24 letters; see `PixelFrame`.
struct CustomCharacterFile {
    static constexpr qint64 largestFile = 256 << 10; // bytes
    static constexpr int canvasSize = 24; // letters on each side, once expanded
    static constexpr qsizetype mostFrames = 64; // of each list
    static constexpr qsizetype longestName = 48; // characters as the user sees them

    QString format; // "vexlo-character-1"
    QString id; // a UUID or one of `builtInIDs`
    QString name; // as shown
    QString color; // the main colour, "#" and six hexadecimal digits
    std::optional<QMap<QString, QString>> palette; // "A" to "H" to a colour
    QList<PixelFrame> frames; // calm ones, at least one
    std::optional<double> frameDuration; // seconds per calm frame, 0.08 to 2
    std::optional<QString> categoryID;
    std::optional<QList<PixelFrame>> livelyFrames; // a whole loop, made by hand
    std::optional<QList<PixelFrame>> tiredFrames;
    std::optional<QList<PixelFrame>> exhaustedFrames;
    std::optional<QMap<QString, QString>> lowPalette; // laid over `palette` for the latter two
    std::optional<QString> motion; // one of `motions`
    std::optional<QString> faces; // one of `facings`

    /// The character in `data`. Absent when a required member is missing or one is of another type;
    /// whether the character is any good, `isValid` tells.
    [[nodiscard]] static std::optional<CustomCharacterFile> fromJson(const QByteArray& data);
    [[nodiscard]] QByteArray toJson() const;
    /// An empty character to start a drawing from, with an id of its own.
    [[nodiscard]] static CustomCharacterFile blank();

    [[nodiscard]] bool isValid() const { return fault().isEmpty(); }
    /// The first rule that the character breaks, in words for its maker; empty when it breaks none.
    /// Frames and rows are counted from 1.
    [[nodiscard]] QString fault() const;

    /// The same with every frame 24 x 24.
    [[nodiscard]] CustomCharacterFile expandedTo24() const;
    /// The artwork, ready to play: expanded, with its lively loop. For a valid character only.
    [[nodiscard]] CharacterArt art() const;

    [[nodiscard]] static const QStringList& motions();
    [[nodiscard]] static const QStringList& facings();
    /// The characters that the program knows by name and that a file may draw.
    [[nodiscard]] static const QStringList& builtInIDs();

    bool operator==(const CustomCharacterFile&) const = default;
};

/// `frame` with every letter doubled in both directions.
[[nodiscard]] PixelFrame expandFrameTo24(const PixelFrame& frame);
