#include "app/StatusCommand.h"

#include "usage/CodexSnapshot.h"
#include "usage/DemoUsage.h"
#include "usage/KeychainStore.h"
#include "usage/ProviderRegistry.h"
#include "usage/SnapshotRunner.h"
#include "usage/UsageSources.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>

#include <future>

using namespace Qt::StringLiterals;

namespace {

const QString codexId = u"codex"_s;

/// The rows with limits to show: the calendar and the notes have none.
QList<ProviderDefinition> shownServices(const ProviderRegistry& registry,
                                        const QHash<QString, ServiceUsage>& fresh = {})
{
    QList<ProviderDefinition> rows = registry.visible();
    rows.removeIf([&](const ProviderDefinition& row) {
        // A first answer that could not be saved for want of space is worth showing all the same.
        const bool isOn
            = registry.isEnabled(row.id) || (fresh.contains(row.id) && !registry.hasSwitch(row.id));
        return row.id == "calendar"_L1 || row.id == "notes"_L1 || !isOn;
    });
    return rows;
}

QList<ServiceUsage> status(const ProviderRegistry& registry,
                           const QHash<QString, ServiceUsage>& fresh)
{
    QList<ServiceUsage> services;
    for (const ProviderDefinition& row : shownServices(registry, fresh)) {
        const auto read = fresh.constFind(row.id);
        services.append(read != fresh.cend() ? *read : savedUsage(registry, row));
    }
    return services;
}

} // namespace

QList<ServiceUsage> savedStatus(const ProviderRegistry& registry)
{
    return status(registry, {});
}

QList<ServiceUsage> demoStatus(const ProviderRegistry& registry, Date now)
{
    QList<ServiceUsage> services;
    for (const ProviderDefinition& row : shownServices(registry)) {
        if (const std::optional<ServiceUsage> usage = Demo::usage(row.id, now))
            services.append(*usage);
    }
    return services;
}

QList<ServiceUsage> refreshedStatus(const ProviderRegistry& registry, const KeychainStore& keychain,
                                    const SnapshotRunner& runner, const Cancellation& cancellation)
{
    // The preferences are read here; the workers get copies of what they need.
    const bool isFirstContact = isCodexFirstContact(registry);
    std::future<QByteArray> codex;
    if (isFirstContact || registry.isEnabled(codexId)) {
        codex
            = std::async(std::launch::async, [&cancellation, folder = registry.supportDirectory()] {
                  return CodexSnapshot::read(CodexSnapshot::defaultTimeout, folder, &cancellation);
              });
    }
    std::vector<std::pair<ProviderDefinition, std::future<std::optional<ServiceUsage>>>> runs;
    const QString folder = registry.supportDirectory();
    if (runner.isAvailable()) {
        for (const ProviderDefinition& row : registry.enabledSnapshotProviders()) {
            runs.emplace_back(row, std::async(std::launch::async, [&, row] {
                                  return providerUsage(runner, keychain, folder, row,
                                                       &cancellation);
                              }));
        }
    }

    QHash<QString, ServiceUsage> fresh;
    if (codex.valid()) {
        const QByteArray document = codex.get();
        // A newcomer who does not use Codex is not to meet a card that complains about it.
        if (!isFirstContact || !QJsonDocument::fromJson(document).object().contains("error"_L1))
            fresh.insert(codexId, codexReadUsage(registry, document));
    }
    for (auto& [row, run] : runs) {
        if (const std::optional<ServiceUsage> usage = run.get())
            fresh.insert(row.id, *usage);
    }
    return status(registry, fresh);
}
