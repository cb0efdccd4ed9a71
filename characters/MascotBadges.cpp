#include "characters/MascotBadges.h"

#include "characters/PixelColor.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr qreal pixelsPerSide = 22; // of the picture, in the badge's pixels
constexpr qint64 dropSteps = 3;

MascotBadge cornerBadge(const PixelFrame& rows, qreal size, qint64 rowsDown)
{
    const qreal pixel = std::max(std::floor(size / pixelsPerSide), 1.0);
    return {.rows = rows,
            .topLeft = {size - pixel * gridSize(rows).width(), pixel * qreal(rowsDown)},
            .pixelSize = pixel};
}

} // namespace

const PixelFrame& sweatDrop()
{
    static const PixelFrame rows{u"..K.."_s, u".KBK."_s, u"KBBWK"_s, u"KBBBK"_s, u".KKK."_s};
    return rows;
}

const PixelFrame& alertMark()
{
    static const PixelFrame rows{u"KRRK"_s, u"KRRK"_s, u"KRRK"_s, u".KK."_s, u"KRRK"_s, u".KK."_s};
    return rows;
}

const PixelPalette& badgePalette()
{
    static const PixelPalette palette{
        {u'K', hex(u"#142850")}, // outline
        {u'B', hex(u"#6EC6FF")}, // water
        {u'W', hex(u"#EBF8FF")}, // highlight
        {u'R', hex(u"#FF453A")}, // alert
    };
    return palette;
}

std::optional<MascotBadge> mascotBadge(MascotState state, qint64 frame, qreal size)
{
    if (state == MascotState::tired)
        return cornerBadge(sweatDrop(), size, wrapped(frame, dropSteps));
    if (state == MascotState::exhausted && wrapped(frame, 2) == 0)
        return cornerBadge(alertMark(), size, 0);
    return std::nullopt;
}
