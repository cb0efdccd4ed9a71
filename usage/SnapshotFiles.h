#pragma once

#include "usage/ProviderRegistry.h"
#include "usage/ServiceUsage.h"

// Readers of the usage snapshots: JSON files in the support folder that other processes write.
//
// Times in them are seconds since 1970 UTC, whole or not; percentages say how much of a limit is
// used, 0 to 100. A value of another type than expected counts as absent. No reader fails: what
// cannot be read becomes the record's `error`.

/// The Claude Code record from "claude-usage.json", which the status-line bridge writes.
[[nodiscard]] ServiceUsage claudeUsage(const QString& supportDirectory);

/// The Codex record from the bytes of a Codex snapshot, or of an object with an "error" text.
[[nodiscard]] ServiceUsage codexUsage(const QByteArray& data, Date now = currentDate());

/// The Codex record from "codex-usage.json", the last good answer. Without the file: neither
/// windows nor an error.
[[nodiscard]] ServiceUsage savedCodexUsage(const QString& supportDirectory,
                                           Date now = currentDate());

/// A provider's record from the bytes of its snapshot. The snapshot's own error goes before ours,
/// and does not hide the windows beside it.
[[nodiscard]] ServiceUsage snapshotUsage(const QString& id, const QString& name,
                                         const QByteArray& data);

/// A provider's record from its file in the support folder.
[[nodiscard]] ServiceUsage savedSnapshotUsage(const QString& supportDirectory,
                                              const ProviderDefinition& provider);
