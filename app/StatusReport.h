#pragma once

#include "usage/ServiceUsage.h"
#include "usage/UsageDisplayMode.h"

#include <QByteArray>
#include <QLocale>

// The report of `vexlo --status`, as functions of the records.

/// One line per service: its limits with their resets, then its age or what is wrong.
[[nodiscard]] QString statusReport(const QList<ServiceUsage>& services, UsageDisplayMode mode,
                                   const QLocale& locale, Date now = currentDate());

/// The same as one JSON object in one line. Absent values are null; times are seconds since 1970.
[[nodiscard]] QByteArray statusJson(const QList<ServiceUsage>& services, Date now = currentDate());

/// 0 fine, 1 some limit has 10 % or less left, 2 some limit is used up (less than 1 % left), 3
/// nothing is known. Only limits whose period has not ended count.
[[nodiscard]] int statusExitCode(const QList<ServiceUsage>& services, Date now = currentDate());
