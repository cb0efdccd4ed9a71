#include "app/StatusReport.h"

#include "usage/UsageTexts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int reportVersion = 1;
constexpr double lowFrom = 10; // percent left
constexpr double usedUpBelow = 1;
constexpr int lowExitCode = 1;
constexpr int usedUpExitCode = 2;
constexpr int unknownExitCode = 3;

QJsonValue jsonDate(const std::optional<Date>& date)
{
    return date ? QJsonValue(secondsSince1970(*date)) : QJsonValue();
}

QJsonObject jsonWindow(const ServiceUsage& service, const LimitWindow& window, Date now)
{
    return {
        {"name"_L1, window.name},
        {"remaining"_L1, window.remaining},
        {"reset"_L1, jsonDate(window.reset)},
        {"observed"_L1, jsonDate(service.observation(window))},
        {"current"_L1, service.isCurrent(window, now)},
        {"unreset"_L1, service.isUnreset(window, now)},
    };
}

QJsonObject jsonService(const ServiceUsage& service, Date now)
{
    QJsonArray windows;
    for (const LimitWindow& window : service.windows)
        windows.append(jsonWindow(service, window, now));
    return {
        {"id"_L1, service.id},
        {"name"_L1, service.name},
        {"error"_L1, service.error ? QJsonValue(*service.error) : QJsonValue()},
        {"allowed"_L1, service.allowed ? QJsonValue(*service.allowed) : QJsonValue()},
        {"observed"_L1, jsonDate(service.observed)},
        {"windows"_L1, windows},
    };
}

/// `text` fit for one line of a terminal: it comes from files that others write.
QString oneLine(QString text)
{
    text.removeIf([](QChar character) {
        return character.category() == QChar::Other_Control && !character.isSpace();
    });
    return text.simplified();
}

QString windowText(const LimitWindow& window, UsageDisplayMode mode, const QLocale& locale,
                   Date now)
{
    const QString figure = oneLine(window.name) + u' ' + shownText(mode, window.remaining);
    const QString reset = resetText(window, locale, now);
    return reset.isEmpty() ? figure : figure + " ("_L1 + reset + u')';
}

} // namespace

QString statusReport(const QList<ServiceUsage>& services, UsageDisplayMode mode,
                     const QLocale& locale, Date now)
{
    qsizetype longestName = 0;
    for (const ServiceUsage& service : services)
        longestName = std::max(longestName, service.name.size());

    QString report;
    for (const ServiceUsage& service : services) {
        QStringList parts;
        for (const LimitWindow& window : service.windows)
            parts.append(windowText(window, mode, locale, now));
        const QString status = oneLine(statusText(service, now));
        if (const QString error = oneLine(service.error.value_or(QString()));
            !error.isEmpty() && error != status)
            parts.append(error);
        parts.append(status);
        report += service.name.leftJustified(longestName) + "  "_L1 + parts.join(u" · "_s) + u'\n';
    }
    return report;
}

QByteArray statusJson(const QList<ServiceUsage>& services, Date now)
{
    QJsonArray list;
    for (const ServiceUsage& service : services)
        list.append(jsonService(service, now));
    const QJsonObject report{{"version"_L1, reportVersion}, {"services"_L1, list}};
    return QJsonDocument(report).toJson(QJsonDocument::Compact) + '\n';
}

int statusExitCode(const QList<ServiceUsage>& services, Date now)
{
    std::optional<double> least;
    for (const ServiceUsage& service : services) {
        for (const LimitWindow& window : service.unresetWindows(now))
            least = std::min(least.value_or(window.remaining), window.remaining);
    }
    if (!least)
        return unknownExitCode;
    if (*least < usedUpBelow)
        return usedUpExitCode;
    return *least <= lowFrom ? lowExitCode : 0;
}
