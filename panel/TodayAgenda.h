#pragma once

#include "usage/ServiceUsage.h"

#include <QDate>
#include <QLocale>
#include <QStringList>

/// One line of the agenda.
struct AgendaRow {
    enum class State { ended, current, coming };

    QString time; // "09:30", "all day", "until 10:00"
    QString title; // on one line
    QString spoken; // all of it in words
    State state = State::coming;
    bool allDay = false; // not marked as current: it always is

    bool operator==(const AgendaRow&) const = default;
};

/// What the Today card says of one day's events.
struct TodayAgenda {
    QList<AgendaRow> rows; // those that are shown
    QString more; // how many are not; empty for none
    QString note; // what comes next, or that nothing does; may be empty
    QStringList words; // the whole agenda, an entry each

    bool operator==(const TodayAgenda&) const = default;
};

/// Makes the agenda of `day`, whose events the calendar record `service` holds, in local time.
///
/// Of events that are too many for a card, ended ones are left out first, then all-day ones beyond
/// the first few, then the last.
[[nodiscard]] TodayAgenda todayAgenda(const ServiceUsage& service, QDate day, const QLocale& locale,
                                      Date now = currentDate());
