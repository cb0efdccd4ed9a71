#pragma once

#include "platform/SystemCounters.h"

#include <functional>

/// The IPv4 address that the kernel knows for `interface`, in dotted form; empty for none.
[[nodiscard]] QString interfaceAddress(const QString& interface);

/// Counters that the Linux kernel offers as text files.
///
/// Network interfaces are those with a device behind them, and the one of the default route. The
/// bytes of the latter are given only when no device has any: a bridge's or a tunnel's have passed
/// a device already.
class ProcCounters final : public SystemCounters {
public:
    using AddressLookup = std::function<QString(const QString& interface)>;

    /// Reads "proc" and "sys" in the folder `root`, and takes the disk on which `root` lies.
    explicit ProcCounters(QString root = QStringLiteral("/"),
                          AddressLookup addressOf = interfaceAddress);

    [[nodiscard]] SystemReading read() const override;

private:
    [[nodiscard]] QByteArray contents(const QString& path) const;
    [[nodiscard]] std::optional<qint64> number(const QString& path) const;
    [[nodiscard]] std::optional<Capacity> disk() const;
    [[nodiscard]] std::optional<QList<NetworkInterface>> network() const;
    [[nodiscard]] bool isUp(const QString& interface) const;
    [[nodiscard]] bool hasDevice(const QString& interface) const;
    [[nodiscard]] QStringList batteryFolders() const;
    [[nodiscard]] QList<Battery> batteries() const;
    [[nodiscard]] QList<Battery> charges(const QStringList& folders, const QString& nowName,
                                         const QString& fullName) const;

    QString m_root; // ends with a slash
    AddressLookup m_addressOf;
};
