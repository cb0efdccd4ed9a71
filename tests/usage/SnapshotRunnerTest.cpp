#include "usage/SnapshotRunner.h"

#include "tests/support/ProcessGroups.h"
#include "tests/support/TestFiles.h"
#include "usage/ProviderRegistry.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

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
        install(R"(import json, os, sys
print(json.dumps({"arguments": sys.argv[1:], "input": sys.stdin.read(),
                  "seen": "s3cret" in open("/proc/self/cmdline").read()
                          or "s3cret" in open("/proc/self/environ").read()}))
sys.exit(3)
)");
        QVERIFY(m_runner.isAvailable());
        QCOMPARE(m_runner.run(u"zai"_s, u"s3cret"_s),
                 "{\"arguments\": [\"zai\", \"--key-stdin\"], \"input\": \"s3cret\\n\", "
                 "\"seen\": false}\n"_ba);
        QCOMPARE(m_runner.run(u"zai"_s, std::nullopt),
                 "{\"arguments\": [\"zai\"], \"input\": \"\", \"seen\": false}\n"_ba);
    }

    void runsThatGoWrongGiveNothingAndLeaveNothing_data()
    {
        QTest::addColumn<QByteArray>("script");
        const QByteArray start = "import os, signal, sys, time\n"
                                 "open(sys.argv[0] + '.group', 'w').write(str(os.getpid()))\n"
                                 "signal.signal(signal.SIGTERM, signal.SIG_IGN)\n";
        QTest::newRow("hangs") << start + "time.sleep(60)\n";
        QTest::newRow("prints without end")
            << start + "while True: sys.stdout.write('x' * 65536)\n";
        QTest::newRow("child keeps the pipe") << start + "if os.fork() == 0: time.sleep(60)\n";
    }

    void runsThatGoWrongGiveNothingAndLeaveNothing()
    {
        QFETCH(QByteArray, script);
        install(script);
        pid_t group = 0;
        // The group's number must be told before time is up, on however slow a machine.
        for (m_runner.timeout = 300ms; group == 0 && m_runner.timeout < 60s;
             m_runner.timeout *= 4) {
            QCOMPARE(m_runner.run(u"zai"_s, u"key"_s), std::nullopt);
            group = contentsOf(m_runner.script + u".group"_s).toInt();
        }
        QVERIFY(group > 0);
        QVERIFY(!groupIsAlive(group));
    }

    void outputUpToTheLimitIsTaken()
    {
        install("import sys\nsys.stdout.write('x' * 1048576)\n");
        QCOMPARE(m_runner.run(u"zai"_s, {}).value_or(QByteArray()).size(),
                 SnapshotRunner::largestOutput);
        install("import sys\nsys.stdout.write('x' * 1048577)\n");
        QCOMPARE(m_runner.run(u"zai"_s, {}), std::nullopt);
    }

    void missingInterpreterIsSilent()
    {
        install("");
        m_runner.interpreter = u"/nonexistent/python3"_s;
        QCOMPARE(m_runner.run(u"zai"_s, u"key"_s), std::nullopt);
    }

    void outputWithoutLimitsFallsBackOnTheSavedOnes()
    {
        const ProviderDefinition zai = *ProviderRegistry::definition(u"zai"_s);
        writeFile(m_folder->filePath(u"zai-usage.json"_s),
                  R"({"windows": [{"name": "Weekly", "used_percent": 30}]})");
        const QByteArray fresh = R"({"windows": [{"name": "5-hour", "used_percent": 1}]})";
        const auto firstName = [&](const QByteArray& output) {
            return snapshotRunUsage(m_folder->path(), zai, output).windows.value(0).name;
        };
        QCOMPARE(firstName(fresh), u"5-hour"_s);
        QCOMPARE(firstName(R"({"error": "no key"})"), u"Weekly"_s);
        QCOMPARE(firstName(""), u"Weekly"_s);
    }

private:
    void install(const QByteArray& script) { writeFile(m_runner.script, script); }

    std::unique_ptr<QTemporaryDir> m_folder;
    SnapshotRunner m_runner;
};

QTEST_GUILESS_MAIN(SnapshotRunnerTest)
#include "SnapshotRunnerTest.moc"
