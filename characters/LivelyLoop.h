#pragma once

#include "characters/PixelFrame.h"

/// A loop in which a character moves about, made from its calm `frames` of equal, square size.
///
/// `motion` is "hop", "float", "sway", "walkLeft", "walkRight", "driftLeft", "driftRight", "drop"
/// or "launch"; any other stays still, and the loop is empty. `faces` is where the drawing looks:
/// "left", "right" or "front"; on its way to the other side it is mirrored. Every frame is as large
/// as the calm ones; what leaves the canvas is cut off. Meant for 0.12 s per frame.
[[nodiscard]] QList<PixelFrame> livelyLoop(const QList<PixelFrame>& frames, const QString& motion,
                                           const QString& faces);
