#include "app/Demo.h"

#include <QDateTime>

#include <cmath>

using namespace Qt::StringLiterals;

std::optional<ServiceUsage> Demo::usage(const QString& id, Date now)
{
    using namespace std::chrono_literals;
    if (id == "claude"_L1) {
        return ServiceUsage{
            .id = id,
            .name = u"Claude"_s,
            .windows = {{u"5-hour"_s, 64, now + 2h + 40min, {}}, {u"Weekly"_s, 81, now + 90h, {}}},
            .observed = now - 20s,
            .freshnessSeconds = 900,
        };
    }
    if (id == "codex"_L1) {
        return ServiceUsage{
            .id = id,
            .name = u"Codex"_s,
            .windows
            = {{u"Short limit"_s, 22, now + 1h + 15min, {}}, {u"Weekly"_s, 47, now + 50h, {}}},
            .observed = now - 5s,
            .allowed = true,
            .freshnessSeconds = 180,
        };
    }
    return std::nullopt;
}

QList<ServiceUsage> Demo::all(Date now)
{
    return {*usage(u"claude"_s, now), *usage(u"codex"_s, now)};
}

ServiceUsage Demo::calendar(Date now, Date month, std::optional<Date> selected)
{
    using namespace std::chrono_literals;
    const QDateTime local
        = QDateTime::fromMSecsSinceEpoch(selected.value_or(now).time_since_epoch().count());
    const Date midnight{std::chrono::milliseconds(local.date().startOfDay().toMSecsSinceEpoch())};
    ServiceUsage usage{.id = u"calendar"_s,
                       .name = u"Calendar"_s,
                       .observed = now,
                       .freshnessSeconds = 600,
                       .eventDays = {3, 8, 11, 17, 24},
                       .calendarMonth = month,
                       .selectedDay = selected};
    usage.eventDays.insert(local.date().day());
    usage.agenda = {{u"Release week"_s, midnight, midnight + 24h, true},
                    {u"Standup"_s, midnight + 9h + 30min, midnight + 9h + 45min},
                    {u"Design review"_s, midnight + 14h, midnight + 15h},
                    {u"Tea with Kim"_s, midnight + 16h + 30min, midnight + 17h}};
    return usage;
}

SystemMetrics Demo::system(Date now)
{
    constexpr quint64 gigabyte = 1ULL << 30;
    const double wave = std::sin(secondsSince1970(now) / 7) + 1.2; // 0.2 to 2.2
    return {.cpu = int(18 * wave),
            .memory = 47,
            .memoryUsed = 75 * gigabyte / 10,
            .memoryTotal = 16 * gigabyte,
            .disk = 61,
            .diskUsed = 312 * gigabyte,
            .diskTotal = 512 * gigabyte,
            .battery = 82,
            .temperature = 31.4,
            .downloadRate = quint64(800'000 * wave),
            .uploadRate = quint64(90'000 * wave),
            .localIP = u"192.168.1.20"_s};
}
