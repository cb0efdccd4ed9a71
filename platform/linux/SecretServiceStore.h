#pragma once

#include "platform/SecretStore.h"

#include <QDBusConnection>

#include <chrono>

/// Secrets kept by the desktop's Secret Service (GNOME Keyring, KWallet and others).
///
/// Usable from any thread, by several at once. While a dialog of the service is open, the calling
/// thread runs an event loop of its own; it ends with the user's answer, after `promptLimit`, or
/// when the service or the application quits.
class SecretServiceStore final : public SecretStore {
public:
    /// Talks over `bus`. A service that takes longer than `callLimit` for one call counts as
    /// absent.
    explicit SecretServiceStore(QDBusConnection bus = QDBusConnection::sessionBus(),
                                std::chrono::milliseconds callLimit = std::chrono::seconds(2),
                                std::chrono::milliseconds promptLimit = std::chrono::minutes(2));

    [[nodiscard]] SecretReading read(const QString& service, const QString& account) const override;
    bool setSecret(const QString& service, const QString& account, const QString& label,
                   const QByteArray& secret) override;

    /// Asks the user to unlock the store when the secret is behind a lock.
    bool removeSecret(const QString& service, const QString& account) override;

private:
    QDBusConnection m_bus;
    std::chrono::milliseconds m_callLimit;
    std::chrono::milliseconds m_promptLimit;
};
