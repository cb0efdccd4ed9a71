#pragma once

#include "platform/SecretStore.h"

#include <QString>

#include <optional>

/// The providers' API keys, one per provider, in the user's secret store.
///
/// Calls wait for another process, as the store's do.
class KeychainStore {
public:
    explicit KeychainStore(SecretStore& secrets)
        : m_secrets(secrets)
    {
    }

    /// The key without white space around it. Absent when there is none, or when it cannot be had
    /// without asking the user, of which `obstacle` is told.
    [[nodiscard]] std::optional<QString> key(const QString& providerId,
                                             SecretObstacle* obstacle = nullptr) const;

    /// Stores `key` without white space around it, in place of an older one. False when nothing is
    /// left of it, which changes nothing, or when it cannot be stored.
    bool setKey(const QString& key, const QString& providerId);

    /// Removes the key. False when it is still there.
    bool removeKey(const QString& providerId);

private:
    SecretStore& m_secrets;
};
