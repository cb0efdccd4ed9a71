#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The shell command of the status line that the user had before, from the saved settings member
/// `saved` (a JSON object). Absent when there is none, or when it would run the bridge installed in
/// `supportFolder`, or its predecessor, over and over.
[[nodiscard]] std::optional<std::string> previousCommand(std::string_view saved,
                                                         const std::string& supportFolder);

/// Becomes the shell command `command`, with `input` on its standard input. Returns only when that
/// is not possible.
void become(const std::string& command, std::string_view input);
