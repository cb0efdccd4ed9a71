#include "usage/DemoUsage.h"

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
