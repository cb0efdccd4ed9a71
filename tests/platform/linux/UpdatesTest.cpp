#include "platform/linux/PackageKitUpdates.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Result = UpdateCheck::Result;

namespace {

const QString serviceName = u"org.freedesktop.PackageKit"_s;
const QString daemonProgram = u"/usr/libexec/packagekitd"_s;

} // namespace

/// What the service would say.
struct Script {
    QStringList owners; // of the program's file
    QStringList updates;
    uint exit = 1; // success
    bool hangs = false;
};

/// The service's published interface with made-up packages: an update for what is installed here
/// cannot be had to order. On a connection of its own, so that everything goes over the bus.
class ScriptedService : public QDBusVirtualObject {
public:
    explicit ScriptedService(Script script)
        : m_script(std::move(script))
        , m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"service"_s))
    {
        m_bus.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath);
        m_bus.registerService(serviceName);
    }
    ~ScriptedService() override
    {
        m_bus.unregisterService(serviceName);
        QDBusConnection::disconnectFromBus(u"service"_s);
    }

    [[nodiscard]] QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override
    {
        const auto path = QDBusObjectPath(u"/%1_scripted"_s.arg(++m_calls));
        if (call.member() == "CreateTransaction"_L1)
            return bus.send(call.createReply(QVariant::fromValue(path)));
        bus.send(call.createReply());
        if (call.member() == "GetUpdates"_L1)
            answer(call.path(), m_script.updates);
        else if (call.arguments() == QVariantList{4ULL, QStringList{u"/usr/bin/vexlo"_s}})
            answer(call.path(), m_script.owners);
        return true;
    }

private:
    void answer(const QString& path, const QStringList& ids)
    {
        const auto send = [&](const QString& signal, const QVariantList& arguments) {
            QDBusMessage message = QDBusMessage::createSignal(
                path, u"org.freedesktop.PackageKit.Transaction"_s, signal);
            message.setArguments(arguments);
            m_bus.send(message);
        };
        for (const QString& id : ids)
            send(u"Package"_s, {1U, id, u"summary"_s});
        if (!m_script.hangs)
            send(u"Finished"_s, {m_script.exit, 1U});
    }

    Script m_script;
    QDBusConnection m_bus;
    int m_calls = 0;
};

class UpdatesTest : public QObject {
    Q_OBJECT

private slots:
    /// Its example packages own every file, and have updates for others.
    void theRealServiceIsUnderstood()
    {
        if (!qEnvironmentVariableIsSet("PACKAGE_SESSION") || !QFile::exists(daemonProgram))
            QSKIP("PackageKit cannot run here: it needs a name space of its own");
        PackageKitUpdates updates(options());
        QVERIFY(!updates.canCheck());
        QProcess service;
        service.start(
            u"env"_s,
            {"DBUS_SYSTEM_BUS_ADDRESS="_L1 + qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"),
             daemonProgram, u"--backend=dummy"_s, u"--keep-environment"_s});
        QTRY_VERIFY_WITH_TIMEOUT(updates.canCheck(), 20'000);
        QCOMPARE(outcome(updates), (UpdateCheck{Result::upToDate, {}}));
        service.kill();
        QVERIFY(service.waitForFinished());
    }

    void theProgramsOwnPackageCounts_data()
    {
        QTest::addColumn<Script>("script");
        QTest::addColumn<UpdateCheck>("expected");
        const QStringList ours{u"vexlo;0.1.0;amd64;installed"_s};
        QTest::newRow("newer") << Script{.owners = ours,
                                         .updates
                                         = {u"vexlo-data;3;all;x"_s, u"vexlo;0.2.0-1;amd64;x"_s}}
                               << UpdateCheck{Result::available, u"0.2.0-1"_s};
        QTest::newRow("others are newer") << Script{.owners = ours, .updates = {u"a;1;all;x"_s}}
                                          << UpdateCheck{Result::upToDate, {}};
        QTest::newRow("not from a package")
            << Script{.updates = {u"vexlo;2;all;x"_s}} << UpdateCheck{Result::notFromPackage, {}};
        QTest::newRow("failed") << Script{.owners = ours, .exit = 2}
                                << UpdateCheck{Result::failed, {}};
        QTest::newRow("no answer")
            << Script{.owners = ours, .hangs = true} << UpdateCheck{Result::failed, {}};
    }

    void theProgramsOwnPackageCounts()
    {
        QFETCH(Script, script);
        QFETCH(UpdateCheck, expected);
        const ScriptedService service(script);
        PackageKitUpdates updates(options(script.hangs ? 50ms : 20'000ms));
        QCOMPARE(outcome(updates), expected);
        QCOMPARE(outcome(updates), expected); // nothing of the first check is left
    }

    void withoutAServiceACheckFails()
    {
        PackageKitUpdates updates(options());
        QCOMPARE(outcome(updates), UpdateCheck());
    }

private:
    static PackageKitUpdates::Options options(std::chrono::milliseconds timeLimit = 20s)
    {
        return {.bus = &QDBusConnection::sessionBus,
                .program = u"/usr/bin/vexlo"_s,
                .timeLimit = timeLimit};
    }

    static UpdateCheck outcome(PackageKitUpdates& updates)
    {
        std::optional<UpdateCheck> outcome;
        updates.check([&outcome](const UpdateCheck& check) { outcome = check; });
        (void)QTest::qWaitFor([&] { return outcome.has_value(); }, 30'000);
        return outcome.value_or(UpdateCheck{Result::failed, u"no outcome"_s});
    }
};

QTEST_GUILESS_MAIN(UpdatesTest)
#include "UpdatesTest.moc"
