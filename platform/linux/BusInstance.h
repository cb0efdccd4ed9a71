#pragma once

#include "platform/RunningInstance.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <memory>

/// The running program as a name on the session bus, with the methods of `dev.gridwell.Vexlo` and
/// of `org.freedesktop.Application`.
class BusInstance final : public RunningInstance {
public:
    /// The name is "dev.gridwell.Vexlo", or with `demo` one beside it.
    explicit BusInstance(bool demo, const QDBusConnection& bus = QDBusConnection::sessionBus());
    ~BusInstance() override;

    Claim claim(const InstanceActions& actions) override;
    std::optional<bool> send(Request request, const QString& argument = {}) override;

private:
    QString m_name;
    QDBusConnection m_bus;
    std::unique_ptr<QObject> m_object;
};
