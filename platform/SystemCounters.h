#pragma once

#include <QList>
#include <QString>

#include <optional>

/// Running counters of all processors together, in ticks since the machine started.
struct ProcessorTicks {
    quint64 idle = 0;
    quint64 total = 0; // idle included

    bool operator==(const ProcessorTicks&) const = default;
};

/// Of memory or a disk, in bytes.
struct Capacity {
    quint64 available = 0; // what programs can still get
    quint64 total = 0;

    bool operator==(const Capacity&) const = default;
};

/// Running byte counters of one network interface.
struct TransferredBytes {
    quint64 received = 0;
    quint64 sent = 0;

    bool operator==(const TransferredBytes&) const = default;
};

/// A network interface that is up and leads out of the machine.
struct NetworkInterface {
    QString name;
    QString address; // IPv4 in dotted form; empty for none
    bool isDefaultRoute = false; // what has no route of its own goes here
    bool isVirtual = false; // a bridge, a tunnel, a modem's line: another may count the same bytes
    std::optional<TransferredBytes> bytes;

    bool operator==(const NetworkInterface&) const = default;
};

/// One of the machine's own batteries. All of one reading count in the same unit.
struct Battery {
    qint64 charge = 0;
    qint64 fullCharge = 0; // 0 when the charge is not known
    std::optional<double> temperature; // tenths of a kelvin

    bool operator==(const Battery&) const = default;
};

/// What the system tells at one moment. Absent is what it does not tell.
struct SystemReading {
    std::optional<ProcessorTicks> processor;
    std::optional<Capacity> memory;
    std::optional<Capacity> disk; // the one that the system starts from
    std::optional<QList<NetworkInterface>> network;
    QList<Battery> batteries;

    bool operator==(const SystemReading&) const = default;
};

/// The machine's counters and fill levels.
class SystemCounters {
public:
    virtual ~SystemCounters() = default;

    /// Reads them all, quickly enough for the main thread. What cannot be read is absent and
    /// keeps nothing else from being read.
    [[nodiscard]] virtual SystemReading read() const = 0;
};
