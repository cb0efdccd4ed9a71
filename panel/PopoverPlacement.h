#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>

/// Where the popover goes.
///
/// `anchor` is the click on the status item, in screen coordinates; absent when the desktop does
/// not tell. `screen` is the whole screen of the item and `available` what bars leave of it. The
/// popover lies below an item at the top, above one at the bottom and beside one at a side, and
/// always within `available`: it is cut down to that where `size` is larger. Without an anchor it
/// takes the corner where status items usually are, beside the bar.
[[nodiscard]] QRect popoverGeometry(std::optional<QPoint> anchor, QRect screen, QRect available,
                                    QSize size);
