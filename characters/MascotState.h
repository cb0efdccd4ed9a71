#pragma once

#include "usage/ServiceUsage.h"

#include <QStringView>

class PreferenceStore;

/// A character's mood: how much of an allowance is left, at a glance.
enum class MascotState { active, tired, exhausted, idle };

/// The mood as text: its own name.
[[nodiscard]] QString rawValue(MascotState state);
/// The mood with this text, letter by letter. Absent for any other text.
[[nodiscard]] std::optional<MascotState> mascotState(QStringView rawValue);

/// What the animation clock is divided by in this mood.
[[nodiscard]] double slowdown(MascotState state);

/// Which of the low-limit looks the user allows.
struct LowLimitLooks {
    bool tired = true;
    bool exhausted = true;

    bool operator==(const LowLimitLooks&) const = default;
};

/// The user's switches for the low-limit looks. Both are on until switched off.
class CharacterLowLimit {
public:
    static inline const QString tiredKey = QStringLiteral("characterGetsTired");
    static inline const QString exhaustedKey = QStringLiteral("characterGetsExhausted");
    /// An older, single switch; it counts where the newer one was never set.
    static inline const QString legacyKey = QStringLiteral("characterReactsToLowLimits");

    explicit CharacterLowLimit(const PreferenceStore& preferences)
        : m_preferences(preferences)
    {
    }

    [[nodiscard]] bool isOn(const QString& key) const;
    [[nodiscard]] bool tiredEnabled() const { return isOn(tiredKey); }
    [[nodiscard]] bool exhaustedEnabled() const { return isOn(exhaustedKey); }
    [[nodiscard]] LowLimitLooks looks() const { return {tiredEnabled(), exhaustedEnabled()}; }

private:
    const PreferenceStore& m_preferences;
};

/// The mood for the least that is left, in percent, of the short limits and of the weekly ones;
/// absent when there is no such limit.
///
/// A short limit of 25 or less tires; any limit below 1 exhausts. A look that is not allowed gives
/// way to the next weaker one.
[[nodiscard]] MascotState mascotState(std::optional<double> shortRemaining,
                                      std::optional<double> weeklyRemaining,
                                      LowLimitLooks looks = {});

/// The mood of a service's card, which is never idle. `preview`, when there is one, is shown
/// whatever the limits say.
[[nodiscard]] MascotState lowLimitState(const ServiceUsage& service,
                                        std::optional<MascotState> preview, LowLimitLooks looks,
                                        Date now = currentDate());

/// The mood in the menu bar: active while the period of any limit shown is still running.
[[nodiscard]] MascotState menuBarState(const QList<ServiceUsage>& services,
                                       Date now = currentDate());
