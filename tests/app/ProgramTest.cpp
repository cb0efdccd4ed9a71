#include "tests/support/ProcessGroups.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_support = m_home->filePath(u".local/share/Gridwell"_s);
        QVERIFY(QDir(m_home->path()).mkpath(u"bin"_s));
    }

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
        QVERIFY(!QFileInfo::exists(m_home->filePath(u".local"_s)));
        QVERIFY(!QFileInfo::exists(m_home->filePath(u".config"_s)));
    }

    void claudeFromConnectionToFigures()
    {
        const Outcome connected = vexlo({u"--connect-claude"_s});
        QCOMPARE(connected.exitCode, 0);
        QCOMPARE(connected.output,
                 "Claude Code connected\n"
                 "Connected. Claude Code will supply usage on its next status line update.\n");
        QVERIFY(vexlo({u"--status"_s}).output.contains("Connect Claude Code to receive usage"));

        // As Claude Code would run it.
        const QJsonObject settings
            = QJsonDocument::fromJson(contentsOf(m_home->filePath(u".claude/settings.json"_s)))
                  .object();
        QProcess bridge;
        bridge.start(u"/bin/sh"_s, {u"-c"_s, settings["statusLine"_L1]["command"_L1].toString()});
        const QByteArray reset = QByteArray::number(QDateTime::currentSecsSinceEpoch() + 3600);
        bridge.write(R"({"session_id": "a", "rate_limits": {"five_hour": {"used_percentage": 93,
                         "resets_at": )"
                     + reset + "}}}\n");
        bridge.closeWriteChannel();
        QVERIFY(bridge.waitForFinished());

        const Outcome status = vexlo({u"--status=json"_s});
        QCOMPARE(status.exitCode, 1);
        const QJsonObject window
            = QJsonDocument::fromJson(status.output)["services"_L1][0]["windows"_L1][0].toObject();
        QCOMPARE(window["remaining"_L1].toDouble(), 7.0);
        QCOMPARE(window["reset"_L1].toDouble(), reset.toDouble());
        QVERIFY(window["current"_L1].toBool());

        QCOMPARE(vexlo({u"--disconnect-claude"_s}).output,
                 "Claude Code disconnected\nClaude Code has no status line again.\n");
        QCOMPARE(vexlo({u"--status"_s}).exitCode, 3);
    }

    void claudeThatCannotBeConnectedSaysWhy()
    {
        QVERIFY(QDir(m_home->path()).mkpath(u".claude"_s));
        writeFile(m_home->filePath(u".claude/settings.json"_s), "[]");
        const Outcome outcome = vexlo({u"--connect-claude"_s});
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY(outcome.errors.startsWith(
            "Connection failed\nClaude settings are not a JSON object: "));
    }

    void newcomersCodexIsFoundButOnlySuccessCounts()
    {
        const QString file = m_support + u"/codex-usage.json"_s;
        installCodex(R"({"error":{"message":"authentication required"},"id":2})");
        QCOMPARE(vexlo({u"--status"_s, u"--refresh"_s}).exitCode, 3);
        QVERIFY(!QFileInfo::exists(file));

        installCodex(R"({"id":2,"result":{"rateLimits":{"primary":{"usedPercent":42}}}})");
        const Outcome status = vexlo({u"--status"_s, u"--refresh"_s});
        QCOMPARE(status.exitCode, 0);
        QCOMPARE(status.output, "Codex  Short limit 58% left · Updated just now\n");
        QVERIFY(QFileInfo::exists(file));

        // Connected now: a failure is told, beside what was known.
        installCodex(R"({"error":{"message":"authentication required"},"id":2})");
        QCOMPARE(vexlo({u"--status"_s, u"--refresh"_s}).output,
                 "Codex  Short limit 58% left · Please log in to Codex: run codex login · "
                 "Updated just now\n");
        // Without asking again nothing is said of the failure.
        QCOMPARE(vexlo({u"--status"_s}).output, "Codex  Short limit 58% left · Updated just now\n");
    }

    void quittingEndsTheChildren()
    {
        writeFile(m_home->filePath(u"bin/codex"_s),
                  "#!/bin/sh\necho $$ >\"${0%/*}/group.new\"\nmv \"${0%/*}/group.new\" "
                  "\"${0%/*}/group\"\n"
                  "trap '' TERM INT\nsleep 60\n",
                  0700);
        QProcess program;
        start(program, {u"--status"_s, u"--refresh"_s});
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(m_home->filePath(u"bin/group"_s)), 30'000);
        ::kill(pid_t(program.processId()), SIGINT);
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.exitCode(), 128 + SIGINT);
        const pid_t group = contentsOf(m_home->filePath(u"bin/group"_s)).trimmed().toInt();
        QVERIFY(group > 0);
        QVERIFY(!groupIsAlive(group));
    }

    void preferencesThatAreBrokenAreKeptAside()
    {
        const QString preferences = m_home->filePath(u".config/Gridwell/preferences.json"_s);
        QVERIFY(QDir().mkpath(QFileInfo(preferences).path()));
        writeFile(preferences, "{broken");
        QCOMPARE(vexlo({u"--status"_s}).exitCode, 3);
        QCOMPARE(contentsOf(preferences + u".bad"_s), "{broken");
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
    QString m_support;
};

QTEST_GUILESS_MAIN(ProgramTest)
#include "ProgramTest.moc"
