#include "panel/PopoverPlacement.h"

#include <algorithm>

namespace {

constexpr int gap = 6; // between the item or a screen's edge and the popover
constexpr int itemReach = 16; // from the click to the edge of an item of usual size

/// `wanted`, moved as little as it takes to lie with `length` between `low` and `high`.
int clampedStart(int wanted, int length, int low, int high)
{
    return std::max(low, std::min(wanted, high - length + 1));
}

QPoint besideItem(QPoint anchor, QRect screen, QRect available, QSize size)
{
    const int centredX = anchor.x() - size.width() / 2;
    const int centredY = anchor.y() - size.height() / 2;
    if (anchor.x() < available.left())
        return {available.left() + gap, centredY};
    if (anchor.x() > available.right())
        return {available.right() - size.width() - gap + 1, centredY};
    // A bar that hides itself takes no room, so the half of the screen decides, not the bar.
    if (anchor.y() > screen.center().y()) {
        const int below = std::min(anchor.y() - itemReach, available.bottom() + 1);
        return {centredX, below - gap - size.height()};
    }
    return {centredX, std::max(anchor.y() + itemReach, available.top()) + gap};
}

} // namespace

QRect popoverGeometry(std::optional<QPoint> anchor, QRect screen, QRect available, QSize size)
{
    const QRect room = available.marginsRemoved({gap, gap, gap, gap});
    size = size.boundedTo(room.size());
    const bool isBarBelow = screen.bottom() - available.bottom() > available.top() - screen.top();
    const QPoint corner(room.right() - size.width() + 1,
                        isBarBelow ? room.bottom() - size.height() + 1 : room.top());
    const QPoint wanted = anchor ? besideItem(*anchor, screen, available, size) : corner;
    return {clampedStart(wanted.x(), size.width(), room.left(), room.right()),
            clampedStart(wanted.y(), size.height(), room.top(), room.bottom()), size.width(),
            size.height()};
}
