#pragma once

#include <QString>

/// Removes what an older version kept in the support folder about the sessions' contexts: a file of
/// its own, and a member of the Claude snapshot. Failures change nothing and are not told.
void removeOldContextCache(const QString& supportDirectory);
