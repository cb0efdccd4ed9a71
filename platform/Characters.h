#pragma once

#include <QString>

/// The first `count` characters of `text` as the user sees them: an emoji of several code points,
/// or a letter with its accents, is one.
[[nodiscard]] QString firstCharacters(const QString& text, qsizetype count);
