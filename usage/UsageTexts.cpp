#include "usage/UsageTexts.h"

#include <QCoreApplication>
#include <QDateTime>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

class Texts {
    Q_DECLARE_TR_FUNCTIONS(UsageTexts)
};

struct Words {
    const char* past;
    const char* future;
};

// The English catalogue has the singular forms.
constexpr Words minuteWords{QT_TRANSLATE_N_NOOP("UsageTexts", "%n min. ago"),
                            QT_TRANSLATE_N_NOOP("UsageTexts", "in %n min.")};
constexpr Words hourWords{QT_TRANSLATE_N_NOOP("UsageTexts", "%n hr. ago"),
                          QT_TRANSLATE_N_NOOP("UsageTexts", "in %n hr.")};
constexpr Words dayWords{QT_TRANSLATE_N_NOOP("UsageTexts", "%n days ago"),
                         QT_TRANSLATE_N_NOOP("UsageTexts", "in %n days")};

/// When the newest of the shown figures was measured.
std::optional<Date> newestObservation(const ServiceUsage& service)
{
    std::optional<Date> newest = service.observed;
    for (const LimitWindow& window : service.windows)
        newest = std::max(newest, window.observed); // an absent date is less than any
    return newest;
}

} // namespace

QString relativeAge(Date date, Date now)
{
    using namespace std::chrono;
    using Days = duration<int, std::ratio<86400>>;
    const bool isPast = date <= now;
    const auto distance = isPast ? now - date : date - now;
    if (distance < 60s)
        return Texts::tr("just now");

    const auto say = [isPast](const Words& words, auto count) {
        return Texts::tr(isPast ? words.past : words.future, nullptr, int(count));
    };
    if (distance < 1h)
        return say(minuteWords, duration_cast<minutes>(distance).count());
    if (distance < Days(1))
        return say(hourWords, duration_cast<hours>(distance).count());
    return say(dayWords, duration_cast<Days>(distance).count());
}

QString resetText(const LimitWindow& window, const QLocale& locale, Date now)
{
    if (!window.reset)
        return {};
    const QDateTime local
        = QDateTime::fromMSecsSinceEpoch(window.reset->time_since_epoch().count());
    const QString date = locale.toString(local, QLocale::ShortFormat);
    return window.active(now) ? Texts::tr("Reset %1").arg(date)
                              : Texts::tr("Previous reset %1").arg(date);
}

QString statusText(const ServiceUsage& service, Date now)
{
    if (service.allowed == false)
        return Texts::tr("Included usage unavailable");
    if (service.displayed().isEmpty())
        return service.error.value_or(Texts::tr("Waiting for usage"));

    const std::optional<Date> observed = newestObservation(service);
    const QString age = observed ? relativeAge(*observed, now) : Texts::tr("unknown");
    const qsizetype currentCount = service.current(now).size();
    if (currentCount == 0)
        return Texts::tr("Last known · %1").arg(age);
    const QString updated = Texts::tr("Updated %1").arg(age);
    return currentCount == service.windows.size()
        ? updated
        : updated + u" · "_s + Texts::tr("Some limits outdated");
}

QString tightestLimitText(const QList<ServiceUsage>& services, UsageDisplayMode mode,
                          const QLocale& locale, Date now)
{
    const ServiceUsage* tightest = nullptr;
    LimitWindow limit;
    for (const ServiceUsage& service : services) {
        for (const LimitWindow& window : service.unresetWindows(now)) {
            if (!tightest || window.remaining < limit.remaining) {
                tightest = &service;
                limit = window;
            }
        }
    }
    if (!tightest)
        return {};
    const QString text
        = tightest->name + ": "_L1 + limit.name + u' ' + shownText(mode, limit.remaining);
    const QString reset = resetText(limit, locale, now);
    return reset.isEmpty() ? text : text + ", "_L1 + reset;
}
