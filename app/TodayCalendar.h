#pragma once

#include "today/CalendarSource.h"

#include <functional>

class PreferenceStore;

/// The calendar's record as the panel shows it: which month and day the user looks at.
class TodayCalendar {
public:
    /// The store outlives this. With `isDemo` the events are made up and the store is left alone.
    TodayCalendar(CalendarStore& store, PreferenceStore& preferences, bool isDemo);

    /// The record for `now`. Absent while events are on their way and an older record is still the
    /// best there is.
    [[nodiscard]] std::optional<ServiceUsage> usage(Date now = currentDate());
    /// What there is to say of today: its record without what is over, whatever day is selected.
    [[nodiscard]] ServiceUsage spoken(Date now = currentDate());
    /// Shows another month, and another day, or today.
    void navigate(Date month, std::optional<Date> selected);
    /// Goes back to today: for a panel that is opened anew.
    void showToday();
    /// Asks for access, once in all.
    void askCalendarAccess();
    /// Lets the store go to sleep.
    void close() { m_source.close(); }

    /// Called when `usage` has something new to say.
    std::function<void()> onChange;

private:
    CalendarSource m_source;
    PreferenceStore& m_preferences;
    bool m_isDemo;
    bool m_isAsking = false;
    std::optional<Date> m_month; // absent: the present one
    std::optional<Date> m_selected; // absent: today
    ServiceUsage m_spoken; // as told last
};
