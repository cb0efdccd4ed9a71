#pragma once

#include "characters/MascotState.h"
#include "characters/PixelFrame.h"

#include <QPointF>

/// A small mark in the top right corner of a character that has no low-limit frames of its own.
struct MascotBadge {
    PixelFrame rows;
    QPointF topLeft; // in points, from the picture's top left corner
    qreal pixelSize = 1; // in points

    bool operator==(const MascotBadge&) const = default;
};

/// The tired character's drop of sweat.
[[nodiscard]] const PixelFrame& sweatDrop();
/// The exhausted character's exclamation mark.
[[nodiscard]] const PixelFrame& alertMark();
/// The badges' colours. Letters that are not in it are black.
[[nodiscard]] const PixelPalette& badgePalette();

/// The badge on a picture of side `size` points: the drop slides down over three frames, the mark
/// is there in every other one. Absent when `state` shows none in this frame.
[[nodiscard]] std::optional<MascotBadge> mascotBadge(MascotState state, qint64 frame, qreal size);
