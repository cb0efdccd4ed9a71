#include "today/SystemMetricsSampler.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double shortestSpan = 0.1; // seconds; two samples at once would give absurd rates
constexpr double freezingPoint = 273.15; // kelvin
constexpr double coldestPlausible = -20; // °C
constexpr double hottestPlausible = 100;

/// Halves go away from zero.
int percent(double part, double whole)
{
    return int(std::lround(part / whole * 100));
}

struct Usage {
    int percent = 0;
    quint64 used = 0;
    quint64 total = 0;
};

Usage usage(const std::optional<Capacity>& capacity)
{
    if (!capacity || capacity->total < 1)
        return {};
    const quint64 used = capacity->total - std::min(capacity->available, capacity->total);
    return {percent(double(used), double(capacity->total)), used, capacity->total};
}

/// All packs together, in percent.
std::optional<int> charge(const QList<Battery>& batteries)
{
    double now = 0;
    double full = 0;
    for (const Battery& battery : batteries) {
        if (battery.fullCharge < 1)
            continue;
        now += double(battery.charge);
        full += double(battery.fullCharge);
    }
    return full < 1 ? std::nullopt : std::optional(percent(now, full));
}

std::optional<double> temperature(const QList<Battery>& batteries)
{
    const auto known = std::find_if(batteries.cbegin(), batteries.cend(),
                                    [](const Battery& battery) { return battery.temperature; });
    if (known == batteries.cend())
        return std::nullopt;
    // The subtraction leaves crumbs in the last digits, which would fall below a threshold.
    const double celsius = std::round((*known->temperature / 10 - freezingPoint) * 1000) / 1000;
    if (celsius < coldestPlausible || celsius > hottestPlausible)
        return std::nullopt;
    return celsius;
}

/// The default route's address, or else the first.
std::optional<QString> localAddress(const QList<NetworkInterface>& interfaces)
{
    std::optional<QString> address;
    for (const NetworkInterface& interface : interfaces) {
        if (!interface.address.isEmpty() && (!address || interface.isDefaultRoute))
            address = interface.address;
    }
    return address;
}

/// All bytes of the virtual interfaces, or of the others.
TransferredBytes bytesOfAll(const QList<NetworkInterface>& interfaces, bool isVirtual)
{
    TransferredBytes all;
    for (const NetworkInterface& interface : interfaces) {
        if (interface.isVirtual != isVirtual)
            continue;
        const TransferredBytes bytes = interface.bytes.value_or(TransferredBytes());
        all.received += bytes.received;
        all.sent += bytes.sent;
    }
    return all;
}

/// 0 when the counter went down: it has wrapped, or an interface is gone.
quint64 rate(quint64 before, quint64 now, double seconds)
{
    return now < before ? 0 : quint64(double(now - before) / seconds);
}

} // namespace

SystemMetricsSampler::SystemMetricsSampler(const SystemCounters& counters)
    : m_counters(counters)
{
}

SystemMetrics SystemMetricsSampler::sample(Date now)
{
    const SystemReading reading = m_counters.read();
    const Usage memory = usage(reading.memory);
    const Usage disk = usage(reading.disk);
    const std::optional<int> load = processorLoad(reading.processor);
    SystemMetrics metrics{
        .cpu = load.value_or(0),
        .memory = memory.percent,
        .memoryUsed = memory.used,
        .memoryTotal = memory.total,
        .disk = disk.percent,
        .diskUsed = disk.used,
        .diskTotal = disk.total,
        .battery = charge(reading.batteries),
        .temperature = temperature(reading.batteries),
        .knowsLoad = load.has_value(),
    };
    networkUsage(reading.network, now, metrics);
    return metrics;
}

std::optional<int> SystemMetricsSampler::processorLoad(const std::optional<ProcessorTicks>& ticks)
{
    if (!ticks)
        return std::nullopt;
    std::optional<int> load;
    if (m_previousTicks)
        load = 0;
    if (m_previousTicks && ticks->total > m_previousTicks->total) {
        const double passed = double(ticks->total - m_previousTicks->total);
        // The time spent waiting for a disk, part of the idle time, may go back.
        const double idle = double(ticks->idle) - double(m_previousTicks->idle);
        load = std::clamp(percent(passed - idle, passed), 0, 100);
    }
    m_previousTicks = ticks;
    return load;
}

void SystemMetricsSampler::networkUsage(const std::optional<QList<NetworkInterface>>& interfaces,
                                        Date now, SystemMetrics& metrics)
{
    metrics.knowsRates = false;
    if (!interfaces)
        return;
    metrics.localIP = localAddress(*interfaces);
    // What goes through a tunnel goes through a device as well, but not what a modem's line
    // carries: whichever of the two sums moved more holds it all.
    const PreviousNetwork present{.hardware = bytesOfAll(*interfaces, false),
                                  .virtually = bytesOfAll(*interfaces, true),
                                  .time = now};
    metrics.knowsRates = m_previousNetwork.has_value();
    if (m_previousNetwork) {
        const std::chrono::duration<double> passed = now - m_previousNetwork->time;
        const double seconds = std::max(passed.count(), shortestSpan);
        const auto fastest = [&](quint64 TransferredBytes::*count) {
            return std::max(
                rate(m_previousNetwork->hardware.*count, present.hardware.*count, seconds),
                rate(m_previousNetwork->virtually.*count, present.virtually.*count, seconds));
        };
        metrics.downloadRate = fastest(&TransferredBytes::received);
        metrics.uploadRate = fastest(&TransferredBytes::sent);
    }
    m_previousNetwork = present;
}
