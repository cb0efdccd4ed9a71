#include "tests/support/ProcessGroups.h"
#include "tests/support/TestFiles.h"

#include <TestPaths.h>

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

struct Outcome {
    int exitCode = -1;
    QByteArray output;
    QByteArray errors;
};

} // namespace

// The program as built, in a home folder of its own.
class ProgramTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_home = std::make_unique<QTemporaryDir>(); }

    void newcomerSeesMadeUpFiguresAndHowToConnect()
    {
        const Outcome start = vexlo({});
        QCOMPARE(start.exitCode, 0);
        QVERIFY(start.output.contains("Nothing is connected yet."));
        QVERIFY(start.output.contains("--connect-claude"));
        QVERIFY(start.output.contains("5-hour 64% left"));
        QCOMPARE(vexlo({u"--status"_s}).exitCode, 3);
        QCOMPARE(vexlo({u"--status=json"_s}).output, "{\"services\":[],\"version\":1}\n");
        QCOMPARE(vexlo({u"--status"_s, u"--demo"_s}).exitCode, 0);
        // Looking leaves no trace.
        QCOMPARE(filesIn(m_home->path()), QStringList());
    }

    void claudeFromConnectionToFigures()
    {
        QCOMPARE(vexlo({u"--connect-claude"_s}).output,
                 "Claude Code connected\n"
                 "Connected. Claude Code will supply usage on its next status line update.\n");
        QVERIFY(vexlo({u"--status"_s}).output.contains("Connect Claude Code to receive usage"));

        // As Claude Code would run it.
        const QString settings = m_home->filePath(u".claude/settings.json"_s);
        const QJsonValue line = jsonObject(contentsOf(settings))["statusLine"_L1];
        QProcess bridge;
        bridge.start(u"/bin/sh"_s, {u"-c"_s, line["command"_L1].toString()});
        const qint64 reset = QDateTime::currentSecsSinceEpoch() + 3600;
        bridge.write(R"({"rate_limits": {"five_hour": {"used_percentage": 93, "resets_at": )"
                     + QByteArray::number(reset) + "}}}\n");
        bridge.closeWriteChannel();
        QVERIFY(bridge.waitForFinished());

        const Outcome status = vexlo({u"--status=json"_s});
        QCOMPARE(status.exitCode, 1);
        const QJsonValue window = jsonObject(status.output)["services"_L1][0]["windows"_L1][0];
        QCOMPARE(window["remaining"_L1].toDouble(), 7.0);
        QCOMPARE(window["reset"_L1].toInteger(), reset);

        QCOMPARE(vexlo({u"--disconnect-claude"_s}).output,
                 "Claude Code disconnected\nClaude Code has no status line again.\n");
        QCOMPARE(vexlo({u"--status"_s}).exitCode, 3);

        writeFile(settings, "[]");
        const Outcome failed = vexlo({u"--connect-claude"_s});
        QCOMPARE(failed.exitCode, 1);
        QVERIFY(failed.errors.startsWith("Connection failed\nClaude settings are not a JSON "));
    }

    void newcomersCodexIsFoundButOnlySuccessCounts()
    {
        const QStringList refresh{u"--status"_s, u"--refresh"_s};
        const QByteArray failure = R"({"error":{"message":"authentication required"},"id":2})";
        installCodex(failure);
        QCOMPARE(vexlo(refresh).exitCode, 3);
        QCOMPARE(filesIn(m_home->path()), QStringList(u"bin"_s));

        installCodex(R"({"id":2,"result":{"rateLimits":{"primary":{"usedPercent":42}}}})");
        const Outcome status = vexlo(refresh);
        QCOMPARE(status.exitCode, 0);
        QCOMPARE(status.output, "Codex  Short limit 58% left · Updated just now\n");

        // Connected now: a failure is told, beside what was known, and only when asking.
        installCodex(failure);
        QCOMPARE(vexlo(refresh).output,
                 "Codex  Short limit 58% left · Please log in to Codex: run codex login · "
                 "Updated just now\n");
        QCOMPARE(vexlo({u"--status"_s}).output, status.output);
    }

    void quittingEndsTheChildren()
    {
        const QString groupFile = m_home->filePath(u"bin/group"_s);
        writeFile(m_home->filePath(u"bin/codex"_s),
                  "#!/bin/sh\ntrap '' TERM INT\ncd \"${0%/*}\"\n"
                  "echo $$ >new; mv new group; sleep 60\n",
                  0700);
        QProcess program;
        start(program, {u"--status"_s, u"--refresh"_s});
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(groupFile), 30'000);
        ::kill(pid_t(program.processId()), SIGINT);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), 128 + SIGINT);
        const pid_t group = contentsOf(groupFile).trimmed().toInt();
        QVERIFY(group > 0);
        QVERIFY(groupIsGone(group));
    }

    void wrongOptionsAreNamed()
    {
        const Outcome outcome = vexlo({u"--colour"_s});
        QCOMPARE(outcome.exitCode, 64);
        QVERIFY(outcome.errors.startsWith("vexlo: unknown option --colour\n"));
        QVERIFY(vexlo({u"--help"_s}).output.contains("Exit code"));
    }

private:
    void start(QProcess& program, const QStringList& arguments)
    {
        QProcessEnvironment environment;
        environment.insert(u"HOME"_s, m_home->path());
        environment.insert(u"PATH"_s, m_home->filePath(u"bin"_s) + u":/usr/bin:/bin"_s);
        environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
        program.setProcessEnvironment(environment);
        program.setWorkingDirectory(u"/"_s);
        program.start(QStringLiteral(VEXLO_BUILD_TREE "/bin/vexlo"), arguments);
    }

    Outcome vexlo(const QStringList& arguments)
    {
        QProcess program;
        start(program, arguments);
        program.waitForFinished();
        return {program.exitCode(), program.readAllStandardOutput(),
                program.readAllStandardError()};
    }

    void installCodex(const QByteArray& answer)
    {
        writeFile(m_home->filePath(u"bin/codex"_s),
                  "#!/bin/sh\nread -r line && echo '{\"id\":1,\"result\":{}}'\n"
                  "read -r line && read -r line\necho '"
                      + answer + "'\ncat >/dev/null\n",
                  0700);
    }

    std::unique_ptr<QTemporaryDir> m_home;
};

QTEST_GUILESS_MAIN(ProgramTest)
#include "ProgramTest.moc"
