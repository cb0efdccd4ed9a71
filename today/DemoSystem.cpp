#include "today/DemoSystem.h"

#include <cmath>

using namespace Qt::StringLiterals;

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
