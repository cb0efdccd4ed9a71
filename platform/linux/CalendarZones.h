#pragma once

#include "platform/Date.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QTimeZone>

#include <libical/ical.h>

#include <memory>
#include <optional>

/// The time zones that one calendar text uses, and what its clocks' times are in moments.
class CalendarZones {
public:
    /// Learns a zone from the text itself: one VTIMEZONE from BEGIN to END.
    void add(const QByteArray& text);

    /// A day is its local midnight. `zone` is the TZID as written, empty for none. Absent for a
    /// time that no calendar has.
    [[nodiscard]] std::optional<Date> moment(icaltimetype time, const QByteArray& zone);

    /// The zones asked for that nobody knows.
    [[nodiscard]] const QSet<QByteArray>& unknown() const { return m_unknown; }

private:
    struct FreeZone {
        void operator()(icaltimezone* zone) const { icaltimezone_free(zone, 1); }
    };
    [[nodiscard]] QTimeZone systemZone(const QByteArray& zone);

    QHash<QByteArray, std::shared_ptr<icaltimezone>> m_own;
    QHash<QByteArray, QTimeZone> m_system; // local time for unknown ones
    QSet<QByteArray> m_unknown;
};

/// The day of `time`; invalid when there is no such day.
[[nodiscard]] QDate calendarDay(const icaltimetype& time);
