#pragma once

#include <chrono>
#include <cstddef>
#include <string>

/// Reads `descriptor` to its end, until `deadline` or up to `byteLimit` bytes, whichever is first.
/// What cannot be read counts as the end.
[[nodiscard]] std::string readInput(int descriptor, std::chrono::steady_clock::time_point deadline,
                                    std::size_t byteLimit);
