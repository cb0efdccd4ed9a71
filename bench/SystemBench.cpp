// What one sample of the machine's health takes, beside reading the same figures with the usual
// tools of the system. Needs procps, coreutils, iproute2.

#include "bench/Median.h"
#include "platform/linux/ProcCounters.h"
#include "today/SystemMetricsSampler.h"

#include <QCoreApplication>
#include <QProcess>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 500;
constexpr int toolRounds = 20;

// The same figures: ticks, memory, disk, counters with addresses, route, batteries.
constexpr auto tools = "vmstat --stats; free --bytes; df --block-size=1 /; ip -stats link; "
                       "ip -4 address; ip -4 route; cat /sys/class/power_supply/*/uevent"_L1;

double toolsMilliseconds()
{
    Median median;
    for (int round = 0; round < toolRounds; ++round) {
        median.time([] {
            QProcess shell;
            shell.start(u"sh"_s, {u"-c"_s, tools});
            if (!shell.waitForFinished() || shell.readAllStandardOutput().isEmpty())
                qFatal("the system's tools tell nothing");
        });
    }
    return median.milliseconds();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const ProcCounters counters;
    SystemMetricsSampler sampler(counters);
    Median sample;
    for (int round = 0; round < rounds; ++round)
        sample.time([&] { (void)sampler.sample(); });
    const SystemMetrics metrics = sampler.sample();
    if (metrics.memoryTotal == 0 || metrics.diskTotal == 0)
        qFatal("nothing was measured");
    std::printf("| one sample of the system | %.3f ms |\n"
                "| the same figures from the system's tools | %.1f ms |\n",
                sample.milliseconds(), toolsMilliseconds());
}
