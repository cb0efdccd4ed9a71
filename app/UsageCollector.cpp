#include "app/UsageCollector.h"

#include "usage/CodexSnapshot.h"
#include "usage/DemoUsage.h"
#include "usage/KeychainStore.h"
#include "usage/ProviderRegistry.h"
#include "usage/SnapshotFiles.h"
#include "usage/UsageSources.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtConcurrentRun>

using namespace Qt::StringLiterals;

namespace {

const QString claudeId = u"claude"_s;
const QString codexId = u"codex"_s;
constexpr int mostWorkers = 8; // they wait, they don't compute

} // namespace

UsageCollector::UsageCollector(ProviderRegistry& registry, KeychainStore& keychain,
                               const ApplicationPaths& paths, bool isDemo)
    : m_registry(registry)
    , m_keychain(keychain)
    , m_paths(paths)
    , m_isDemo(isDemo)
    , m_runner{.script = paths.resources + "/provider_snapshot.py"_L1}
{
    m_workers.setMaxThreadCount(mostWorkers);
}

UsageCollector::~UsageCollector()
{
    // No child outlives the program: the waits end at once, and end their children.
    m_cancellation.cancel();
    m_workers.waitForDone();
}

void UsageCollector::readSaved()
{
    for (const ProviderDefinition& row : ProviderRegistry::all()) {
        if (m_isDemo) {
            if (const std::optional<ServiceUsage> usage = Demo::usage(row.id))
                store(*usage);
        } else if (row.snapshotFile) {
            store(savedUsage(m_registry, row));
        }
    }
}

void UsageCollector::readClaude()
{
    if (m_isDemo)
        readSaved();
    else
        m_usageByID.insert(claudeId, claudeUsage(m_paths.supportDirectory));
}

void UsageCollector::fetchCodex()
{
    if (m_codexRunning || m_isDemo)
        return;
    const bool isFirstContact = isCodexFirstContact(m_registry);
    if (!isFirstContact && !m_registry.isEnabled(codexId))
        return;
    m_codexRunning = true;
    QtConcurrent::run(&m_workers, [folder = m_paths.supportDirectory, &cancel = m_cancellation] {
        return CodexSnapshot::read(CodexSnapshot::defaultTimeout, folder, &cancel);
    }).then(this, [this, isFirstContact](const QByteArray& document) {
        m_codexRunning = false;
        takeCodexDocument(document, isFirstContact);
    });
}

void UsageCollector::takeCodexDocument(const QByteArray& document, bool isFirstContact)
{
    // A newcomer who does not use Codex is not to meet a card that complains about it.
    if (isFirstContact && QJsonDocument::fromJson(document).object().contains("error"_L1))
        return;
    m_usageByID.insert(codexId, codexReadUsage(m_registry, document));
    onChange();
}

void UsageCollector::fetchSnapshotProviders()
{
    if (m_isDemo || !m_runner.isAvailable())
        return;
    for (const ProviderDefinition& row : m_registry.enabledSnapshotProviders()) {
        if (m_snapshotRunning.contains(row.id))
            continue;
        m_snapshotRunning.insert(row.id);
        QtConcurrent::run(&m_workers, [this, row] {
            return providerUsage(m_runner, m_keychain, m_paths.supportDirectory, row,
                                 &m_cancellation);
        }).then(this, [this, id = row.id](const std::optional<ServiceUsage>& usage) {
            m_snapshotRunning.remove(id);
            if (usage)
                store(*usage);
            onChange();
        });
    }
}

QList<ServiceUsage> UsageCollector::shown() const
{
    QList<ServiceUsage> services;
    for (const ProviderDefinition& row : m_registry.visible()) {
        const auto usage = m_usageByID.constFind(row.id);
        if (usage != m_usageByID.cend() && m_registry.isEnabled(row.id))
            services.append(*usage);
    }
    return services;
}
