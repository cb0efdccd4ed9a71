#pragma once

#include "resources/bridge/StandardInput.h"

#include <optional>
#include <string>
#include <string_view>

/// The shell command of the status line that the user had before, from the saved settings member
/// `saved` (a JSON object). Absent when there is none, or when it would run the bridge installed in
/// `supportFolder`, or its predecessor, over and over.
[[nodiscard]] std::optional<std::string> previousCommand(std::string_view saved,
                                                         const std::string& supportFolder);

/// Whether the previous status line is being run already, and it is what started this program: a
/// script of the user's may call the bridge to show what it shows.
[[nodiscard]] bool isWithinPrevious();

/// Becomes the shell command `command`, with `input` on its standard input. When that has not
/// ended, what still comes is passed on as it comes until `deadline`. Returns only when that is not
/// possible.
void become(const std::string& command, const Input& input,
            std::chrono::steady_clock::time_point deadline);
