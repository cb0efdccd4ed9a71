#include "characters/CharacterMotion.h"

#include "platform/PreferenceStore.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array speedFactors{0.5, 1.0, 2.0};
constexpr qint64 highestStep = speedFactors.size() - 1;
constexpr qint64 usualStep = 1;

} // namespace

bool CharacterMotion::isLively(const PreferenceStore& preferences)
{
    return preferences.text(u"characterMotion"_s) != u"calm"_s;
}

bool CharacterMotion::playsLively(const PreferenceStore& preferences, bool reducedMotion)
{
    return !reducedMotion && isLively(preferences);
}

int CharacterMotion::animationSpeed(const PreferenceStore& preferences)
{
    const qint64 stored = preferences.integer(u"characterAnimationSpeed"_s).value_or(usualStep);
    return int(std::clamp<qint64>(stored, 0, highestStep));
}

double CharacterMotion::speedFactor(int step)
{
    return speedFactors.at(size_t(std::clamp<qint64>(step, 0, highestStep)));
}
