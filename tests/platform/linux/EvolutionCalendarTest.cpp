#include "platform/linux/DesktopCalendarStore.h"
#include "platform/linux/EvolutionCalendarStore.h"
#include "tests/support/TestFiles.h"

#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDateTime>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int patience = 20'000; // milliseconds
const DateSpan june{Date(std::chrono::sys_days(std::chrono::June / 1 / 2026)),
                    Date(std::chrono::sys_days(std::chrono::July / 1 / 2026))};

QString serviceName(QLatin1StringView prefix)
{
    const QStringList names
        = QDBusConnection::sessionBus().interface()->activatableServiceNames().value();
    return names.filter(prefix).value(0);
}

/// Another program that writes the user's own calendar.
class Writer {
public:
    Writer()
    {
        const QString service = serviceName("org.gnome.evolution.dataserver.Calendar"_L1);
        const QDBusMessage opened
            = call(service, u"/org/gnome/evolution/dataserver/CalendarFactory"_s,
                   u"org.gnome.evolution.dataserver.CalendarFactory"_s, u"OpenCalendar"_s,
                   {u"system-calendar"_s});
        m_path = opened.arguments().value(0).toString();
        m_service = opened.arguments().value(1).toString();
        write(u"Open"_s, {});
    }

    void create(const QString& event) { write(u"CreateObjects"_s, {QStringList{event}, 0U}); }
    /// Every occurrence of it, or the one that it names.
    void modify(const QString& event, const QString& which = u"all"_s)
    {
        write(u"ModifyObjects"_s, {QStringList{event}, which, 0U});
    }
    void addZone(const QString& zone) { write(u"AddTimezone"_s, {zone}); }

    [[nodiscard]] const QString& service() const { return m_service; }

private:
    static QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                             const QString& method, const QVariantList& arguments)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
        message.setArguments(arguments);
        const QDBusMessage answer = QDBusConnection::sessionBus().call(message);
        if (answer.type() != QDBusMessage::ReplyMessage)
            qFatal("%s: %s", qPrintable(method), qPrintable(answer.errorMessage()));
        return answer;
    }

    void write(const QString& method, const QVariantList& arguments) const
    {
        call(m_service, m_path, u"org.gnome.evolution.dataserver.Calendar"_s, method, arguments);
    }

    QString m_service;
    QString m_path;
};

QString vevent(const QString& uid, const QString& lines)
{
    return "BEGIN:VEVENT\r\nUID:"_L1 + uid + "\r\n"_L1 + lines + "\r\nEND:VEVENT\r\n"_L1;
}

/// A store that asks again after each change, as its user does.
struct Store {
    Store()
    {
        store.onChange = [this] { store.fetch(june); };
        store.onEvents = [this](const DateSpan&, const QList<CalendarEvent>& events) {
            ++answers;
            titles.clear();
            for (const CalendarEvent& event : events)
                titles.append(
                    event.title
                    + QDateTime::fromMSecsSinceEpoch(event.start.time_since_epoch().count())
                          .toString(u" dd hh:mm"_s));
            titles.sort();
        };
        store.fetch(june);
    }

    int answers = 0;
    QStringList titles;
    EvolutionCalendarStore store{{.call = 2s, .settle = 1ms, .retry = 10ms}};
};

pid_t processOf(const QString& service)
{
    return pid_t(QDBusConnection::sessionBus().interface()->servicePid(service).value());
}

} // namespace

// On a bus without a calendar server.
class NoCalendarServerTest : public QObject {
    Q_OBJECT

private slots:
    void absenceIsToldAtOnce()
    {
        Store store;
        QTRY_COMPARE(store.answers, 1);
        QCOMPARE(store.store.status(), CalendarAccess::denied);
        QCOMPARE(store.titles, QStringList());
    }
};

class EvolutionCalendarTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (serviceName("org.gnome.evolution.dataserver.Calendar"_L1).isEmpty())
            qFatal("no calendar server is installed");
    }

    void askingStartsNothing()
    {
        EvolutionCalendarStore store;
        std::optional<bool> granted;
        store.requestAccess([&](bool answer) { granted = answer; });
        QTRY_COMPARE(granted, std::optional(true));
        QCOMPARE(store.status(), CalendarAccess::full);
        QVERIFY(processOf(serviceName("org.gnome.evolution.dataserver.Sources"_L1)) <= 0);
    }

    void eventsAppearChangeAndVanish()
    {
        Store store;
        QTRY_VERIFY_WITH_TIMEOUT(store.answers > 0, patience);
        QCOMPARE(store.titles, QStringList());

        Writer writer;
        writer.create(vevent(u"a"_s, u"SUMMARY:A\r\nDTSTART:20260602T080000Z"_s));
        QTRY_COMPARE_WITH_TIMEOUT(store.titles, QStringList{u"A 02 08:00"_s}, patience);
        writer.modify(vevent(u"a"_s, u"SUMMARY:B\r\nDTSTART:20260603T080000Z"_s));
        QTRY_COMPARE_WITH_TIMEOUT(store.titles, QStringList{u"B 03 08:00"_s}, patience);
        writer.modify(vevent(u"a"_s, u"SUMMARY:B\r\nDTSTART:20260703T080000Z"_s));
        QTRY_COMPARE_WITH_TIMEOUT(store.titles, QStringList(), patience);

        // One occurrence moved out of the span: neither there nor where it was.
        writer.create(
            vevent(u"b"_s, u"SUMMARY:C\r\nDTSTART:20260629T080000Z\r\nRRULE:FREQ=DAILY;COUNT=2"_s));
        QTRY_COMPARE_WITH_TIMEOUT(store.titles, (QStringList{u"C 29 08:00"_s, u"C 30 08:00"_s}),
                                  patience);
        writer.modify(vevent(u"b"_s,
                             u"SUMMARY:C\r\nRECURRENCE-ID:20260630T080000Z\r\n"
                             "DTSTART:20260830T080000Z"_s),
                      u"this"_s);
        QTRY_COMPARE_WITH_TIMEOUT(store.titles, QStringList{u"C 29 08:00"_s}, patience);
    }

    void zonesAreAskedOfTheServer()
    {
        Writer writer;
        writer.addZone(
            u"BEGIN:VTIMEZONE\r\nTZID:Office\r\nBEGIN:STANDARD\r\nDTSTART:19700101T000000\r\n"
            "TZOFFSETFROM:+0300\r\nTZOFFSETTO:+0300\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n"_s);
        writer.create(vevent(u"z"_s, u"SUMMARY:Z\r\nDTSTART;TZID=Office:20260610T120000"_s));
        Store store;
        QTRY_VERIFY_WITH_TIMEOUT(store.titles.contains(u"Z 10 09:00"_s), patience);
    }

    void lastEventsStayWhileTheServerHangs()
    {
        Writer writer;
        writer.create(vevent(u"h"_s, u"SUMMARY:H\r\nDTSTART:20260611T080000Z"_s));
        Store store;
        QTRY_VERIFY_WITH_TIMEOUT(store.titles.contains(u"H 11 08:00"_s), patience);
        const QStringList before = store.titles;
        const pid_t server = processOf(writer.service());
        ::kill(server, SIGSTOP);
        const int answers = store.answers;
        store.store.fetch(june);
        QTRY_VERIFY_WITH_TIMEOUT(store.answers > answers, patience);
        QCOMPARE(store.titles, before);

        // It is tried again, without being told to.
        ::kill(server, SIGCONT);
        writer.create(vevent(u"i"_s, u"SUMMARY:I\r\nDTSTART:20260612T080000Z"_s));
        QTRY_VERIFY_WITH_TIMEOUT(store.titles.contains(u"I 12 08:00"_s), patience);
    }

    void calendarsAreOpenedAgainAfterTheServerDied()
    {
        Store store;
        Writer writer;
        QTRY_VERIFY_WITH_TIMEOUT(store.answers > 0, patience);
        const QStringList before = store.titles;
        const pid_t server = processOf(writer.service());
        ::kill(server, SIGKILL);
        QTRY_VERIFY(processOf(writer.service()) != server);
        Writer again;
        again.create(vevent(u"k"_s, u"SUMMARY:K\r\nDTSTART:20260613T080000Z"_s));
        QTRY_COMPARE_WITH_TIMEOUT(store.titles.size(), before.size() + 1, patience);
        again.modify(vevent(u"k"_s, u"SUMMARY:L\r\nDTSTART:20260613T080000Z"_s));
        QTRY_VERIFY_WITH_TIMEOUT(store.titles.contains(u"L 13 08:00"_s), patience);
    }

    void disabledCalendarsAreLeftOut()
    {
        Writer writer;
        writer.create(vevent(u"d"_s, u"SUMMARY:D\r\nDTSTART:20260614T080000Z"_s));
        Store store;
        QTRY_VERIFY_WITH_TIMEOUT(store.titles.contains(u"D 14 08:00"_s), patience);
        setEnabled(false);
        QTRY_COMPARE_WITH_TIMEOUT(store.titles, QStringList(), patience);
        setEnabled(true);
        QTRY_VERIFY_WITH_TIMEOUT(store.titles.contains(u"D 14 08:00"_s), patience);
    }

    void serverAndFilesAreOneStore()
    {
        const QTemporaryDir folder;
        writeFile(folder.filePath(u"a.ics"_s),
                  "BEGIN:VCALENDAR\nBEGIN:VEVENT\nSUMMARY:file\nDTSTART:20260616T080000Z\n"
                  "END:VEVENT\nEND:VCALENDAR\n");
        Writer writer;
        writer.create(vevent(u"s"_s, u"SUMMARY:server\r\nDTSTART:20260615T080000Z"_s));
        DesktopCalendarStore store({folder.path()});
        QStringList titles;
        store.onEvents = [&](const DateSpan&, const QList<CalendarEvent>& events) {
            for (const CalendarEvent& event : events)
                titles.append(event.title);
        };
        store.fetch(june);
        QTRY_VERIFY_WITH_TIMEOUT(titles.contains(u"file"_s), patience);
        QVERIFY(titles.contains(u"server"_s));
    }

private:
    static void setEnabled(bool isEnabled);
};

/// Writes the settings of the user's own calendar, as other programs do.
void EvolutionCalendarTest::setEnabled(bool isEnabled)
{
    const QString service = serviceName("org.gnome.evolution.dataserver.Sources"_L1);
    const QDBusMessage objects = QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        service, u"/org/gnome/evolution/dataserver/SourceManager"_s,
        u"org.freedesktop.DBus.ObjectManager"_s, u"GetManagedObjects"_s));
    const auto argument = objects.arguments().value(0).value<QDBusArgument>();
    QMap<QDBusObjectPath, QMap<QString, QVariantMap>> sources;
    argument >> sources;
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        const QVariantMap properties = source->value(u"org.gnome.evolution.dataserver.Source"_s);
        if (properties.value(u"UID"_s) != u"system-calendar"_s)
            continue;
        QString data = properties.value(u"Data"_s).toString();
        data.replace(isEnabled ? u"Enabled=false"_s : u"Enabled=true"_s,
                     isEnabled ? u"Enabled=true"_s : u"Enabled=false"_s);
        QDBusInterface writable(service, source.key().path(),
                                u"org.gnome.evolution.dataserver.Source.Writable"_s);
        const QDBusReply<void> written = writable.call(u"Write"_s, data);
        QVERIFY2(written.isValid(), qPrintable(written.error().message()));
    }
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    NoCalendarServerTest without;
    EvolutionCalendarTest with;
    const bool isBare = qEnvironmentVariable("DESKTOP_BUS") == "bare"_L1;
    return QTest::qExec(isBare ? static_cast<QObject*>(&without) : &with, argc, argv);
}

#include "EvolutionCalendarTest.moc"
