#include "characters/AnimatedCharacter.h"

#include "characters/PixelColor.h"

namespace {

QColor mainColor(const PixelTheme& theme, const QString& id, const CharacterAnimation& animation)
{
    const auto given = animation.colors.constFind(id);
    return given != animation.colors.cend() ? *given : hex(theme.rawCharacter(id, false).color);
}

bool isLow(std::optional<MascotState> state)
{
    return state == MascotState::tired || state == MascotState::exhausted;
}

} // namespace

bool AnimatedCharacter::differsInFrameAlone(const Picture& picture) const
{
    const CharacterPicture& one = m_last.wanted;
    const CharacterPicture& other = picture.wanted;
    return m_last.isDrawn && one.character == other.character && one.color == other.color
        && one.size == other.size && one.pixelRatio == other.pixelRatio
        && one.lively == other.lively && m_last.state == picture.state;
}

std::optional<QImage> AnimatedCharacter::next(const PixelTheme& theme, const QString& id,
                                              const CharacterAnimation& animation, qreal side,
                                              qreal pixelRatio)
{
    const double slower = animation.lowLimit ? slowdown(*animation.lowLimit) : 1;
    Picture picture{.wanted
                    = {.character = id,
                       .frame = theme.frameIndex(id, animation.seconds / slower, animation.lively),
                       .color = mainColor(theme, id, animation),
                       .size = side,
                       .pixelRatio = pixelRatio,
                       .lively = animation.lively},
                    .state = animation.lowLimit};
    const bool isAlike = differsInFrameAlone(picture);
    if (isAlike && picture.wanted.frame == m_last.wanted.frame)
        return std::nullopt;
    // Many a step shows the same rows again; a badge moves while its character stands.
    if (!isLow(picture.state)) {
        picture.rows = theme.characterRows(id, picture.wanted.frame, animation.lively);
        if (isAlike && picture.rows == m_last.rows) {
            m_last.wanted.frame = picture.wanted.frame;
            return std::nullopt;
        }
    }
    picture.isDrawn = true;
    m_last = picture;
    return isLow(picture.state) ? lowLimitImage(theme, picture.wanted, *picture.state)
                                : characterImage(theme, picture.wanted);
}
