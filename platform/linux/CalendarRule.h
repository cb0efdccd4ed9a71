#pragma once

#include "platform/CalendarStore.h"

#include <QDate>

#include <libical/ical.h>

#include <functional>

/// Where one occurrence of an event starts.
struct CalendarStart {
    Date moment;
    QDate day; // on the event's own clock
};

struct CalendarRange {
    DateSpan span; // of the starts that matter
    int steps = 0; // at most so many starts are looked at
};

/// The starts that `rule` makes of an event that starts at `first`, those within `range.span` at
/// least, in order. `moment` turns a time on the event's clock into a moment.
///
/// Ends soon with any rule: rules that change within the day and have further conditions to the
/// second are not followed, and there is no looking beyond the span for rules that never come true.
[[nodiscard]] QList<CalendarStart>
ruleStarts(icalrecurrencetype rule, icaltimetype first, const CalendarRange& range,
           const std::function<std::optional<Date>(const icaltimetype&)>& moment);
