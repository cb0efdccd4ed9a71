#pragma once

#include <QString>

class PreferenceStore;

/// Which of a limit's two figures is shown: what is left of it, or what has been used.
enum class UsageDisplayMode { left, used };

/// The user's choice, "usageDisplayMode"; `left` when it is missing or unknown.
[[nodiscard]] UsageDisplayMode savedDisplayMode(const PreferenceStore& preferences);

bool saveDisplayMode(PreferenceStore& preferences, UsageDisplayMode mode);

/// The figure that `mode` shows, given percent left.
[[nodiscard]] double shownValue(UsageDisplayMode mode, double remaining);

/// The figure as text, "77% left" or "23% used", rounded to whole percent.
[[nodiscard]] QString shownText(UsageDisplayMode mode, double remaining);
