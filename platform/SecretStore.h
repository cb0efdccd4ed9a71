#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// What keeps a secret from being read.
enum class SecretObstacle {
    none,
    locked, // there is one, behind the user's password
    unreachable, // no store answers
};

/// A look into the store.
struct SecretReading {
    std::optional<QByteArray> secret; // absent when there is none, or an obstacle
    SecretObstacle obstacle = SecretObstacle::none;
};

/// The user's store of secrets, where each has a service and an account as its address.
///
/// Every call waits for another process: from a worker thread only, once there is a window.
class SecretStore {
public:
    virtual ~SecretStore() = default;

    /// Reads the stored bytes. Never asks the user for anything.
    [[nodiscard]] virtual SecretReading read(const QString& service,
                                             const QString& account) const = 0;

    /// Stores `secret` in place of what was there. `label` is what the user reads in the store's
    /// own program. The system may ask the user to unlock the store; false when that is refused,
    /// when no store answers or when it fails.
    virtual bool setSecret(const QString& service, const QString& account, const QString& label,
                           const QByteArray& secret)
        = 0;

    /// Removes what is stored at the address. False when something is still there afterwards.
    virtual bool removeSecret(const QString& service, const QString& account) = 0;
};
