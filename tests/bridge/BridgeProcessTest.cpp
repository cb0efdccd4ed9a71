#include "platform/Files.h"
#include "resources/bridge/InstalledNames.h"
#include "tests/support/TestFiles.h"

#include <TestPaths.h>

#include <QDateTime>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

using namespace Qt::StringLiterals;

namespace {

const QString snapshotName = QString::fromLatin1(InstalledName::snapshot);
const QString bridgeName = QString::fromLatin1(InstalledName::bridge);

const QByteArray stored
    = R"({"rate_limits": {"five_hour": {"used_percentage": 10, "resets_at": 9000000000}}})"_ba;
const QByteArray storedLine = "0 5h 90% left\n"_ba;
const QByteArray mergedLine = "0 5h 75% left\n"_ba;

/// What a session sends that has used `used` percent.
QByteArray input(int used = 25, const QByteArray& session = "A"_ba)
{
    return R"({"session_id": ")" + session + R"(", "cost": {"total_api_duration_ms": 5},)"
        + R"( "rate_limits": {"five_hour": {"resets_at": 9000000000, "used_percentage": )"
        + QByteArray::number(used) + "}}}\n";
}

/// A shell that runs `script` with the bridge's path as `$0`.
QStringList shell(const QString& script)
{
    return {u"/bin/sh"_s, u"-c"_s, script};
}

/// `strace` that does `what` to the system calls `calls`.
QStringList tampering(const QString& calls, const QString& what)
{
    return {u"strace"_s, u"-o"_s, u"/dev/null"_s, u"-e"_s, u"inject="_s + calls + u':' + what};
}

/// Starts a program that reads `bytes` and then the end of its input.
void start(QProcess& process, QStringList command, const QByteArray& bytes)
{
    process.start(command.takeFirst(), command);
    process.write(bytes);
    process.closeWriteChannel();
}

/// The exit status and the output, or how else it ended.
QByteArray outcome(QProcess& process)
{
    if (!process.waitForFinished(60'000))
        return "hung";
    if (process.exitStatus() == QProcess::CrashExit)
        return "killed";
    return QByteArray::number(process.exitCode()) + ' ' + process.readAllStandardOutput();
}

/// Whether the kernel's list of locks shows that `process` waits for one.
bool waitsForLock(const QProcess& process)
{
    return contentsOf(u"/proc/locks"_s)
        .contains(" WRITE " + QByteArray::number(process.processId()) + ' ');
}

/// A support folder with the bridge in it. Readable for every user, writable for its owner.
class Installation {
public:
    Installation()
    {
        QFile::copy(QStringLiteral(VEXLO_BUILD_TREE "/libexec/vexlo/") + bridgeName, bridge());
        ::chmod(QFile::encodeName(folder()).constData(), 0755);
    }

    [[nodiscard]] QString folder() const { return m_folder.path(); }
    [[nodiscard]] QString snapshot() const { return m_folder.filePath(snapshotName); }
    [[nodiscard]] QString bridge() const { return m_folder.filePath(bridgeName); }

    void setPrevious(const QString& command) const
    {
        writeFile(m_folder.filePath(QString::fromLatin1(InstalledName::previousStatusLine)),
                  QJsonDocument({{u"type"_s, u"command"_s}, {u"command"_s, command}}).toJson());
    }

    /// The stored percentage; below 0 when there is none.
    [[nodiscard]] int used() const
    {
        return jsonObject(
                   contentsOf(snapshot()))["rate_limits"_L1]["five_hour"_L1]["used_percentage"_L1]
            .toInt(-1);
    }

    /// Runs the bridge, or `command` with the bridge's path added, to its end.
    [[nodiscard]] QByteArray run(const QByteArray& bytes, QStringList command = {}) const
    {
        QProcess process;
        start(process, command << bridge(), bytes);
        return outcome(process);
    }

private:
    QTemporaryDir m_folder;
};

} // namespace

class BridgeProcessTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("ASAN_OPTIONS", "detect_leaks=0"); } // impossible when traced

    void aRunStoresTheLimits()
    {
        const Installation installed;
        const double before = double(QDateTime::currentSecsSinceEpoch());
        QCOMPARE(installed.run(input()), mergedLine);
        const double seen
            = jsonObject(contentsOf(installed.snapshot()))["observed_at"_L1].toDouble();
        QVERIFY(seen >= before && seen <= QDateTime::currentMSecsSinceEpoch() / 1000.0);
        QCOMPARE(permissionsOf(installed.snapshot()), 0600);
        QCOMPARE(filesIn(installed.folder()), QStringList({snapshotName, bridgeName}));
    }

    void anyInputLeavesTheStoredFileWhole_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("script");
        QTest::newRow("empty") << ""_ba << QString();
        QTest::newRow("broken") << input().chopped(3) << QString();
        QTest::newRow("wrong types")
            << R"({"session_id": 7, "cost": [], "rate_limits": {"five_hour": true}})"_ba
            << QString();
        QTest::newRow("10 MiB") << input() + QByteArray(10 << 20, ' ') << QString();
        QTest::newRow("nested deep") << R"({"a":)" + QByteArray(100'000, '[') << QString();
        QTest::newRow("endless") << ""_ba << u"yes '{' | \"$0\""_s;
        QTest::newRow("dripping") << ""_ba << u"while echo; do :; done | \"$0\""_s;
        QTest::newRow("open") << ""_ba << u"mkfifo \"$0.in\"; exec \"$0\" <> \"$0.in\""_s;
        QTest::newRow("closed") << ""_ba << u"exec \"$0\" <&-"_s;
        QTest::newRow("folder") << ""_ba << u"exec \"$0\" < /"_s;
    }

    void anyInputLeavesTheStoredFileWhole()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, script);
        const Installation installed;
        writeFile(installed.snapshot(), stored);
        QCOMPARE(installed.run(bytes, script.isEmpty() ? QStringList() : shell(script)),
                 storedLine);
        QCOMPARE(contentsOf(installed.snapshot()), stored);
    }

    void oddSurroundingsDoNotHinder_data()
    {
        QTest::addColumn<QString>("preparation"); // before the bridge becomes the shell's program
        QTest::addColumn<QByteArray>("result");
        QTest::addColumn<int>("used");
        const auto row = [](const char* title, const QString& preparation,
                            const QByteArray& result = mergedLine, int used = 25) {
            QTest::newRow(title) << preparation << result << used;
        };
        row("snapshot is a pipe", u"mkfifo claude-usage.json"_s);
        row("snapshot is an endless device", u"ln -s /dev/zero claude-usage.json"_s);
        row("snapshot is broken", u"printf '{' > claude-usage.json"_s);
        row("snapshot is too large", u"truncate -s 5M claude-usage.json"_s);
        row("snapshot is a folder", u"mkdir claude-usage.json"_s, mergedLine, -1);
        row("temporary file left", u"ln -s /etc/hostname .claude-usage.tmp"_s);
        row("previous line is broken", u"printf '{' > previous-statusline.json"_s);
        row("previous line is a pipe", u"mkfifo previous-statusline.json"_s);
        row("previous line is too large",
            u"{ printf '{\"type\": \"command\", \"command\": \"echo no\"}';"
            " head -c 1048576 /dev/zero | tr '\\0' ' '; } > previous-statusline.json"_s);
        row("previous line is the bridge",
            u"printf '{\"type\": \"command\", \"command\": \"%s\"}' \"$0\""
            " > previous-statusline.json"_s);
        row("files may have no size", u"ulimit -f 0"_s, mergedLine, -1);
        row("nobody reads the line", u"mkfifo out; exec 3<>out >out 3<&-"_s, "0 ");
    }

    void oddSurroundingsDoNotHinder()
    {
        QFETCH(QString, preparation);
        const Installation installed;
        const QString script = u"cd \"${0%/*}\"; "_s + preparation + u"; exec \"$0\""_s;
        QTEST(installed.run(input(), shell(script)), "result");
        QTEST(installed.used(), "used");
        QVERIFY(!filesIn(installed.folder()).contains(u".claude-usage.tmp"_s));
    }

    void previousStatusLineRunsAsIfAlone()
    {
        // Its input, folder, environment, signals, groups, open files, process and exit status.
        const QString command
            = u"cksum; pwd; env | grep -v ^VEXLO_ | sort; ls /proc/$$/fd; echo $$; "
              "grep -E '^Sig(Blk|Ign|Cgt|Pnd)' /proc/self/status; "
              "cut -d' ' -f5,6 /proc/$$/stat; echo error >&2; exit 7"_s;
        const QByteArray bytes = input() + QByteArray(200'000, ' ');
        // Signals ignored and blocked from outside have to come through as well.
        const QStringList wrapper{u"env"_s, u"--ignore-signal=PIPE,RTMIN"_s,
                                  u"--block-signal=ALRM,RTMIN"_s};
        QProcess alone;
        start(alone, wrapper + shell(command), bytes);
        QVERIFY(alone.waitForStarted());
        const QByteArray aloneId = QByteArray::number(alone.processId());
        const QByteArray expected = outcome(alone).replace(aloneId, "own id");
        QVERIFY(expected.startsWith("7 ") && expected.contains("own id"));

        const Installation installed;
        installed.setPrevious(command);
        // Waiting for the lock is what changes signals and timers.
        std::optional<FolderLock> lock(installed.folder());
        QProcess process;
        start(process, wrapper + QStringList(installed.bridge()), bytes);
        QTRY_VERIFY(waitsForLock(process));
        const QByteArray id = QByteArray::number(process.processId());
        lock.reset();
        QCOMPARE(outcome(process).replace(id, "own id"), expected);
        QCOMPARE(installed.used(), 25);
    }

    void previousScriptThatCallsTheBridgeGetsItsOwnLine()
    {
        const Installation installed;
        const QTemporaryDir other;
        const QString script = other.filePath(u"line"_s);
        const QByteArray call
            = "#!/bin/sh\necho \"[$(" + QFile::encodeName(installed.bridge()) + ")]\"\n";
        writeFile(script, call, 0700);
        installed.setPrevious(script);
        const QStringList limited{u"timeout"_s, u"--signal=KILL"_s, u"5"_s};
        QCOMPARE(installed.run(input(), limited), "0 [" + mergedLine.mid(2).trimmed() + "]\n");
        // What a status line once started may be the surroundings of another session.
        qputenv("VEXLO_STATUS_LINE", "4194305"); // more than there are processes
        QCOMPARE(installed.run(input(), limited), "0 [" + mergedLine.mid(2).trimmed() + "]\n");
        qunsetenv("VEXLO_STATUS_LINE");
    }

    void lateInputIsPassedOnAsItComes()
    {
        const Installation installed;
        installed.setPrevious(u"head -c 4; echo; cat"_s);
        QProcess process;
        process.start(installed.bridge(), QStringList());
        process.write("soon");
        const QString program = u"/proc/%1/exe"_s.arg(process.processId());
        QTRY_VERIFY(!QFile::symLinkTarget(program).endsWith(bridgeName));
        QTRY_COMPARE(process.bytesAvailable(), 5);
        process.write("late");
        QTRY_COMPARE(process.bytesAvailable(), 9);
        process.closeWriteChannel();
        QCOMPARE(outcome(process), "0 soon\nlate");
    }

    void failedWritesKeepTheOldFile_data()
    {
        QTest::addColumn<QStringList>("wrapper");
        QTest::newRow("disk full") << tampering(u"write"_s, u"error=ENOSPC"_s);
        QTest::newRow("no rename") << tampering(u"/^rename"_s, u"error=EROFS"_s);
        QTest::newRow("lost on close") << tampering(u"close"_s, u"error=EIO"_s);
        QTest::newRow("no lock") << tampering(u"flock"_s, u"error=ENOLCK"_s);
        // The superuser writes everywhere, so it has to be somebody else.
        const QStringList nobody{u"setpriv"_s, u"--reuid=65534"_s, u"--regid=65534"_s,
                                 u"--clear-groups"_s};
        QTest::newRow("folder of another user") << (geteuid() == 0 ? nobody : QStringList());
    }

    void failedWritesKeepTheOldFile()
    {
        QFETCH(QStringList, wrapper);
        const Installation installed;
        writeFile(installed.snapshot(), stored, 0644);
        const QByteArray folder = QFile::encodeName(installed.folder());
        if (wrapper.value(0) == u"strace"_s)
            wrapper << u"-P"_s << installed.folder() << u"-P"_s
                    << installed.folder() + u"/.claude-usage.tmp"_s;
        else
            ::chmod(folder.constData(), 0555);
        const QByteArray result = installed.run(input(), wrapper);
        ::chmod(folder.constData(), 0755);
        QCOMPARE(result, mergedLine);
        QCOMPARE(contentsOf(installed.snapshot()), stored);
        QCOMPARE(filesIn(installed.folder()), QStringList({snapshotName, bridgeName}));
    }

    void killedAnywhereTheFileIsOldOrNew()
    {
        int keptOld = 0;
        int gotNew = 0;
        for (const QString& calls : {u"openat"_s, u"flock"_s, u"read"_s, u"/^unlink"_s, u"write"_s,
                                     u"close"_s, u"/^rename"_s, u"rt_sigprocmask"_s}) {
            const Installation installed;
            QByteArray result = "killed";
            for (int count = 1; result == "killed"; ++count) {
                writeFile(installed.snapshot(), stored);
                result
                    = installed.run(input(), tampering(calls, u"signal=KILL:when=%1"_s.arg(count)));
                const bool isOld = contentsOf(installed.snapshot()) == stored;
                QVERIFY2(isOld || installed.used() == 25, contentsOf(installed.snapshot()));
                ++(isOld ? keptOld : gotNew);
            }
            QCOMPARE(result, mergedLine);
            QVERIFY(!filesIn(installed.folder()).contains(u".claude-usage.tmp"_s));
        }
        QVERIFY(keptOld > 4 && gotNew > 8); // eight runs were not killed
    }

    void cancellingWaitsForTheWrite()
    {
        const Installation installed;
        const QStringList wrapper = tampering(u"write"_s, u"signal=TERM"_s)
            << u"-P"_s << installed.folder() + u"/.claude-usage.tmp"_s;
        QCOMPARE(installed.run(input(), wrapper), "killed");
        QCOMPARE(installed.used(), 25);
        QVERIFY(!filesIn(installed.folder()).contains(u".claude-usage.tmp"_s));
    }

    void disconnectedMeanwhile()
    {
        const Installation installed;
        std::optional<FolderLock> lock(installed.folder());
        QProcess process;
        start(process, {installed.bridge()}, input());
        QTRY_VERIFY(waitsForLock(process));
        QVERIFY(QFile::remove(installed.bridge()));
        lock.reset();
        QCOMPARE(outcome(process), mergedLine);
        QCOMPARE(filesIn(installed.folder()), QStringList());
    }

    void lockNeverFree()
    {
        const Installation installed;
        const FolderLock lock(installed.folder());
        QCOMPARE(installed.run(input(), {u"env"_s, u"--block-signal=RTMIN"_s}), mergedLine);
        QCOMPARE(filesIn(installed.folder()), QStringList(bridgeName));
    }

    void manySessionsAtOnce()
    {
        constexpr int sessionCount = 200;
        const QByteArray highest = "100"; // being last is not what makes it stay
        const Installation installed;
        writeFile(installed.snapshot(), stored);
        QByteArray program = QFile::encodeName(installed.bridge());
        char* const arguments[]{program.data(), nullptr};
        QHash<pid_t, std::pair<QByteArray, QElapsedTimer>> running;
        for (int i = 0; i < sessionCount; ++i) {
            const QByteArray session = QByteArray::number(i);
            const QByteArray bytes = input(session == highest ? 90 : i % 80, session);
            int ends[2];
            QCOMPARE(::pipe2(ends, O_CLOEXEC), 0);
            QCOMPARE(::write(ends[1], bytes.constData(), size_t(bytes.size())), bytes.size());
            posix_spawn_file_actions_t actions;
            posix_spawn_file_actions_init(&actions);
            posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
            posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
            QElapsedTimer timer;
            timer.start();
            pid_t id = 0;
            QCOMPARE(::posix_spawn(&id, program, &actions, nullptr, arguments, environ), 0);
            running.insert(id, {session, timer});
            posix_spawn_file_actions_destroy(&actions);
            ::close(ends[0]);
            ::close(ends[1]);
        }
        QByteArrayList prompt;
        while (!running.isEmpty()) {
            int status = -1;
            const auto [session, timer] = running.take(::waitpid(-1, &status, 0));
            QCOMPARE(status, 0);
            QVERIFY2(installed.used() >= 0, contentsOf(installed.snapshot()));
            if (timer.elapsed() < 1000)
                prompt.append(session);
        }
        // On a machine that is very busy some give up waiting for the others, but no sooner.
        const QJsonObject sessions
            = jsonObject(contentsOf(installed.snapshot()))["sessions"_L1].toObject();
        for (const QByteArray& session : prompt)
            QVERIFY2(sessions.contains(QLatin1StringView(session)), session);
        if (sessions.contains(QLatin1StringView(highest)))
            QCOMPARE(installed.used(), 90);
    }
};

QTEST_GUILESS_MAIN(BridgeProcessTest)
#include "BridgeProcessTest.moc"
