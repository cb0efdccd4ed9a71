#pragma once

#include "platform/Date.h"

#include <QList>
#include <QSet>
#include <QString>

#include <optional>

/// One limit of a service: a window of time in which so much may be used.
struct LimitWindow {
    QString name; // the label as shown: "5-hour", "Weekly", "Short limit", …
    double remaining = 0; // percent still available, 0 to 100
    std::optional<Date> reset; // when the window next resets
    std::optional<Date> observed; // when the figure was measured; the service's time when absent

    /// Whether its period may still be running: a reset exactly at `now` has passed.
    [[nodiscard]] bool active(Date now = currentDate()) const;
    /// Whether it is a week's limit rather than a short one.
    [[nodiscard]] bool isWeekly() const;

    bool operator==(const LimitWindow&) const = default;
};

/// One calendar entry of the Today card.
struct AgendaItem {
    QString title;
    Date start;
    Date end;
    bool allDay = false; // drawn without times

    bool operator==(const AgendaItem&) const = default;
};

/// Everything that one source reports in one refresh.
struct ServiceUsage {
    QString id; // "claude", "codex" or a provider's id
    QString name; // as shown on the card
    QList<LimitWindow> windows; // in the source's order, stale ones included
    std::optional<Date> observed; // when the source as a whole was measured
    std::optional<QString> error; // for the user, shown instead of or beside the limits
    std::optional<bool> allowed; // whether the plan allows ordinary use; absent when untold
    double freshnessSeconds = 0; // a figure of exactly this age is stale

    // The Today record alone fills these.
    QList<AgendaItem> agenda;
    QSet<int> eventDays; // days of the shown month, from 1
    std::optional<Date> calendarMonth; // the month shown in the grid
    std::optional<Date> selectedDay; // the day selected in it

    /// When `window` was measured: its own time, else the service's.
    [[nodiscard]] std::optional<Date> observation(const LimitWindow& window) const;
    /// Whether the figure of `window` is fresh and its period has not ended.
    [[nodiscard]] bool isCurrent(const LimitWindow& window, Date now = currentDate()) const;
    /// Whether the period of `window` is known not to have ended, however old the figure. Without a
    /// reset time only a current figure counts.
    [[nodiscard]] bool isUnreset(const LimitWindow& window, Date now = currentDate()) const;

    /// The current windows, in the source's order.
    [[nodiscard]] QList<LimitWindow> current(Date now = currentDate()) const;
    /// The current window with least remaining, the first of equals. Absent when none is current.
    [[nodiscard]] std::optional<LimitWindow> lowest(Date now = currentDate()) const;
    /// The windows for which `isUnreset` holds, in the source's order.
    [[nodiscard]] QList<LimitWindow> unresetWindows(Date now = currentDate()) const;
    /// What a card draws: every window as it was reported.
    [[nodiscard]] const QList<LimitWindow>& displayed() const { return windows; }

    bool operator==(const ServiceUsage&) const = default;
};
