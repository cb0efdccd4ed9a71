#pragma once

#include "platform/CalendarStore.h"

#include <QByteArray>
#include <QSet>

#include <chrono>

/// What a calendar text says about one span of time.
struct ParsedCalendar {
    /// False for what is broken, cut short, or no calendar; the rest is then empty.
    bool isWhole = false;
    QList<CalendarEvent> events;
    /// Outside of this no event of the text lies, whatever span is asked for. Start and end are the
    /// same when it has none.
    DateSpan extent;
    /// Time zones that neither the text nor the system knows. Their times count as local.
    QSet<QByteArray> unknownZones;
};

/// Bounds to the work that a text can cause.
struct CalendarLimits {
    qsizetype occurrences = 5'000; // of one event in the span
    qsizetype events = 200'000;
    int steps = 100'000; // from an event's first occurrence to the span
    std::chrono::milliseconds expansionTime = std::chrono::seconds(5); // of all repeating events
};

/// Reads `text`, a whole iCalendar file in UTF-8, for the events that overlap `span`.
///
/// Repeating events come as single occurrences, with moved and removed ones taken into account.
/// All-day events lie between local midnights; times without a zone are local. An event that ends
/// before it starts, or tells no end, has no length, or one day when it lasts all day. Past a limit
/// occurrences are left out. From any thread, but only one at a time.
[[nodiscard]] ParsedCalendar parseCalendar(const QByteArray& text, const DateSpan& span,
                                           const CalendarLimits& limits = {});
