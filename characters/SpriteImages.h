#pragma once

#include "characters/PixelTheme.h"

#include <QImage>

/// Which picture of a character is wanted. Frame numbers wrap.
struct CharacterPicture {
    QString character; // id
    qint64 frame = 0;
    QColor color; // the main colour
    qreal size = 0; // points; the picture is square
    qreal pixelRatio = 1; // device pixels per point
    bool lively = false;
};

// The theme's pictures are drawn anew on every call and may be kept by the caller.

/// The character in good spirits.
[[nodiscard]] QImage characterImage(const PixelTheme& theme, const CharacterPicture& picture);

/// The character in `state`: its own frames for it, or its usual ones with a badge.
[[nodiscard]] QImage lowLimitImage(const PixelTheme& theme, const CharacterPicture& picture,
                                   MascotState state);

/// The menu bar's picture, 22 points square. It has colours of its own for any background.
[[nodiscard]] QImage menuImage(const PixelTheme& theme, qint64 frame, MascotState state,
                               qreal pixelRatio = 1);
