#include "characters/MascotState.h"

#include "platform/PreferenceStore.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr double tiredUpTo = 25;
constexpr double usedUpBelow = 1;

struct StateRow {
    MascotState state;
    QLatin1StringView rawValue;
    double slowdown;
};

constexpr std::array stateRows{
    StateRow{MascotState::active, "active"_L1, 1},
    StateRow{MascotState::tired, "tired"_L1, 2},
    StateRow{MascotState::exhausted, "exhausted"_L1, 3},
    StateRow{MascotState::idle, "idle"_L1, 1},
};

const StateRow& row(MascotState state)
{
    return *std::find_if(stateRows.begin(), stateRows.end(),
                         [state](const StateRow& row) { return row.state == state; });
}

bool isUsedUp(std::optional<double> remaining)
{
    return remaining && *remaining < usedUpBelow;
}

/// The least remaining of the weekly windows or of the others.
std::optional<double> leastRemaining(const QList<LimitWindow>& windows, bool weekly)
{
    std::optional<double> least;
    for (const LimitWindow& window : windows) {
        if (window.isWeekly() == weekly && (!least || window.remaining < *least))
            least = window.remaining;
    }
    return least;
}

} // namespace

QString rawValue(MascotState state)
{
    return row(state).rawValue;
}

std::optional<MascotState> mascotState(QStringView rawValue)
{
    for (const StateRow& row : stateRows) {
        if (row.rawValue == rawValue)
            return row.state;
    }
    return std::nullopt;
}

double slowdown(MascotState state)
{
    return row(state).slowdown;
}

bool CharacterLowLimit::isOn(const QString& key) const
{
    if (const std::optional<bool> stored = m_preferences.boolean(key))
        return *stored;
    return m_preferences.boolean(legacyKey).value_or(true);
}

MascotState mascotState(std::optional<double> shortRemaining, std::optional<double> weeklyRemaining,
                        LowLimitLooks looks)
{
    if (!shortRemaining && !weeklyRemaining)
        return MascotState::idle;
    if (looks.exhausted && (isUsedUp(shortRemaining) || isUsedUp(weeklyRemaining)))
        return MascotState::exhausted;
    const bool isLow = shortRemaining && *shortRemaining <= tiredUpTo;
    return looks.tired && isLow ? MascotState::tired : MascotState::active;
}

MascotState lowLimitState(const ServiceUsage& service, std::optional<MascotState> preview,
                          LowLimitLooks looks, Date now)
{
    if (preview)
        return *preview;
    const QList<LimitWindow> windows = service.unresetWindows(now);
    const MascotState state
        = mascotState(leastRemaining(windows, false), leastRemaining(windows, true), looks);
    return state == MascotState::idle ? MascotState::active : state;
}

MascotState menuBarState(const QList<ServiceUsage>& services, Date now)
{
    const bool anyRuns
        = std::any_of(services.begin(), services.end(), [now](const ServiceUsage& service) {
              return !service.unresetWindows(now).isEmpty();
          });
    return anyRuns ? MascotState::active : MascotState::idle;
}
