#pragma once

#include "today/SystemMetricsSampler.h"

/// Made-up figures for a look at the program.
namespace Demo {

/// A machine in good health, whose rates rise and fall as time goes by.
[[nodiscard]] SystemMetrics system(Date now = currentDate());

} // namespace Demo
