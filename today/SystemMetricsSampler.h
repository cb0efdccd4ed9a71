#pragma once

#include "platform/Date.h"
#include "platform/SystemCounters.h"

#include <QString>

#include <optional>

/// The machine's health at one moment. Percentages are whole ones, 0 to 100; what could not be
/// read is 0 or absent.
struct SystemMetrics {
    int cpu = 0; // load since the sample before
    int memory = 0; // in use
    quint64 memoryUsed = 0; // bytes
    quint64 memoryTotal = 0;
    int disk = 0; // in use
    quint64 diskUsed = 0; // bytes
    quint64 diskTotal = 0;
    std::optional<int> battery; // absent without one
    std::optional<double> temperature; // of the battery in °C; absent when implausible
    quint64 downloadRate = 0; // bytes per second, all interfaces together
    quint64 uploadRate = 0;
    std::optional<QString> localIP; // IPv4 in dotted form
    bool knowsLoad
        = true; // false: there is no sample before to compare with, and `cpu` says nothing
    bool knowsRates = true; // the same for the two rates

    bool operator==(const SystemMetrics&) const = default;
};

/// Takes one snapshot of the machine's health after the other. Load and rates are differences
/// between two of them: the first has none, and one after a pause is an average over the pause.
class SystemMetricsSampler {
public:
    /// `counters` must outlive the sampler.
    explicit SystemMetricsSampler(const SystemCounters& counters);

    [[nodiscard]] SystemMetrics sample(Date now = currentDate());

private:
    struct PreviousNetwork {
        TransferredBytes hardware;
        TransferredBytes virtually;
        Date time;
    };

    [[nodiscard]] std::optional<int> processorLoad(const std::optional<ProcessorTicks>& ticks);
    void networkUsage(const std::optional<QList<NetworkInterface>>& interfaces, Date now,
                      SystemMetrics& metrics);

    const SystemCounters& m_counters;
    std::optional<ProcessorTicks> m_previousTicks;
    std::optional<PreviousNetwork> m_previousNetwork;
};
