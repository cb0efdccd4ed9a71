#include "usage/UsageSources.h"

#include "platform/Files.h"
#include "usage/CodexSnapshot.h"
#include "usage/SnapshotFiles.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

const QString claudeId = u"claude"_s;
const QString codexId = u"codex"_s;

} // namespace

ServiceUsage savedUsage(const ProviderRegistry& registry, const ProviderDefinition& provider)
{
    if (provider.id == claudeId)
        return claudeUsage(registry.supportDirectory());
    if (provider.id == codexId)
        return savedCodexUsage(registry.supportDirectory());
    return savedSnapshotUsage(registry.supportDirectory(), provider);
}

bool isCodexFirstContact(const ProviderRegistry& registry)
{
    return !registry.hasSwitch(codexId) && !registry.hasConnected(codexId)
        && CodexSnapshot::codexBinary().has_value();
}

ServiceUsage codexReadUsage(const ProviderRegistry& registry, const QByteArray& document, Date now)
{
    ServiceUsage usage = codexUsage(document, now);
    if (!QJsonDocument::fromJson(document).object().contains("error"_L1))
        return usage;
    const QString& folder = registry.supportDirectory();
    if (registry.hasConnected(codexId)) {
        const ServiceUsage saved = savedCodexUsage(folder, now);
        usage.windows = saved.windows;
        usage.observed = saved.observed;
    } else if (usage.error == CodexSnapshot::loginMessage() && makePrivateFolder(folder)) {
        // Not worth a word when it fails: it only spares the next start the search.
        [[maybe_unused]] const ReplaceStatus ignored
            = replaceFile(folder + u'/' + CodexSnapshot::fileName, R"({"windows":{}})",
                          {.temporaryPrefix = u"codex-"_s, .durable = false});
    }
    return usage;
}
