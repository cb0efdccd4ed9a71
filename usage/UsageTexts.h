#pragma once

#include "usage/ServiceUsage.h"
#include "usage/UsageDisplayMode.h"

#include <QLocale>

// The words for usage that the panel, the tooltip and the command line share.

/// How long ago `date` was, in a few words: "just now" within 60 s either way, then "5 min. ago",
/// "2 hr. ago", "3 days ago", always rounded down. A date to come gives "in 5 min." and so on.
[[nodiscard]] QString relativeAge(Date date, Date now = currentDate());

/// "Reset " and when, in local time and the short style of `locale`; "Previous reset " once that
/// has passed. Empty for a window without a reset time.
[[nodiscard]] QString resetText(const LimitWindow& window, const QLocale& locale,
                                Date now = currentDate());

/// One line about the state of the record as a whole: how fresh it is, or why it shows nothing. An
/// error beside limits is not in it.
[[nodiscard]] QString statusText(const ServiceUsage& service, Date now = currentDate());

/// The limit with least left of all whose period is still running, with its service and its reset:
/// "Codex: Weekly 22% left, Reset 11/22/26 11:12 PM". Empty when none is known.
[[nodiscard]] QString tightestLimitText(const QList<ServiceUsage>& services, UsageDisplayMode mode,
                                        const QLocale& locale, Date now = currentDate());
