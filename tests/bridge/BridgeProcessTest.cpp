#include "resources/bridge/InstalledNames.h"
#include "resources/bridge/StatusLineSnapshot.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <cmath>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using StatusLineSnapshot::Json;

namespace {

const QByteArray stored
    = R"({"rate_limits": {"five_hour": {"used_percentage": 10, "resets_at": 9000000000}}})"_ba;
const QByteArray waitingLine = "Vexlo: waiting for limits\n"_ba;
const QByteArray storedLine = "5h 90% left\n"_ba;
const QByteArray mergedLine = "5h 75% left\n"_ba;

/// What a session sends that has used `used` percent.
QByteArray input(int used = 25, const QByteArray& session = "A"_ba)
{
    return R"({"session_id": ")" + session + R"(", "cost": {"total_api_duration_ms": 5},)"
        + R"( "rate_limits": {"five_hour": {"resets_at": 9000000000, "used_percentage": )"
        + QByteArray::number(used) + "}}}\n";
}

struct Result {
    bool isFinished; // and was not ended by a signal
    int status;
    QByteArray output;
};

/// A support folder with the bridge in it. Readable for every user, writable for its owner.
class Installation {
public:
    Installation()
    {
        const QString built = QStringLiteral(VEXLO_BUILD_TREE "/libexec/vexlo/");
        QFile::copy(built + QLatin1StringView(InstalledName::bridge), bridge());
        QFile::setPermissions(path(),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
                                  | QFile::ReadOther | QFile::ExeOther);
    }

    [[nodiscard]] QString path() const { return m_folder.path(); }
    [[nodiscard]] QString bridge() const { return path() + u"/vexlo-claude-bridge"_s; }

    [[nodiscard]] QByteArray read(const QString& name = u"claude-usage.json"_s) const
    {
        QFile file(m_folder.filePath(name));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

    void write(const QByteArray& contents, const QString& name = u"claude-usage.json"_s) const
    {
        QFile file(m_folder.filePath(name));
        QVERIFY(file.open(QFile::WriteOnly));
        file.write(contents);
    }

    void setPrevious(const QString& command) const
    {
        const Json saved{{"type", "command"}, {"command", command.toStdString()}};
        write(QByteArray::fromStdString(saved.dump()), u"previous-statusline.json"_s);
    }

    /// The five-hour window's percentage; below 0 when there is none.
    [[nodiscard]] int used() const
    {
        const Json snapshot = Json::parse(read().toStdString(), nullptr, false);
        const auto pointer = "/rate_limits/five_hour/used_percentage"_json_pointer;
        return snapshot.is_object() ? snapshot.value(pointer, -1) : -1;
    }

    [[nodiscard]] QStringList files() const
    {
        return QDir(path()).entryList(QDir::AllEntries | QDir::System | QDir::Hidden
                                      | QDir::NoDotAndDotDot);
    }

    /// Runs the bridge, or `command` with the bridge's path added, to its end.
    [[nodiscard]] Result run(const QByteArray& bytes, QStringList command = {}) const
    {
        QProcess process;
        start(process, command << bridge());
        process.write(bytes);
        process.closeWriteChannel();
        return result(process);
    }

    static void start(QProcess& process, QStringList command)
    {
        // The leak check cannot work in a traced process.
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"ASAN_OPTIONS"_s, u"detect_leaks=0"_s);
        process.setProcessEnvironment(environment);
        const QString program = command.takeFirst();
        process.start(program, command);
        QVERIFY(process.waitForStarted());
    }

    static Result result(QProcess& process)
    {
        const bool isFinished = process.waitForFinished(60'000);
        return {isFinished && process.exitStatus() == QProcess::NormalExit, process.exitCode(),
                process.readAllStandardOutput()};
    }

private:
    QTemporaryDir m_folder;
};

/// The lock on a support folder, which every bridge there has to wait for.
class HeldLock {
public:
    explicit HeldLock(const QString& folder)
        : m_folder(open(QFile::encodeName(folder).constData(), O_RDONLY | O_CLOEXEC))
    {
        flock(m_folder, LOCK_EX);
    }
    ~HeldLock() { release(); }
    Q_DISABLE_COPY_MOVE(HeldLock)

    void release() { close(std::exchange(m_folder, -1)); }

    /// Whether the kernel's list of locks has `process` in it.
    static bool isWaiting(const QProcess& process)
    {
        QFile locks(u"/proc/locks"_s);
        return locks.open(QFile::ReadOnly)
            && locks.readAll().contains(" WRITE " + QByteArray::number(process.processId()) + ' ');
    }

private:
    int m_folder;
};

/// `strace` that does `what` to the system calls `calls`.
QStringList tampering(const QString& calls, const QString& what)
{
    return {u"strace"_s, u"-o"_s, u"/dev/null"_s, u"-e"_s, u"inject="_s + calls + u':' + what};
}

/// A bridge that waits for its input, and writes to the descriptor `output`.
struct WaitingBridge {
    WaitingBridge(const QString& program, int output)
    {
        std::array<int, 2> ends;
        QCOMPARE(pipe2(ends.data(), O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        QByteArray path = QFile::encodeName(program);
        std::array<char*, 2> arguments{path.data(), nullptr};
        QCOMPARE(posix_spawn(&id, path.data(), &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[0]);
        inputEnd = ends[1];
    }

    void give(const QByteArray& bytes) const
    {
        QCOMPARE(::write(inputEnd, bytes.constData(), bytes.size()), bytes.size());
        close(inputEnd);
    }

    pid_t id = -1;
    int inputEnd = -1;
};

} // namespace

class BridgeProcessTest : public QObject {
    Q_OBJECT

private slots:
    void aRunStoresTheLimits()
    {
        const Installation installed;
        const double before = std::floor(QDateTime::currentMSecsSinceEpoch() / 1000.0);
        const Result result = installed.run(input());
        QVERIFY(result.isFinished);
        QCOMPARE(result.status, 0);
        QCOMPARE(result.output, mergedLine);
        const Json snapshot = Json::parse(installed.read().toStdString());
        const double seen = snapshot.at("observed_at");
        QVERIFY(seen >= before && seen <= QDateTime::currentMSecsSinceEpoch() / 1000.0);
        const auto owner
            = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
        QCOMPARE(QFile::permissions(installed.path() + u"/claude-usage.json"_s) | owner, owner);
        QCOMPARE(installed.files(),
                 QStringList({u"claude-usage.json"_s, u"vexlo-claude-bridge"_s}));
    }

    void nobodyReadsTheLine()
    {
        const Installation installed;
        std::array<int, 2> output;
        QCOMPARE(pipe2(output.data(), O_CLOEXEC), 0);
        const WaitingBridge bridge(installed.bridge(), output[1]);
        close(output[0]);
        close(output[1]);
        bridge.give(input());
        int status = -1;
        QCOMPARE(waitpid(bridge.id, &status, 0), bridge.id);
        QCOMPARE(status, 0);
        QCOMPARE(installed.used(), 25);
    }

    void anyInputLeavesTheStoredFileWhole_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("shell");
        const auto row = [](const char* title, const QByteArray& bytes, const QString& shell = {}) {
            QTest::newRow(title) << bytes << shell;
        };
        const QByteArray cut = input().chopped(3);
        row("empty", {});
        row("broken", cut);
        row("wrong types",
            R"({"session_id": 7, "cost": [], "rate_limits": {"five_hour": true}})"_ba);
        row("no UTF-8", "\xff\xfe\x00"_ba);
        row("10 MiB", input() + QByteArray(10 * 1024 * 1024, ' '));
        row("nested deep", R"({"rate_limits":)" + QByteArray(100'000, '['));
        row("endless", {}, u"yes '{' | \"$0\""_s);
        row("dripping", {}, u"while echo; do :; done | \"$0\""_s);
        row("never closed", {}, u"mkfifo \"$0.in\"; exec \"$0\" <> \"$0.in\""_s);
        row("closed", {}, u"exec \"$0\" <&-"_s);
        row("folder", {}, u"exec \"$0\" < /"_s);
    }

    void anyInputLeavesTheStoredFileWhole()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, shell);
        const Installation installed;
        installed.write(stored);
        const QStringList command{u"/bin/sh"_s, u"-c"_s, shell};
        const Result result = installed.run(bytes, shell.isEmpty() ? QStringList() : command);
        QVERIFY(result.isFinished);
        QCOMPARE(result.status, 0);
        QCOMPARE(result.output, storedLine);
        QCOMPARE(installed.read(), stored);
    }

    void oddStoredFilesDoNotHinder_data()
    {
        QTest::addColumn<QString>("preparation");
        QTest::addColumn<bool>("isReplaced");
        QTest::newRow("pipe") << u"mkfifo claude-usage.json"_s << true;
        QTest::newRow("endless device") << u"ln -s /dev/zero claude-usage.json"_s << true;
        QTest::newRow("broken") << u"printf '{' > claude-usage.json"_s << true;
        QTest::newRow("too large") << u"truncate -s 5M claude-usage.json"_s << true;
        QTest::newRow("temporary file left") << u"ln -s /etc/hostname .claude-usage.tmp"_s << true;
        QTest::newRow("folder") << u"mkdir claude-usage.json"_s << false;
    }

    void oddStoredFilesDoNotHinder()
    {
        QFETCH(QString, preparation);
        QFETCH(bool, isReplaced);
        const Installation installed;
        const QString command = u"cd \"$0\" && "_s + preparation;
        QCOMPARE(QProcess::execute(u"/bin/sh"_s, {u"-c"_s, command, installed.path()}), 0);
        QCOMPARE(installed.run(input()).output, mergedLine);
        QCOMPARE(installed.used(), isReplaced ? 25 : -1);
        QVERIFY(!installed.files().contains(u".claude-usage.tmp"_s));
    }

    void previousStatusLineRunsAsIfAlone_data()
    {
        QTest::addColumn<QString>("command");
        QTest::newRow("its input") << u"cksum"_s;
        QTest::newRow("exit status") << u"printf one; echo two >&2; exit 7"_s;
        QTest::newRow("environment and folder") << u"pwd; env | sort"_s;
        QTest::newRow("signals and groups")
            << u"grep -E '^Sig(Blk|Ign|Cgt|Pnd)' /proc/self/status; cut -d' ' -f5,6 /proc/$$/stat"_s;
        QTest::newRow("open files") << u"ls /proc/$$/fd"_s;
    }

    void previousStatusLineRunsAsIfAlone()
    {
        QFETCH(QString, command);
        const Installation installed;
        installed.setPrevious(command);
        // Signals ignored and blocked from outside have to come through as well.
        const QStringList wrapper{u"env"_s, u"--ignore-signal=PIPE,RTMIN"_s,
                                  u"--block-signal=ALRM,RTMIN"_s};
        const QByteArray bytes = input() + QByteArray(200'000, ' ');
        QProcess alone;
        Installation::start(alone, wrapper + QStringList{u"/bin/sh"_s, u"-c"_s, command});
        alone.write(bytes);
        alone.closeWriteChannel();
        const Result expected = Installation::result(alone);

        HeldLock lock(installed.path()); // waiting for it is what changes signals and timers
        QProcess process;
        Installation::start(process, wrapper + QStringList(installed.bridge()));
        process.write(bytes);
        process.closeWriteChannel();
        QTRY_VERIFY(HeldLock::isWaiting(process));
        lock.release();
        const Result result = Installation::result(process);
        QVERIFY(expected.isFinished && result.isFinished);
        QCOMPARE(result.status, expected.status);
        QCOMPARE(result.output, expected.output);
        QCOMPARE(installed.used(), 25);
    }

    void previousStatusLineIsTheSameProcess()
    {
        const Installation installed;
        installed.setPrevious(u"echo $$; wc -c"_s);
        QProcess process;
        Installation::start(process, {installed.bridge()});
        const QByteArray id = QByteArray::number(process.processId());
        process.closeWriteChannel();
        QCOMPARE(Installation::result(process).output, id + "\n0\n");
    }

    void ownLineWithoutUsablePrevious_data()
    {
        QTest::addColumn<QString>("preparation");
        QTest::newRow("names the bridge") << u"printf '{\"type\": \"command\", \"command\": \"%s/"
                                             "vexlo-claude-bridge\"}' \"$0\" > $P"_s;
        QTest::newRow("broken") << u"printf '{' > $P"_s;
        QTest::newRow("pipe") << u"mkfifo $P"_s;
        QTest::newRow("too large")
            << u"{ printf '{\"type\": \"command\", \"command\": \"echo no\"}';"
               " head -c 1048576 /dev/zero | tr '\\0' ' '; } > $P"_s;
    }

    void ownLineWithoutUsablePrevious()
    {
        QFETCH(QString, preparation);
        const Installation installed;
        const QString command = u"P=previous-statusline.json; cd \"$0\" && "_s + preparation;
        QCOMPARE(QProcess::execute(u"/bin/sh"_s, {u"-c"_s, command, installed.path()}), 0);
        const Result result = installed.run(input());
        QVERIFY(result.isFinished);
        QCOMPARE(result.status, 0);
        QCOMPARE(result.output, mergedLine);
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
        installed.write(stored);
        const auto all = QFile::permissions(installed.path());
        if (wrapper.value(0) == u"strace"_s)
            wrapper << u"-P"_s << installed.path() << u"-P"_s
                    << installed.path() + u"/.claude-usage.tmp"_s;
        else
            QVERIFY(QFile::setPermissions(installed.path(),
                                          all & ~(QFile::WriteOwner | QFile::WriteUser)));
        const Result result = installed.run(input(), wrapper);
        QFile::setPermissions(installed.path(), all);
        QVERIFY(result.isFinished);
        QCOMPARE(result.status, 0);
        QCOMPARE(result.output, mergedLine);
        QCOMPARE(installed.read(), stored);
        QCOMPARE(installed.files(),
                 QStringList({u"claude-usage.json"_s, u"vexlo-claude-bridge"_s}));
    }

    void killedAnywhereTheFileIsOldOrNew()
    {
        int keptOld = 0;
        int gotNew = 0;
        for (const QString& calls : {u"openat"_s, u"flock"_s, u"read"_s, u"/^unlink"_s, u"write"_s,
                                     u"close"_s, u"/^rename"_s, u"rt_sigprocmask"_s}) {
            const Installation installed;
            bool isKilled = true;
            for (int count = 1; isKilled; ++count) {
                installed.write(stored);
                const QString kill = u"signal=KILL:when="_s + QString::number(count);
                const Result result = installed.run(input(), tampering(calls, kill));
                isKilled = !result.isFinished;
                if (installed.read() == stored)
                    ++keptOld;
                else if (installed.used() == 25)
                    ++gotNew;
                else
                    QFAIL(installed.read().constData());
            }
            QCOMPARE(installed.run(input()).output, mergedLine);
            QVERIFY(!installed.files().contains(u".claude-usage.tmp"_s));
        }
        QVERIFY(keptOld > 4 && gotNew > 8); // eight runs were not killed
    }

    void cancellingWaitsForTheWrite()
    {
        const Installation installed;
        QStringList wrapper = tampering(u"write"_s, u"signal=TERM"_s);
        wrapper << u"-P"_s << installed.path() + u"/.claude-usage.tmp"_s;
        const Result result = installed.run(input(), wrapper);
        QVERIFY(!result.isFinished);
        QCOMPARE(installed.used(), 25);
        QVERIFY(!installed.files().contains(u".claude-usage.tmp"_s));
    }

    void disconnectedMeanwhile()
    {
        const Installation installed;
        installed.write(stored);
        HeldLock lock(installed.path());
        QProcess process;
        Installation::start(process, {installed.bridge()});
        process.write(input());
        process.closeWriteChannel();
        QTRY_VERIFY(HeldLock::isWaiting(process));
        QVERIFY(QFile::remove(installed.bridge()));
        QVERIFY(QFile::remove(installed.path() + u"/claude-usage.json"_s));
        lock.release();
        const Result result = Installation::result(process);
        QCOMPARE(result.status, 0);
        QCOMPARE(result.output, mergedLine);
        QCOMPARE(installed.files(), QStringList());
    }

    void lockNeverFree()
    {
        const Installation installed;
        const HeldLock lock(installed.path());
        const Result result = installed.run(input(), {u"env"_s, u"--block-signal=RTMIN"_s});
        QVERIFY(result.isFinished);
        QCOMPARE(result.status, 0);
        QCOMPARE(result.output, mergedLine);
        QCOMPARE(installed.files(), QStringList({u"vexlo-claude-bridge"_s}));
        QCOMPARE(Installation().run({}).output, waitingLine);
    }

    void manySessionsAtOnce()
    {
        constexpr int sessionCount = VEXLO_SESSIONS_AT_ONCE;
        const Installation installed;
        installed.write(stored);
        const int output = open("/dev/null", O_WRONLY | O_CLOEXEC);
        QList<WaitingBridge> bridges;
        for (int i = 0; i < sessionCount; ++i)
            bridges.emplaceBack(installed.bridge(), output);
        close(output);
        // The highest comes in the middle: being last is not what makes it stay.
        for (int i = 0; i < sessionCount; ++i)
            bridges[i].give(input(i == sessionCount / 2 ? 90 : i % 80, QByteArray::number(i)));
        for (int ended = 0; ended < sessionCount; ++ended) {
            int status = 0;
            QVERIFY(waitpid(-1, &status, 0) > 0);
            QCOMPARE(status, 0);
            QVERIFY2(installed.used() >= 0, installed.read().constData());
        }
        QCOMPARE(installed.used(), 90);
        QCOMPARE(Json::parse(installed.read().toStdString())["sessions"].size(), sessionCount);
    }
};

QTEST_GUILESS_MAIN(BridgeProcessTest)
#include "BridgeProcessTest.moc"
