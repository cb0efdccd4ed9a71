#pragma once

#include "usage/ServiceUsage.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>

class Cancellation;
class KeychainStore;
struct ProviderDefinition;

/// Runs the companion script that fetches one provider's usage.
struct SnapshotRunner {
    static constexpr std::chrono::seconds defaultTimeout{60};
    static constexpr qsizetype largestOutput = 1 << 20; // bytes

    QString script; // a Python file; without it nothing is run
    QString interpreter = QStringLiteral("/usr/bin/python3");
    std::chrono::milliseconds timeout = defaultTimeout;

    /// Whether there is a script to run.
    [[nodiscard]] bool isAvailable() const;

    /// What the script prints for `providerId`. `key` reaches it on its standard input alone.
    ///
    /// Absent when it could not be started, took longer than `timeout` or printed more than
    /// `largestOutput`; it is ended then, with all that it started. Blocks: from a worker. Its exit
    /// status says nothing.
    [[nodiscard]] std::optional<QByteArray> run(const QString& providerId,
                                                const std::optional<QString>& key,
                                                const Cancellation* cancellation = nullptr) const;
};

/// The record of `provider` after a run with its key. Blocks: from a worker.
///
/// Absent when the run gives nothing. When the key is there but cannot be read, the script is not
/// run, which would report a missing key and forget the limits: the record is the saved one, and
/// says why.
[[nodiscard]] std::optional<ServiceUsage> providerUsage(const SnapshotRunner& runner,
                                                        const KeychainStore& keychain,
                                                        const QString& supportDirectory,
                                                        const ProviderDefinition& provider,
                                                        const Cancellation* cancellation = nullptr);

/// The record that a run leads to: what the script printed, or the provider's saved snapshot when
/// that holds no limits.
[[nodiscard]] ServiceUsage snapshotRunUsage(const QString& supportDirectory,
                                            const ProviderDefinition& provider,
                                            const QByteArray& output);
