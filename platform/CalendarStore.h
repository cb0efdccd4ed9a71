#pragma once

#include "platform/Date.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>

/// A stretch of time, without the moment of its end.
struct DateSpan {
    Date start;
    Date end;

    bool operator==(const DateSpan&) const = default;
};

/// One occurrence of an event in the user's calendar.
struct CalendarEvent {
    QString title; // may be empty
    Date start;
    Date end; // never before `start`; the midnight after its last day when it lasts all day
    bool allDay = false; // from midnight to midnight, in local time
    bool cancelled = false;

    bool operator==(const CalendarEvent&) const = default;
};

/// Whether some of `event` lies in `span`. An event without length lies where it starts.
[[nodiscard]] inline bool overlaps(const CalendarEvent& event, const DateSpan& span)
{
    return event.start < span.end && (event.end > span.start || event.start >= span.start);
}

/// What the system says about reading the user's events.
namespace CalendarAccess {
inline constexpr int notDetermined = 0;
inline constexpr int denied = 2;
inline constexpr int full = 3;
} // namespace CalendarAccess

/// The user's calendars. Main thread only; no call waits, and none of the callbacks is called
/// before the call that leads to it has returned.
class CalendarStore {
public:
    virtual ~CalendarStore() = default;

    /// 0 not determined, 1 restricted, 2 denied or nothing to read, 3 full access, 4 write-only.
    /// Absent as long as the store has not looked: before the first request, and after `close`.
    [[nodiscard]] virtual std::optional<int> status() const = 0;

    /// Finds out the status, asking the user where the system does so, and tells whether events may
    /// be read. Never told after `close`.
    virtual void requestAccess(std::function<void(bool granted)> completion) = 0;

    /// Asks for every event that overlaps `span`. The store is awake from now on: it watches the
    /// calendars and may start the system's calendar service.
    virtual void fetch(const DateSpan& span) = 0;

    /// Forgets everything, lets go of the system's service, and calls nothing until asked anew.
    virtual void close() = 0;

    /// The answer to one `fetch`, exactly one for each unless closed before: the events in the
    /// store's order, repeating ones as single occurrences. A calendar that does not answer in time
    /// is represented by what it said about this span before. The status is known by now.
    std::function<void(const DateSpan& span, const QList<CalendarEvent>& events)> onEvents;

    /// Called when the events or the status may have changed since the last answer.
    std::function<void()> onChange;
};
