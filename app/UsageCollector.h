#pragma once

#include "platform/ApplicationPaths.h"
#include "platform/Cancellation.h"
#include "usage/ServiceUsage.h"
#include "usage/SnapshotRunner.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QThreadPool>

#include <functional>

class KeychainStore;
class ProviderRegistry;

/// The records of every service, and how they are kept up to date.
///
/// Reads that wait for others run on workers, one at a time for each service, and hand their result
/// back through the event loop; the records themselves belong to the main thread.
class UsageCollector : public QObject {
    Q_OBJECT

public:
    /// With `isDemo` the figures are made up, and nothing is read, written or started.
    UsageCollector(ProviderRegistry& registry, KeychainStore& keychain,
                   const ApplicationPaths& paths, bool isDemo);
    /// Ends what is under way, and its children with it.
    ~UsageCollector() override;

    /// Reads what was saved last time.
    void readSaved();
    /// Reads what Claude Code's bridge has written; in demo all made-up figures anew.
    void readClaude();
    /// Asks Codex, unless it is being asked, or is neither on nor worth a first try.
    void fetchCodex();
    /// Asks every provider that is on and not being asked.
    void fetchSnapshotProviders();
    /// Runs `work` beside the others; it must not touch what belongs to the main thread.
    void runAside(std::function<void()> work) { m_workers.start(std::move(work)); }
    /// Lets go of everything that waits.
    void cancel() { m_cancellation.cancel(); }

    void store(const ServiceUsage& usage) { m_usageByID.insert(usage.id, usage); }
    [[nodiscard]] const QHash<QString, ServiceUsage>& usageByID() const { return m_usageByID; }
    /// The records to be shown, in the user's order.
    [[nodiscard]] QList<ServiceUsage> shown() const;

    /// Called when a fetch has changed a record.
    std::function<void()> onChange;

private:
    void takeCodexDocument(const QByteArray& document, bool isFirstContact);

    ProviderRegistry& m_registry;
    KeychainStore& m_keychain;
    ApplicationPaths m_paths;
    bool m_isDemo;
    QHash<QString, ServiceUsage> m_usageByID;
    bool m_codexRunning = false;
    QSet<QString> m_snapshotRunning;
    SnapshotRunner m_runner;
    Cancellation m_cancellation; // of what the workers wait for
    QThreadPool m_workers;
};
