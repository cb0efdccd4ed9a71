#include "resources/bridge/StatusLineSnapshot.h"

#include "platform/LenientJson.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace StatusLineSnapshot {
namespace {

namespace Key {
constexpr auto rateLimits = "rate_limits";
constexpr auto usedPercentage = "used_percentage";
constexpr auto resetsAt = "resets_at";
constexpr auto seenAt = "seen_at";
constexpr auto observedAt = "observed_at";
constexpr auto sessions = "sessions";
constexpr auto sessionId = "session_id";
constexpr auto cost = "cost";
constexpr auto apiDuration = "total_api_duration_ms";
} // namespace Key

constexpr std::size_t windowLimit = 16; // per input
constexpr std::size_t windowNameLimit = 64; // bytes
constexpr std::size_t sessionIdLimit = 128; // bytes
constexpr std::size_t sessionLimit = 500;
constexpr double sessionLifeSeconds = 7 * 24 * 3600;
constexpr double sessionRenewalSeconds = 3600;

// Two answers of the service about the same window may differ a little in when it resets.
constexpr double sameResetSeconds = 60;

constexpr std::array<std::pair<const char*, const char*>, 2> shownWindows{
    {{"five_hour", "5h"}, {"seven_day", "week"}}};

struct TooDeep { };

/// The member `key`; null when there is none or `value` is no object.
const Json& member(const Json& value, std::string_view key)
{
    static const Json absent;
    if (!value.is_object())
        return absent;
    const auto found = value.find(key);
    return found == value.end() ? absent : *found;
}

/// The member `key` when it is a finite number; a Boolean is none.
std::optional<double> number(const Json& value, std::string_view key)
{
    const Json& found = member(value, key);
    if (!found.is_number() || !std::isfinite(found.get<double>()))
        return std::nullopt;
    return found.get<double>();
}

/// The member `key` of `object`, made an empty object when it is none.
Json& objectMember(Json& object, const char* key)
{
    Json& value = object[key];
    if (!value.is_object())
        value = Json::object();
    return value;
}

/// The windows of `input` that carry a figure, each cut down to its percentage and its reset.
/// The numbers stay JSON values, so that they are stored as they came.
Json readings(const Json& input)
{
    Json result = Json::object();
    const Json& windows = member(input, Key::rateLimits);
    if (!windows.is_object())
        return result;
    for (const auto& [name, window] : windows.items()) {
        if (name.size() > windowNameLimit || !number(window, Key::usedPercentage))
            continue;
        Json& reading = result[name];
        reading[Key::usedPercentage] = window[Key::usedPercentage];
        if (number(window, Key::resetsAt))
            reading[Key::resetsAt] = window[Key::resetsAt];
        if (result.size() == windowLimit)
            break;
    }
    return result;
}

/// The session's name, or an empty text when it is not fit to be recorded.
std::string recordableSession(const Json& input)
{
    const Json& id = member(input, Key::sessionId);
    if (!id.is_string() || id.get_ref<const std::string&>().size() > sessionIdLimit)
        return {};
    return id.get<std::string>();
}

/// Whether the reading of a session that was not known before is taken over the stored window. The
/// session may have been idle for hours, so only its content tells which of the two is newer: a
/// window's percentage rises until its reset.
bool prevailsAtFirstSight(const Json& reading, const Json& stored, double nowSeconds)
{
    const auto storedUsed = number(stored, Key::usedPercentage);
    const auto storedReset = number(stored, Key::resetsAt);
    if (!storedUsed || (storedReset && *storedReset <= nowSeconds))
        return true;

    const bool notLower = *number(reading, Key::usedPercentage) >= *storedUsed;
    const auto reset = number(reading, Key::resetsAt);
    if (!storedReset)
        return reset || notLower;
    if (!reset)
        return false;
    const double later = *reset - *storedReset;
    return later > sameResetSeconds || (later >= -sameResetSeconds && notLower);
}

/// Whether a known session's `reading` comes from a new answer of the service. `known` is what the
/// session said before.
bool isNew(const std::string& name, const Json& reading, const Json& known, const Json& input)
{
    const auto before = number(known, Key::apiDuration);
    const auto after = number(member(input, Key::cost), Key::apiDuration);
    return (before && after && *after > *before)
        || member(member(known, Key::rateLimits), name) != reading;
}

/// Drops the sessions not seen for a week; a time far ahead comes from a clock that was wrong.
void dropOldSessions(Json& sessions, double nowSeconds)
{
    for (auto session = sessions.begin(); session != sessions.end();) {
        const auto seen = number(*session, Key::seenAt);
        const bool keep = seen && std::abs(nowSeconds - *seen) <= sessionLifeSeconds;
        session = keep ? std::next(session) : sessions.erase(session);
    }
}

void keepNewestSessions(Json& sessions)
{
    if (sessions.size() <= sessionLimit)
        return;
    std::vector<std::pair<double, std::string>> bySeen;
    for (const auto& [id, record] : sessions.items())
        bySeen.emplace_back(number(record, Key::seenAt).value_or(0), id);
    std::sort(bySeen.begin(), bySeen.end(), std::greater<>());
    for (std::size_t i = sessionLimit; i < bySeen.size(); ++i)
        sessions.erase(bySeen[i].second);
}

/// Notes what the session said. Its windows that `seen` lacks stay remembered, since an idle
/// session sends the same figures again once its other window is back.
void record(Json& session, const Json& input, const Json& seen)
{
    objectMember(session, Key::rateLimits).update(seen);
    const Json& cost = member(input, Key::cost);
    if (number(cost, Key::apiDuration))
        session[Key::apiDuration] = cost[Key::apiDuration];
}

void setObservedAt(Json& snapshot)
{
    const Json& windows = snapshot[Key::rateLimits];
    std::optional<double> newest;
    for (const Json& window : windows) {
        if (const auto seen = number(window, Key::seenAt))
            newest = std::max(*seen, newest.value_or(*seen));
    }
    if (newest)
        snapshot[Key::observedAt] = *newest;
    else if (windows.empty())
        snapshot.erase(Key::observedAt);
}

} // namespace

std::optional<Json> parse(std::string_view text, std::size_t byteLimit)
{
    if (text.size() > byteLimit)
        return std::nullopt;
    // Writing a value out recurses, so depth has to end before the stack does.
    const auto checkDepth = [](int depth, Json::parse_event_t event, const Json&) {
        const bool opens = event == Json::parse_event_t::object_start
            || event == Json::parse_event_t::array_start;
        if (opens && depth >= depthLimit)
            throw TooDeep{};
        return true;
    };
    try {
        Json value = Json::parse(text.begin(), text.end(), checkDepth, false);
        if (value.is_discarded())
            value = Json::parse(LenientJson::mended(text), checkDepth, false);
        if (value.is_object())
            return value;
    } catch (const TooDeep&) {
    }
    return std::nullopt;
}

bool merge(Json& stored, const Json& input, double nowSeconds)
{
    Json merged = stored.is_object() ? stored : Json::object();
    Json& windows = objectMember(merged, Key::rateLimits);
    Json& sessions = objectMember(merged, Key::sessions);
    dropOldSessions(sessions, nowSeconds);

    const Json seen = readings(input);
    const std::string id = recordableSession(input);
    const Json& known = member(sessions, id);
    for (const auto& [name, reading] : seen.items()) {
        const Json& kept = member(windows, name);
        const bool firstSight = known.is_null() || !number(kept, Key::usedPercentage);
        if (firstSight ? prevailsAtFirstSight(reading, kept, nowSeconds)
                       : isNew(name, reading, known, input)) {
            windows[name] = reading;
            windows[name][Key::seenAt] = nowSeconds;
        }
    }

    if (!id.empty() && !(known.is_null() && seen.empty())) {
        Json& said = sessions[id];
        record(said, input, seen);
        // Renewing this time at every run would write the file at every run.
        const double age = nowSeconds - number(said, Key::seenAt).value_or(0);
        if (merged != stored || std::abs(age) > sessionRenewalSeconds)
            said[Key::seenAt] = nowSeconds;
        keepNewestSessions(sessions);
    }
    if (sessions.empty())
        merged.erase(Key::sessions);
    setObservedAt(merged);

    const bool changed = merged != stored;
    stored = std::move(merged);
    return changed;
}

std::string statusLine(const Json& snapshot, double nowSeconds)
{
    std::string line;
    for (const auto& [key, label] : shownWindows) {
        const Json& window = member(member(snapshot, Key::rateLimits), key);
        const auto used = number(window, Key::usedPercentage);
        if (!used || number(window, Key::resetsAt).value_or(nowSeconds + 1) <= nowSeconds)
            continue;
        const long left = std::lround(std::clamp(100.0 - *used, 0.0, 100.0));
        line += line.empty() ? "" : " · ";
        line += label + (' ' + std::to_string(left)) + "% left";
    }
    return line.empty() ? "Vexlo: waiting for limits" : line;
}

} // namespace StatusLineSnapshot
