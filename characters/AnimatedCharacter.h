#pragma once

#include "characters/SpriteImages.h"

/// How characters move on a page of them.
struct CharacterAnimation {
    double seconds = 0; // of the characters' clock; 0 all the time where nothing may move
    bool lively = false;
    std::optional<MascotState> lowLimit; // shown by all; absent: in good spirits
    QHash<QString, QColor> colors; // main colours by character id; absent: the character's own

    bool operator==(const CharacterAnimation&) const = default;
};

/// One character as time goes by: draws it only when it looks other than before.
class AnimatedCharacter {
public:
    /// The picture of the character `id` at `animation.seconds`, `side` points square; absent while
    /// it is the one that was drawn last.
    std::optional<QImage> next(const PixelTheme& theme, const QString& id,
                               const CharacterAnimation& animation, qreal side, qreal pixelRatio);

    /// Draws the next one whatever was drawn last.
    void forget() { m_last = {}; }

private:
    struct Picture {
        CharacterPicture wanted;
        std::optional<MascotState> state;
        PixelFrame rows; // of the calm or lively frames
        bool isDrawn = false;
    };

    [[nodiscard]] bool differsInFrameAlone(const Picture& picture) const;

    Picture m_last;
};
