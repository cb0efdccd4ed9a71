#pragma once

#include <QDBusArgument>
#include <QSet>
#include <QStringList>

/// What the source registry of Evolution Data Server keeps.
struct CalendarSources {
    QStringList calendars; // ids of the enabled ones
    QSet<QString> paths; // of all sources, calendars or not
};

/// Reads the registry's answer to GetManagedObjects. A source is disabled when one above it is.
[[nodiscard]] CalendarSources calendarSources(const QDBusArgument& objects);
