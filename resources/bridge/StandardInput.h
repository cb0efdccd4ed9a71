#pragma once

#include <chrono>
#include <cstddef>
#include <string>

/// What was read of an input.
struct Input {
    std::string bytes;
    bool hasEnded = false; // false: more may come
};

/// Reads `descriptor` to its end, until `deadline` or up to `byteLimit` bytes, whichever is first.
/// What cannot be read counts as the end.
[[nodiscard]] Input readInput(int descriptor, std::chrono::steady_clock::time_point deadline,
                              std::size_t byteLimit);
