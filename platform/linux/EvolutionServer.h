#pragma once

#include "platform/CalendarStore.h"
#include "platform/linux/CalendarSources.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QSet>

#include <chrono>
#include <functional>
#include <optional>

/// One calendar that the server has opened for us.
struct OpenCalendar {
    QString service; // the bus name that it is at
    QString path;
    QString view; // the object that tells of its changes, empty for none
};

/// The methods of Evolution Data Server that reading calendars takes, over the bus.
///
/// No call waits: each is told its answer later, or nothing after an error or when the server does
/// not answer in time. An unfinished call is never told anything after `forget`.
class EvolutionServer final : public QObject {
    Q_OBJECT

public:
    EvolutionServer(QDBusConnection bus, std::chrono::milliseconds callLimit);

    /// Whether the server is installed. Starts nothing, and is to be called before all others.
    void find(std::function<void(bool)> then);

    /// All sources, started to be watched.
    void readSources(std::function<void(const std::optional<CalendarSources>&)> then);
    void open(const QString& id, std::function<void(const std::optional<OpenCalendar>&)> then);
    /// Has every change of `calendar` told; `then` gets the view to be closed with it.
    void watch(const OpenCalendar& calendar, std::function<void(const QString& view)> then);
    void close(const OpenCalendar& calendar);

    /// The texts of the events that may lie in `span`, with all repeating ones.
    void query(const OpenCalendar& calendar, const DateSpan& span,
               std::function<void(const std::optional<QStringList>&)> then);
    /// A time zone's text, empty for an unknown one.
    void readZone(const OpenCalendar& calendar, const QByteArray& zone,
                  std::function<void(const QByteArray&)> then);

    /// Stops all watching.
    void forget();

    /// Called when calendars, or events of those that are watched, have changed.
    std::function<void()> onChange;
    /// Called when `service` has got another owner, or none (false).
    std::function<void(const QString& service, bool isRunning)> onOwner;

private slots:
    void change();
    void sourceChanged(const QString& interface, const QVariantMap& changed);

private:
    struct Address;
    using Arguments = std::optional<QVariantList>;

    void call(const Address& to, const QString& method, const QVariantList& arguments,
              QLatin1StringView signature, std::function<void(const Arguments&)> then);
    void send(const Address& to, const QString& method, const QVariantList& arguments = {});
    void setConnected(const Address& to, const QString& signal, const char* slot, bool isConnected);
    void watchSources(const QSet<QString>& paths);

    QDBusConnection m_bus;
    std::chrono::milliseconds m_callLimit;
    // Their digits differ from release to release.
    QString m_registryName;
    QString m_factoryName;
    QSet<QString> m_sources; // paths that are watched
    QDBusServiceWatcher m_owners;
    int m_era = 0; // what was begun in an earlier one is forgotten
};
