#pragma once

#include "usage/ServiceUsage.h"

/// Made-up figures for a look at the program.
namespace Demo {

/// The calendar's record for `now`: a working day, and some marks in the month.
[[nodiscard]] ServiceUsage calendar(Date now, Date month, std::optional<Date> selected);

} // namespace Demo
