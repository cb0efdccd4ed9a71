#include "usage/ProviderRegistry.h"

#include "platform/PreferenceStore.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString orderKey = u"todayOrder"_s;
const QString releasedKey = u"releasedProviders"_s;

QString enabledKey(const QString& id)
{
    return "provider."_L1 + id + ".enabled"_L1;
}

} // namespace

ProviderRegistry::ProviderRegistry(PreferenceStore& preferences, QString supportDirectory,
                                   bool everythingOn)
    : m_preferences(preferences)
    , m_supportDirectory(std::move(supportDirectory))
    , m_everythingOn(everythingOn)
{
}

const QList<ProviderDefinition>& ProviderRegistry::all()
{
    static const QList<ProviderDefinition> rows{
        {u"calendar"_s, u"Calendar"_s, {}},
        {u"notes"_s, u"Notes"_s, {}},
        {u"claude"_s, u"Claude"_s, u"claude-usage.json"_s},
        {u"codex"_s, u"Codex"_s, u"codex-usage.json"_s},
        {u"cursor"_s, u"Cursor"_s, {}},
        {u"antigravity"_s, u"Antigravity"_s, {}},
        {u"copilot"_s, u"Copilot"_s, u"copilot-usage.json"_s},
        {u"devin"_s, u"Devin"_s, {}},
        {u"grok"_s, u"Grok"_s, {}},
        {u"ollama"_s, u"Ollama"_s, u"ollama-usage.json"_s},
        {u"opencode"_s, u"OpenCode"_s, {}},
        {u"openrouter"_s, u"OpenRouter"_s, u"openrouter-usage.json"_s},
        {u"zai"_s, u"Z.ai"_s, u"zai-usage.json"_s},
    };
    return rows;
}

std::optional<ProviderDefinition> ProviderRegistry::definition(const QString& id)
{
    const auto row = std::find_if(all().begin(), all().end(),
                                  [&](const ProviderDefinition& each) { return each.id == id; });
    return row == all().end() ? std::nullopt : std::optional(*row);
}

const QSet<QString>& ProviderRegistry::released()
{
    static const QSet<QString> ids{u"calendar"_s, u"notes"_s, u"claude"_s, u"codex"_s};
    return ids;
}

const QSet<QString>& ProviderRegistry::snapshotReaders()
{
    static const QSet<QString> ids{u"copilot"_s, u"ollama"_s, u"openrouter"_s, u"zai"_s};
    return ids;
}

QList<ProviderDefinition> ProviderRegistry::ordered(const QList<ProviderDefinition>& rows,
                                                    const QStringList& order)
{
    QList<ProviderDefinition> sorted = rows;
    const auto rank = [&order](const ProviderDefinition& row) {
        const qsizetype place = order.indexOf(row.id);
        return place < 0 ? order.size() : place;
    };
    // Rows that are not listed share one rank: being stable, the sort leaves them as they were.
    std::stable_sort(sorted.begin(), sorted.end(),
                     [&](const ProviderDefinition& a, const ProviderDefinition& b) {
                         return rank(a) < rank(b);
                     });
    return sorted;
}

QList<ProviderDefinition> ProviderRegistry::visible() const
{
    QList<ProviderDefinition> offered;
    std::copy_if(all().begin(), all().end(), std::back_inserter(offered),
                 [this](const ProviderDefinition& row) { return isOffered(row.id); });
    return ordered(offered, todayOrder());
}

bool ProviderRegistry::isOffered(const QString& id) const
{
    const QStringList chosen = m_preferences.texts(releasedKey).value_or(QStringList());
    return released().contains(id) || chosen.contains(id) || m_furtherOffered.contains(id)
        || (m_furtherOffered.contains("all"_L1) && snapshotReaders().contains(id));
}

QList<ProviderDefinition> ProviderRegistry::enabledSnapshotProviders() const
{
    QList<ProviderDefinition> rows = visible();
    rows.removeIf([this](const ProviderDefinition& row) {
        return !snapshotReaders().contains(row.id) || !isEnabled(row.id);
    });
    return rows;
}

QStringList ProviderRegistry::todayOrder() const
{
    return m_preferences.texts(orderKey).value_or(QStringList());
}

bool ProviderRegistry::setTodayOrder(const QStringList& order)
{
    return m_preferences.setTexts(orderKey, order);
}

bool ProviderRegistry::hasConnected(const QString& id) const
{
    const std::optional<ProviderDefinition> row = definition(id);
    return row && row->snapshotFile
        && QFileInfo::exists(m_supportDirectory + u'/' + *row->snapshotFile);
}

bool ProviderRegistry::isEnabled(const QString& id) const
{
    if (m_everythingOn)
        return true;
    if (const std::optional<bool> chosen = m_preferences.boolean(enabledKey(id)))
        return *chosen;
    if (id != "calendar"_L1)
        return hasConnected(id);
    return !hasConnected(u"claude"_s) && !hasConnected(u"codex"_s);
}

bool ProviderRegistry::hasSwitch(const QString& id) const
{
    return m_preferences.boolean(enabledKey(id)).has_value();
}

bool ProviderRegistry::setEnabled(const QString& id, bool enabled)
{
    return m_preferences.setBoolean(enabledKey(id), enabled);
}

bool ProviderRegistry::removeSwitch(const QString& id)
{
    return m_preferences.remove(enabledKey(id));
}
