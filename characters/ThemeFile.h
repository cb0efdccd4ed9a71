#pragma once

#include "characters/PixelTheme.h"

struct ApplicationPaths;

/// The theme in the bytes of a "theme.json". Absent when a value is missing or of another type;
/// whether the theme is any good, `isValid` tells.
[[nodiscard]] std::optional<PixelTheme> themeFromJson(const QByteArray& data);

/// The good theme in the folder of `root` that is called after `folderId`. Absent when there is
/// none, or `folderId` could lead out of `root`.
[[nodiscard]] std::optional<PixelTheme> readTheme(const QString& root, const QString& folderId);

/// Where themes are looked for: the user's own, then those that came with the program.
[[nodiscard]] QStringList themeRoots(const ApplicationPaths& paths);
