#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

/// The limits that Claude Code tells its status line, and the stored snapshot that the readings of
/// all sessions are merged into. Functions on values: nothing here opens a file or reads a clock.
namespace StatusLineSnapshot {

using Json = nlohmann::json;

/// How deep objects and arrays may be nested in what `parse` accepts.
constexpr int depthLimit = 64;

/// Reads a JSON object of at most `byteLimit` bytes. Absent when `text` is anything else: longer,
/// broken, nested deeper than `depthLimit`, or another kind of value.
[[nodiscard]] std::optional<Json> parse(std::string_view text, std::size_t byteLimit);

/// Merges one session's status-line `input` into `stored` and says whether that changed it.
///
/// `stored` may be any value; what is no object counts as nothing stored. Afterwards it holds
/// "rate_limits" with the newest known reading of every window, "observed_at", and under "sessions"
/// what each session said last, which is how an idle session's old figures are told from new ones.
/// Members of other names stay. `nowSeconds` counts from 1970 UTC, as do all times in the snapshot.
bool merge(Json& stored, const Json& input, double nowSeconds);

/// One line of text that says how much is left of each window of `snapshot`, in whole percent from
/// 0 to 100; windows whose reset has passed are left out. A waiting text when there is no figure.
[[nodiscard]] std::string statusLine(const Json& snapshot, double nowSeconds);

} // namespace StatusLineSnapshot
