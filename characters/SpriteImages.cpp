#include "characters/SpriteImages.h"

#include "characters/MascotBadges.h"
#include "characters/SpritePainter.h"

#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

const QString menuSlot = u"menu"_s;

constexpr qreal menuSize = 22; // points
constexpr qreal menuSpriteSize = 18;
constexpr qreal largestMenuPixel = 1.5;
constexpr std::array<qreal, 4> bobRises{0, 2, 0, -2}; // points upwards, frame by frame

/// A frame with everything that its letters need.
struct Sprite {
    PixelFrame rows;
    QColor main;
    PixelPalette palette;
};

/// A clear square of `size` points.
QImage clearImage(qreal size, qreal pixelRatio)
{
    const int side = std::max(int(std::lround(size * pixelRatio)), 1);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(pixelRatio);
    image.fill(Qt::transparent);
    return image;
}

/// The side of a letter when `frame` just fits into a square of `size`.
qreal fittingPixel(const PixelFrame& frame, qreal size)
{
    const QSize grid = gridSize(frame);
    return size / std::max(grid.width(), grid.height());
}

/// Draws `sprite` in the middle of a square of `size` points, `rise` points above it.
void drawCentred(QPainter& painter, const Sprite& sprite, qreal pixel, qreal size, qreal rise = 0)
{
    const QSizeF extent = QSizeF(gridSize(sprite.rows)) * pixel;
    const QPointF topLeft((size - extent.width()) / 2, (size - extent.height()) / 2 - rise);
    drawPixelRows(painter, sprite.rows, topLeft, pixel, sprite.main, sprite.palette);
}

QImage fittedImage(const Sprite& sprite, const CharacterPicture& picture)
{
    QImage image = clearImage(picture.size, picture.pixelRatio);
    QPainter painter(&image);
    drawCentred(painter, sprite, fittingPixel(sprite.rows, picture.size), picture.size);
    return image;
}

void drawBadge(QImage& image, const MascotBadge& badge)
{
    QPainter painter(&image);
    drawPixelRows(painter, badge.rows, badge.topLeft, badge.pixelSize, Qt::black, badgePalette());
}

} // namespace

QImage characterImage(const PixelTheme& theme, const CharacterPicture& picture)
{
    return fittedImage(
        {.rows = theme.characterRows(picture.character, picture.frame, picture.lively),
         .main = picture.color,
         .palette = theme.characterPalette(picture.character)},
        picture);
}

QImage lowLimitImage(const PixelTheme& theme, const CharacterPicture& picture, MascotState state)
{
    const QList<PixelFrame> frames = theme.lowLimitFrames(picture.character, state);
    if (!frames.isEmpty())
        return fittedImage({.rows = frames[wrapped(picture.frame, frames.size())],
                            .main = picture.color,
                            .palette = theme.lowLimitPalette(picture.character)},
                           picture);

    QImage image = characterImage(theme, picture);
    if (const auto badge = mascotBadge(state, picture.frame, picture.size))
        drawBadge(image, *badge);
    return image;
}

QImage menuImage(const PixelTheme& theme, qint64 frame, MascotState state, qreal pixelRatio)
{
    const QString character = theme.choices.character(menuSlot);
    const bool isOwnLow = !theme.lowLimitFrames(character, state).isEmpty();
    const QList<PixelFrame> frames = theme.menuFrames(state);
    const Sprite sprite{
        .rows = frames.isEmpty() ? PixelFrame() : frames[wrapped(frame, frames.size())],
        .main = theme.characterColor(menuSlot),
        .palette = isOwnLow ? theme.lowLimitPalette(character) : theme.characterPalette(character)};
    const bool bobs = theme.menuUsesCharacterFrames() && state == MascotState::active;
    const qreal rise = bobs ? bobRises[size_t(wrapped(frame, bobRises.size()))] : 0;

    QImage image = clearImage(menuSize, pixelRatio);
    QPainter painter(&image);
    const qreal pixel = std::min(fittingPixel(sprite.rows, menuSpriteSize), largestMenuPixel);
    drawCentred(painter, sprite, pixel, menuSize, rise);
    return image;
}
