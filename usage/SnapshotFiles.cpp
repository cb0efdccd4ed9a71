#include "usage/SnapshotFiles.h"

#include "platform/Files.h"
#include "platform/LenientJson.h"
#include "usage/CodexSnapshot.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr double claudeFreshness = 900;
constexpr double codexFreshness = 180;
constexpr double providerFreshness = 900;
constexpr double weekFromMinutes = 8640; // six days: the label for what is not a short limit
constexpr qint64 largestSnapshot = 4 << 20;

namespace Key {
constexpr auto allowed = "allowed"_L1;
constexpr auto error = "error"_L1;
constexpr auto name = "name"_L1;
constexpr auto observedAt = "observed_at"_L1;
constexpr auto rateLimits = "rate_limits"_L1;
constexpr auto resetsAt = "resets_at"_L1;
constexpr auto seenAt = "seen_at"_L1;
constexpr auto usedPercent = "used_percent"_L1;
constexpr auto usedPercentage = "used_percentage"_L1;
constexpr auto windows = "windows"_L1;
// Codex's own spelling
constexpr auto codexDuration = "windowDurationMins"_L1;
constexpr auto codexResetsAt = "resetsAt"_L1;
constexpr auto codexUsedPercent = "usedPercent"_L1;
} // namespace Key

class Texts {
    Q_DECLARE_TR_FUNCTIONS(SnapshotFiles)
};

std::optional<QJsonObject> parsedObject(const QByteArray& data)
{
    QJsonDocument document = QJsonDocument::fromJson(data);
    if (document.isNull()) // one number out of range must not hide the others
        document = QJsonDocument::fromJson(
            QByteArray::fromStdString(LenientJson::mended(data.toStdString())));
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

std::optional<Date> dateAt(const QJsonObject& object, QLatin1StringView key)
{
    constexpr double furthest = 8.64e12; // seconds; what calendars can show
    const QJsonValue value = object.value(key);
    if (!value.isDouble() || !(std::abs(value.toDouble()) <= furthest))
        return std::nullopt;
    const std::chrono::duration<double> seconds(value.toDouble());
    return Date(std::chrono::round<std::chrono::milliseconds>(seconds));
}

/// One limit, when `object` tells how much of it is used.
std::optional<LimitWindow> limitWindow(const QJsonObject& object, const QString& name,
                                       QLatin1StringView usedKey, QLatin1StringView resetKey)
{
    const QJsonValue used = object.value(usedKey);
    if (!used.isDouble())
        return std::nullopt;
    return LimitWindow{
        .name = name,
        .remaining = std::clamp(100.0 - used.toDouble(), 0.0, 100.0),
        .reset = dateAt(object, resetKey),
    };
}

std::optional<QByteArray> snapshotBytes(const QString& supportDirectory, const QString& name)
{
    const ReadResult result = readFile(supportDirectory + u'/' + name, largestSnapshot);
    return result.status == ReadStatus::read ? std::optional(result.contents) : std::nullopt;
}

QString codexLabel(const QJsonObject& window)
{
    // Which of its two windows is the long one differs between plans; the length tells.
    return window.value(Key::codexDuration).toDouble() >= weekFromMinutes ? u"Weekly"_s
                                                                          : u"Short limit"_s;
}

} // namespace

ServiceUsage claudeUsage(const QString& supportDirectory)
{
    ServiceUsage usage{.id = u"claude"_s, .name = u"Claude"_s, .freshnessSeconds = claudeFreshness};
    const std::optional<QByteArray> data = snapshotBytes(supportDirectory, u"claude-usage.json"_s);
    const std::optional<QJsonObject> snapshot = data ? parsedObject(*data) : std::nullopt;
    if (!snapshot) {
        usage.error = Texts::tr("Connect Claude Code to receive usage");
        return usage;
    }
    usage.observed = dateAt(*snapshot, Key::observedAt);
    const QJsonObject limits = snapshot->value(Key::rateLimits).toObject();
    const std::pair<QLatin1StringView, QString> labels[]{
        {"five_hour"_L1, u"5-hour"_s},
        {"seven_day"_L1, u"Weekly"_s},
    };
    for (const auto& [key, label] : labels) {
        const QJsonObject object = limits.value(key).toObject();
        if (auto window = limitWindow(object, label, Key::usedPercentage, Key::resetsAt)) {
            window->observed = dateAt(object, Key::seenAt);
            usage.windows.append(*window);
        }
    }
    if (usage.windows.isEmpty())
        usage.error = Texts::tr("Waiting for Claude Code data");
    return usage;
}

ServiceUsage codexUsage(const QByteArray& data, Date now)
{
    ServiceUsage usage{.id = u"codex"_s, .name = u"Codex"_s, .freshnessSeconds = codexFreshness};
    const std::optional<QJsonObject> snapshot = parsedObject(data);
    if (!snapshot) {
        usage.error = CodexSnapshot::message(QString());
        return usage;
    }
    if (const QJsonValue error = snapshot->value(Key::error); !error.isUndefined()) {
        usage.error = CodexSnapshot::message(error.toString());
        return usage;
    }
    usage.observed = dateAt(*snapshot, Key::observedAt);
    if (const QJsonValue allowed = snapshot->value(Key::allowed); allowed.isBool())
        usage.allowed = allowed.toBool();
    const QJsonObject windows = snapshot->value(Key::windows).toObject();
    for (const QLatin1StringView key : CodexSnapshot::windowKeys) {
        const QJsonObject object = windows.value(key).toObject();
        if (const auto window
            = limitWindow(object, codexLabel(object), Key::codexUsedPercent, Key::codexResetsAt))
            usage.windows.append(*window);
    }
    if (usage.current(now).isEmpty())
        usage.error = Texts::tr("No Codex limits yet. Please log in: run codex login");
    return usage;
}

ServiceUsage savedCodexUsage(const QString& supportDirectory, Date now)
{
    const auto data = snapshotBytes(supportDirectory, CodexSnapshot::fileName);
    if (data)
        return codexUsage(*data, now);
    return {.id = u"codex"_s, .name = u"Codex"_s, .freshnessSeconds = codexFreshness};
}

ServiceUsage snapshotUsage(const QString& id, const QString& name, const QByteArray& data)
{
    ServiceUsage usage{.id = id, .name = name, .freshnessSeconds = providerFreshness};
    const std::optional<QJsonObject> snapshot = parsedObject(data);
    if (!snapshot) {
        usage.error = Texts::tr("Could not read %1 usage").arg(name);
        return usage;
    }
    usage.observed = dateAt(*snapshot, Key::observedAt);
    for (const QJsonValue& value : snapshot->value(Key::windows).toArray()) {
        const QJsonObject object = value.toObject();
        const QString label = object.value(Key::name).toString();
        if (const auto window = limitWindow(object, label, Key::usedPercent, Key::resetsAt))
            usage.windows.append(*window);
    }
    if (const QString error = snapshot->value(Key::error).toString(); !error.isEmpty())
        usage.error = error;
    else if (usage.windows.isEmpty())
        usage.error = Texts::tr("No %1 limits reported").arg(name);
    return usage;
}

ServiceUsage savedSnapshotUsage(const QString& supportDirectory, const ProviderDefinition& provider)
{
    ServiceUsage usage{
        .id = provider.id,
        .name = provider.name,
        .freshnessSeconds = providerFreshness,
    };
    if (!provider.snapshotFile) {
        usage.error = Texts::tr("No usage source available yet");
        return usage;
    }
    if (const auto data = snapshotBytes(supportDirectory, *provider.snapshotFile))
        return snapshotUsage(provider.id, provider.name, *data);
    usage.error = Texts::tr("Waiting for %1 usage").arg(provider.name);
    return usage;
}
