#pragma once

#include "usage/ServiceUsage.h"

#include <QList>

class Cancellation;
class KeychainStore;
class ProviderRegistry;
struct SnapshotRunner;

/// The records of the services that are shown, from what is saved. Without connections: none.
[[nodiscard]] QList<ServiceUsage> savedStatus(const ProviderRegistry& registry);

/// The made-up records of `--demo`.
[[nodiscard]] QList<ServiceUsage> demoStatus(const ProviderRegistry& registry,
                                             Date now = currentDate());

/// Asks Codex and the snapshot providers side by side, then gives the records of the services that
/// are shown. A source that fails keeps what is saved. `cancellation` makes it end early.
[[nodiscard]] QList<ServiceUsage> refreshedStatus(const ProviderRegistry& registry,
                                                  const KeychainStore& keychain,
                                                  const SnapshotRunner& runner,
                                                  const Cancellation& cancellation);
