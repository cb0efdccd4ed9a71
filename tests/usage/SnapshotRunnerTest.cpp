#include "usage/SnapshotRunner.h"

#include "tests/support/ProcessGroups.h"
#include "tests/support/TestFiles.h"
#include "usage/KeychainStore.h"
#include "usage/ProviderRegistry.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A store that keeps nothing, and says what is in the way.
class ObstructedStore final : public SecretStore {
public:
    SecretReading read(const QString&, const QString&) const override
    {
        return {.obstacle = obstacle};
    }
    bool setSecret(const QString&, const QString&, const QString&, const QByteArray&) override
    {
        return false;
    }
    bool removeSecret(const QString&, const QString&) override { return false; }

    SecretObstacle obstacle{};
};

} // namespace

class SnapshotRunnerTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_runner = {.script = m_folder->filePath(u"provider_snapshot.py"_s)};
    }

    void keyGoesThroughStandardInputAlone()
    {
        QVERIFY(!m_runner.isAvailable());
        writeFile(m_runner.script, R"(import sys
print(sys.argv[1:], repr(sys.stdin.read()),
      "s3cret" in open("/proc/self/cmdline").read() + open("/proc/self/environ").read())
sys.exit(3)
)");
        QVERIFY(m_runner.isAvailable());
        QCOMPARE(m_runner.run(u"zai"_s, u"s3cret"_s),
                 "['zai', '--key-stdin'] 's3cret\\n' False\n"_ba);
        QCOMPARE(m_runner.run(u"zai"_s, std::nullopt), "['zai'] '' False\n"_ba);
        m_runner.interpreter = u"/nonexistent/python3"_s;
        QCOMPARE(m_runner.run(u"zai"_s, u"s3cret"_s), std::nullopt);
    }

    void figuresStayWhileTheKeyCannotBeRead_data()
    {
        QTest::addColumn<SecretObstacle>("obstacle");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("error"); // empty: the script is run
        const QString unreachable = u"Your keyring cannot be reached"_s;
        QTest::newRow("no key") << SecretObstacle::none << u"zai"_s << QString();
        QTest::newRow("locked") << SecretObstacle::locked << u"zai"_s
                                << u"Your keyring is locked"_s;
        QTest::newRow("no keyring") << SecretObstacle::unreachable << u"zai"_s << unreachable;
        QTest::newRow("another login") << SecretObstacle::unreachable << u"copilot"_s << QString();
    }

    void figuresStayWhileTheKeyCannotBeRead()
    {
        QFETCH(SecretObstacle, obstacle);
        QFETCH(QString, id);
        const ProviderDefinition provider = *ProviderRegistry::definition(id);
        const QString file = m_folder->filePath(*provider.snapshotFile);
        writeFile(file, R"({"windows": [{"name": "kept", "used_percent": 20}]})");
        writeFile(m_runner.script,
                  "print('{\"windows\": [{\"name\": \"run\", \"used_percent\": 9}]}')\n");
        ObstructedStore store;
        store.obstacle = obstacle;
        const auto usage
            = providerUsage(m_runner, KeychainStore(store), m_folder->path(), provider);
        QVERIFY(usage);
        QTEST(usage->error.value_or(QString()), "error");
        QCOMPARE(usage->windows.value(0).name, usage->error ? u"kept"_s : u"run"_s);
    }

    void runsThatGoWrongGiveNothingAndLeaveNothing()
    {
        for (const char* script : {"time.sleep(60)", "while True: sys.stdout.write('x' * 65536)",
                                   "if os.fork() == 0: time.sleep(60)"}) { // which keeps the pipe
            const QString groupFile = m_folder->filePath(u"group"_s);
            writeFile(m_runner.script,
                      "import os, signal, sys, time\nopen('" + groupFile.toUtf8()
                          + "', 'w').write(str(os.getpid()))\n"
                            "signal.signal(signal.SIGTERM, signal.SIG_IGN)\n"
                          + script + '\n');
            // The group's number must be told before time is up, on however slow a machine.
            pid_t group = 0;
            for (m_runner.timeout = 300ms; group == 0 && m_runner.timeout < 60s;
                 m_runner.timeout *= 4) {
                QCOMPARE(m_runner.run(u"zai"_s, u"key"_s), std::nullopt);
                group = contentsOf(groupFile).toInt();
            }
            QVERIFY2(group > 0 && groupIsGone(group), script);
            QVERIFY(QFile::remove(groupFile));
        }
    }

    void outputUpToTheLimitIsTaken()
    {
        writeFile(m_runner.script, "import sys\nsys.stdout.write('x' * 1048576)\n");
        QCOMPARE(m_runner.run(u"zai"_s, {}), QByteArray(1 << 20, 'x'));
        writeFile(m_runner.script, "import sys\nsys.stdout.write('x' * 1048577)\n");
        QCOMPARE(m_runner.run(u"zai"_s, {}), std::nullopt);
    }

    void outputWithoutLimitsFallsBackOnTheSavedOnes()
    {
        writeFile(m_folder->filePath(u"zai-usage.json"_s),
                  R"({"windows": [{"name": "Weekly", "used_percent": 30}]})");
        const auto firstName = [&](const QByteArray& output) {
            const ProviderDefinition zai = *ProviderRegistry::definition(u"zai"_s);
            return snapshotRunUsage(m_folder->path(), zai, output).windows.value(0).name;
        };
        QCOMPARE(firstName(R"({"windows": [{"name": "5-hour", "used_percent": 1}]})"), u"5-hour"_s);
        QCOMPARE(firstName(R"({"error": "no key"})"), u"Weekly"_s);
        QCOMPARE(firstName(""), u"Weekly"_s);
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    SnapshotRunner m_runner;
};

QTEST_GUILESS_MAIN(SnapshotRunnerTest)
#include "SnapshotRunnerTest.moc"
