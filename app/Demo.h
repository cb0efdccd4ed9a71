#pragma once

#include "today/SystemMetricsSampler.h"
#include "usage/ServiceUsage.h"

/// Made-up figures, so that a newcomer sees what the program shows before anything is connected.
namespace Demo {

/// The record of `id`, with resets some hours and days after `now`. Absent for ids without made-up
/// figures; "claude" and "codex" have them.
[[nodiscard]] std::optional<ServiceUsage> usage(const QString& id, Date now = currentDate());

/// All of them.
[[nodiscard]] QList<ServiceUsage> all(Date now = currentDate());

/// The calendar's record for `now`: a working day, and some marks in the month.
[[nodiscard]] ServiceUsage calendar(Date now, Date month, std::optional<Date> selected);

/// A machine in good health, whose rates rise and fall as time goes by.
[[nodiscard]] SystemMetrics system(Date now = currentDate());

} // namespace Demo
