#pragma once

#include "platform/CalendarStore.h"
#include "usage/ServiceUsage.h"

#include <QList>

#include <functional>
#include <optional>

/// Turns the user's calendar into the record of the Today card: the agenda of one day, and the days
/// of one month that have events.
///
/// Works on what the store told last and never waits. Main thread only.
class CalendarSource {
public:
    /// `store` outlives the source, which takes its callbacks.
    explicit CalendarSource(CalendarStore& store);
    ~CalendarSource();
    CalendarSource(const CalendarSource&) = delete;
    CalendarSource& operator=(const CalendarSource&) = delete;

    /// Whether events may be read: `status` is 3.
    [[nodiscard]] bool hasAccess() const { return status() == CalendarAccess::full; }

    /// The store's status; 0 as long as that is not known.
    [[nodiscard]] int status() const;

    /// Asks for access to the events. `completion` is told later, on the main thread.
    void requestAccess(std::function<void(bool granted)> completion);

    /// The record for `now`: the agenda of the day of `selected`, or else of `now`, and the marks
    /// of the month that `month` lies in, all in local time. Without access it has an error text.
    ///
    /// Absent while the events are on their way: `onChange` is called when they are there, and a
    /// record made before is still the best there is. Events older than ten minutes, and those of a
    /// store that has changed, serve until newer ones have come; asking for them is part of this.
    [[nodiscard]] std::optional<ServiceUsage> usage(Date now, Date month,
                                                    std::optional<Date> selected = std::nullopt);

    /// Forgets all events and lets the store go to sleep, until `usage` is called again.
    void close();

    /// Called when `usage` has something new to say.
    std::function<void()> onChange;

private:
    /// The events of one month and the days next to it.
    struct Month {
        DateSpan span;
        QList<CalendarEvent> events;
        Date asked;
        int storeState = 0;
    };
    struct Request {
        DateSpan span;
        Date asked;
        int storeState = 0;
    };

    void ask();
    [[nodiscard]] bool isFresh(const DateSpan& span) const;
    [[nodiscard]] const Month* find(const DateSpan& span) const;
    void take(const DateSpan& span, const QList<CalendarEvent>& events);
    /// False when the same was known before.
    bool keep(const Request& request, const QList<CalendarEvent>& events);
    void storeChanged();

    CalendarStore& m_store;
    QList<Month> m_months;
    QList<Request> m_requests; // not yet answered
    QList<DateSpan> m_needed; // by the last record
    Date m_now; // of the last record
    std::optional<int> m_status; // at the last answer
    int m_storeState = 0; // counts the store's changes
};
