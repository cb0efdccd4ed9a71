#pragma once

class PreferenceStore;

/// How the user wants characters to move.
namespace CharacterMotion {

/// The stored choice, "characterMotion": anything but "calm", and nothing at all, is lively.
[[nodiscard]] bool isLively(const PreferenceStore& preferences);

/// Whether characters play their lively loops: lively, unless the desktop asks for less motion.
[[nodiscard]] bool playsLively(const PreferenceStore& preferences, bool reducedMotion);

/// The stored speed step, "characterAnimationSpeed": 0 to 2, 1 when there is none.
[[nodiscard]] int animationSpeed(const PreferenceStore& preferences);

/// What a speed step does to the clock: 0.5, 1 or 2. Steps beyond the ends count as the ends.
[[nodiscard]] double speedFactor(int step);

} // namespace CharacterMotion
