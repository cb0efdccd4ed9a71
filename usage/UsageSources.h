#pragma once

#include "usage/ProviderRegistry.h"
#include "usage/ServiceUsage.h"

#include <QByteArray>

// What a finished read of a source means for its record and its file. The reads themselves block
// and belong to workers; these few steps belong to the main thread.

/// The record of what is known without asking anybody: from the source's file in the support
/// folder.
[[nodiscard]] ServiceUsage savedUsage(const ProviderRegistry& registry,
                                      const ProviderDefinition& provider);

/// Whether a newcomer's Codex is to be tried: neither switched on or off nor ever connected, but
/// installed.
[[nodiscard]] bool isCodexFirstContact(const ProviderRegistry& registry);

/// The Codex record after a read gave `document`.
///
/// A failed read keeps the limits that were known, beside its message. When the user is to log in
/// and Codex has never been connected, an empty snapshot is left in the support folder.
[[nodiscard]] ServiceUsage codexReadUsage(const ProviderRegistry& registry,
                                          const QByteArray& document, Date now = currentDate());
