#include "app/LimitWarnings.h"

#include "platform/Notifier.h"
#include "platform/PreferenceStore.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;
using std::chrono::seconds;

namespace {

/// The marker's key without the reset time at its end.
QString markerStart(const ServiceUsage& usage, const LimitWindow& window)
{
    return "warned-"_L1 + usage.name + u'-' + window.name + u'-';
}

/// Since 1970; 0 without a reset time.
seconds resetSeconds(const LimitWindow& window)
{
    return window.reset ? std::chrono::duration_cast<seconds>(window.reset->time_since_epoch())
                        : seconds(0);
}

/// Without their difference: `other` may be any number that a file can hold.
bool areOne(seconds reset, seconds other)
{
    return other >= reset - LimitWarnings::resetDrift && other <= reset + LimitWarnings::resetDrift;
}

bool hasMarker(const PreferenceStore& preferences, const QString& start, seconds reset)
{
    const QStringList keys = preferences.keys();
    return std::ranges::any_of(keys, [&](const QString& key) {
        if (!key.startsWith(start))
            return false;
        bool isNumber = false;
        const seconds marked(key.sliced(start.size()).toLongLong(&isNumber));
        return isNumber && areOne(reset, marked) && preferences.boolean(key).value_or(false);
    });
}

} // namespace

LimitWarnings::LimitWarnings(PreferenceStore& preferences, Notifier& notifier)
    : m_preferences(preferences)
    , m_notifier(notifier)
{
}

void LimitWarnings::checkWarnings(const QStringList& visibleIDs,
                                  const QHash<QString, ServiceUsage>& usageByID, Date now)
{
    for (const QString& id : visibleIDs) {
        const auto usage = usageByID.constFind(id);
        if (usage == usageByID.cend())
            continue;
        const std::optional<LimitWindow> lowest = usage->lowest(now);
        if (lowest && lowest->remaining <= threshold)
            warn(*usage, *lowest);
    }
}

/// Follows a reset time that moves a little with every reading, so that it does not leave its
/// marker behind.
bool LimitWarnings::isNewPeriod(const QString& limit, seconds reset)
{
    const auto last = m_lastResets.constFind(limit);
    const bool isKnown = (last != m_lastResets.cend() && areOne(reset, *last))
        || hasMarker(m_preferences, limit, reset);
    m_lastResets.insert(limit, reset);
    return !isKnown;
}

void LimitWarnings::warn(const ServiceUsage& usage, const LimitWindow& window)
{
    const QString limit = markerStart(usage, window);
    const seconds reset = resetSeconds(window);
    if (!isNewPeriod(limit, reset))
        return;
    const QString marker = limit + QString::number(reset.count());
    m_preferences.setBoolean(marker, true);
    m_notifier.post({
        .identifier = marker,
        .title = tr("%1 stamina low").arg(usage.name),
        .body = tr("%1% left on %2 limit.")
                    .arg(QString::number(std::lround(window.remaining)), window.name.toLower()),
        .picture = picture ? picture(usage.id) : QImage(),
    });
}
