#include "platform/linux/EvolutionServer.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDateTime>
#include <QTimeZone>
#include <QTimer>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// An interface of an object on the bus. Signals are heard without the service's name: finding out
/// who owns that would wait for the bus, and the paths are unique enough.
struct EvolutionServer::Address {
    QString service;
    QString path;
    QString interface;
};

namespace {

constexpr auto busName = "org.freedesktop.DBus"_L1;
constexpr auto registryPrefix = "org.gnome.evolution.dataserver.Sources"_L1;
constexpr auto factoryPrefix = "org.gnome.evolution.dataserver.Calendar"_L1;
constexpr auto registryPath = "/org/gnome/evolution/dataserver/SourceManager"_L1;
constexpr auto factoryPath = "/org/gnome/evolution/dataserver/CalendarFactory"_L1;

namespace Interface {
constexpr auto objectManager = "org.freedesktop.DBus.ObjectManager"_L1;
constexpr auto properties = "org.freedesktop.DBus.Properties"_L1;
constexpr auto factory = "org.gnome.evolution.dataserver.CalendarFactory"_L1;
constexpr auto calendar = "org.gnome.evolution.dataserver.Calendar"_L1;
constexpr auto view = "org.gnome.evolution.dataserver.CalendarView"_L1;
} // namespace Interface

QString instant(Date date)
{
    return QDateTime::fromMSecsSinceEpoch(date.time_since_epoch().count(), QTimeZone::utc())
        .toString(u"yyyyMMdd'T'hhmmss'Z'"_s);
}

/// The server takes all-day events to be in UTC, hence a day more. Repeating ones are wanted whole:
/// an occurrence of the span may have been moved to another time, which only its own text tells.
QString expression(const DateSpan& span)
{
    return u"(or (occur-in-time-range? (make-time \"%1\") (make-time \"%2\")) (has-recurrences?))"_s
        .arg(instant(span.start - 24h), instant(span.end + 24h));
}

/// The one with the highest number after `prefix`; empty when there is none.
QString newestName(const QStringList& names, QLatin1StringView prefix)
{
    QString newest;
    int newestNumber = -1;
    for (const QString& name : names) {
        bool isNumber = false;
        const int number = name.startsWith(prefix) ? name.mid(prefix.size()).toInt(&isNumber) : -1;
        if (isNumber && number > newestNumber) {
            newest = name;
            newestNumber = number;
        }
    }
    return newest;
}

QStringList viewSignals()
{
    return {u"ObjectsAdded"_s, u"ObjectsModified"_s, u"ObjectsRemoved"_s};
}

} // namespace

EvolutionServer::EvolutionServer(QDBusConnection bus, std::chrono::milliseconds callLimit)
    : m_bus(std::move(bus))
    , m_callLimit(callLimit)
{
    m_owners.setConnection(m_bus);
    m_owners.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    connect(&m_owners, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString& service, const QString&, const QString& owner) {
                onOwner(service, !owner.isEmpty());
            });
}

void EvolutionServer::find(std::function<void(bool)> then)
{
    call({busName, u"/org/freedesktop/DBus"_s, busName}, u"ListActivatableNames"_s, {}, "as"_L1,
         [this, then = std::move(then)](const Arguments& answer) {
             const QStringList names = answer ? answer->first().toStringList() : QStringList();
             m_registryName = newestName(names, registryPrefix);
             m_factoryName = newestName(names, factoryPrefix);
             then(!m_registryName.isEmpty() && !m_factoryName.isEmpty());
         });
}

void EvolutionServer::readSources(std::function<void(const std::optional<CalendarSources>&)> then)
{
    m_owners.addWatchedService(m_registryName);
    m_owners.addWatchedService(m_factoryName);
    call({m_registryName, registryPath, Interface::objectManager}, u"GetManagedObjects"_s, {},
         "a{oa{sa{sv}}}"_L1, [this, then = std::move(then)](const Arguments& answer) {
             if (!answer)
                 return then(std::nullopt);
             const CalendarSources sources
                 = calendarSources(answer->first().value<QDBusArgument>());
             watchSources(sources.paths);
             then(sources);
         });
}

void EvolutionServer::open(const QString& id,
                           std::function<void(const std::optional<OpenCalendar>&)> then)
{
    call({m_factoryName, factoryPath, Interface::factory}, u"OpenCalendar"_s, {id}, "ss"_L1,
         [this, then = std::move(then)](const Arguments& answer) {
             if (!answer)
                 return then(std::nullopt);
             const OpenCalendar calendar{answer->at(1).toString(), answer->at(0).toString(), {}};
             m_owners.addWatchedService(calendar.service);
             call({calendar.service, calendar.path, Interface::calendar}, u"Open"_s, {}, "as"_L1,
                  [calendar, then](const Arguments& properties) {
                      then(properties ? std::optional(calendar) : std::nullopt);
                  });
         });
}

void EvolutionServer::watch(const OpenCalendar& calendar, std::function<void(const QString&)> then)
{
    call({calendar.service, calendar.path, Interface::calendar}, u"GetView"_s, {u"#t"_s}, "o"_L1,
         [this, service = calendar.service, then = std::move(then)](const Arguments& answer) {
             if (!answer)
                 return;
             const QString path = answer->first().value<QDBusObjectPath>().path();
             const Address view{service, path, Interface::view};
             for (const QString& signal : viewSignals())
                 setConnected(view, signal, SLOT(change()), true);
             send(view, u"SetFlags"_s, {0U}); // without the list of all that is there already
             send(view, u"Start"_s);
             then(path);
         });
}

void EvolutionServer::close(const OpenCalendar& calendar)
{
    if (!calendar.view.isEmpty()) {
        const Address view{calendar.service, calendar.view, Interface::view};
        for (const QString& signal : viewSignals())
            setConnected(view, signal, SLOT(change()), false);
        send(view, u"Dispose"_s);
    }
    send({calendar.service, calendar.path, Interface::calendar}, u"Close"_s);
}

void EvolutionServer::query(const OpenCalendar& calendar, const DateSpan& span,
                            std::function<void(const std::optional<QStringList>&)> then)
{
    call({calendar.service, calendar.path, Interface::calendar}, u"GetObjectList"_s,
         {expression(span)}, "as"_L1, [then = std::move(then)](const Arguments& answer) {
             then(answer ? std::optional(answer->first().toStringList()) : std::nullopt);
         });
}

void EvolutionServer::readZone(const OpenCalendar& calendar, const QByteArray& zone,
                               std::function<void(const QByteArray&)> then)
{
    call({calendar.service, calendar.path, Interface::calendar}, u"GetTimezone"_s,
         {QString::fromUtf8(zone)}, "s"_L1, [then = std::move(then)](const Arguments& answer) {
             then(answer ? answer->first().toString().toUtf8() : QByteArray());
         });
}

void EvolutionServer::forget()
{
    ++m_era;
    watchSources({});
    m_owners.setWatchedServices({});
}

void EvolutionServer::change()
{
    onChange();
}

void EvolutionServer::sourceChanged(const QString& /*interface*/, const QVariantMap& changed)
{
    if (changed.contains(u"Data"_s))
        onChange();
}

/// Their settings, and that some come and go. None ends all watching.
void EvolutionServer::watchSources(const QSet<QString>& paths)
{
    if (paths.isEmpty() != m_sources.isEmpty()) {
        const Address registry{{}, registryPath, Interface::objectManager};
        for (const QString& signal : {u"InterfacesAdded"_s, u"InterfacesRemoved"_s})
            setConnected(registry, signal, SLOT(change()), !paths.isEmpty());
    }
    const auto setWatched = [this](const QSet<QString>& sources, bool isWatched) {
        for (const QString& path : sources)
            setConnected({{}, path, Interface::properties}, u"PropertiesChanged"_s,
                         SLOT(sourceChanged(QString, QVariantMap)), isWatched);
    };
    setWatched(m_sources - paths, false);
    setWatched(paths - m_sources, true);
    m_sources = paths;
}

/// An answer whose arguments are not of `signature` counts as none.
void EvolutionServer::call(const Address& to, const QString& method, const QVariantList& arguments,
                           QLatin1StringView signature, std::function<void(const Arguments&)> then)
{
    QDBusMessage message
        = QDBusMessage::createMethodCall(to.service, to.path, to.interface, method);
    message.setArguments(arguments);
    // A call without a bus is never answered.
    if (!m_bus.isConnected()) {
        QTimer::singleShot(0, this, [this, then = std::move(then), era = m_era] {
            if (era == m_era)
                then(std::nullopt);
        });
        return;
    }
    auto* watcher
        = new QDBusPendingCallWatcher(m_bus.asyncCall(message, int(m_callLimit.count())), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, signature, then = std::move(then), era = m_era] {
                watcher->deleteLater();
                if (era != m_era)
                    return;
                const QDBusMessage answer = watcher->reply();
                const bool isGood = answer.type() == QDBusMessage::ReplyMessage
                    && answer.signature() == signature;
                then(isGood ? Arguments(answer.arguments()) : std::nullopt);
            });
}

/// Where the answer does not matter. Starts nothing.
void EvolutionServer::send(const Address& to, const QString& method, const QVariantList& arguments)
{
    QDBusMessage message
        = QDBusMessage::createMethodCall(to.service, to.path, to.interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    m_bus.call(message, QDBus::NoBlock);
}

void EvolutionServer::setConnected(const Address& to, const QString& signal, const char* slot,
                                   bool isConnected)
{
    if (isConnected)
        m_bus.connect({}, to.path, to.interface, signal, this, slot);
    else
        m_bus.disconnect({}, to.path, to.interface, signal, this, slot);
}
