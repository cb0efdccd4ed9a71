#pragma once

#include <chrono>

/// A moment, in milliseconds since 1970-01-01 UTC.
using Date = std::chrono::sys_time<std::chrono::milliseconds>;

[[nodiscard]] inline Date currentDate()
{
    return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

/// `date` as seconds since 1970, with its milliseconds as fraction.
[[nodiscard]] inline double secondsSince1970(Date date)
{
    return static_cast<double>(date.time_since_epoch().count()) / 1000.0;
}
