#pragma once

#include "usage/ServiceUsage.h"

/// Made-up figures, so that a newcomer sees what the program shows before anything is connected.
namespace Demo {

/// The record of `id`, with resets some hours and days after `now`. Absent for ids without made-up
/// figures; "claude" and "codex" have them.
[[nodiscard]] std::optional<ServiceUsage> usage(const QString& id, Date now = currentDate());

/// All of them.
[[nodiscard]] QList<ServiceUsage> all(Date now = currentDate());

} // namespace Demo
