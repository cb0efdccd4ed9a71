#include "platform/ChildProcess.h"

#include "tests/support/ProcessGroups.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Event = ChildProcess::Event;

// Ample: a wait that this ends has hung.
constexpr auto patience = 30s;

ChildProcess::Command shell(const QString& script)
{
    return {.program = u"/bin/sh"_s, .arguments = {u"-c"_s, script}};
}

/// Everything that `child` prints until its output ends.
QByteArray outputOf(ChildProcess& child)
{
    QByteArray output;
    const QDeadlineTimer deadline(patience);
    while (child.wait(output, deadline) == Event::output) { }
    return output;
}

/// Waits for the first output: the script is past that point then.
void waitForOutput(ChildProcess& child)
{
    QByteArray output;
    QCOMPARE(child.wait(output, QDeadlineTimer(patience)), Event::output);
}

} // namespace

class ChildProcessTest : public QObject {
    Q_OBJECT

private slots:
    void inputReachesTheChildAndOutputComesBack()
    {
        const QByteArray input = QByteArray(3 << 20, 'x') + "end";
        ChildProcess child(shell(u"cat; echo error >&2; exit 3"_s));
        QVERIFY(child.isRunning());
        child.write(input);
        child.closeInput();
        QCOMPARE(outputOf(child), input);
    }

    void programsThatCannotStartSayWhy()
    {
        const ChildProcess missing({.program = u"/nonexistent/codex"_s});
        QVERIFY(!missing.isRunning());
        QCOMPARE(missing.startError(), u"No such file or directory"_s);
        QVERIFY(!ChildProcess({.program = u"/etc/hostname"_s}).isRunning());
    }

    void childrenInheritNoDescriptorsAndNoSignalHandling()
    {
        const ChildProcess neighbour(shell(u"sleep 60"_s)); // its pipes are open meanwhile
        ChildProcess child(shell(u"ls /proc/self/fd | wc -l; grep SigIgn /proc/self/status"_s));
        const QByteArray output = outputOf(child);
        QCOMPARE(output.left(2), "4\n"); // three, and the folder itself
        // All but the two that the C library keeps to itself.
        const quint64 ignored = output.mid(output.indexOf('\t')).trimmed().toULongLong(nullptr, 16);
        QCOMPARE(ignored & ~0x180000000ULL, 0ULL);
    }

    void childThatReadsNothingStopsNobody()
    {
        ChildProcess child(shell(u"echo ready; sleep 60"_s));
        child.write(QByteArray(1 << 20, 'x'));
        waitForOutput(child);
        QByteArray output;
        QCOMPARE(child.wait(output, QDeadlineTimer(50ms)), Event::timeout);
    }

    void childThatClosesItsInputIsNoError()
    {
        ChildProcess child(shell(u"exec <&-; echo ready; read x; echo end"_s));
        child.write(QByteArray(1 << 20, 'x'));
        QCOMPARE(outputOf(child), "ready\nend\n");
    }

    void floodDoesNotOutrunTheDeadline()
    {
        ChildProcess child({.program = u"/usr/bin/yes"_s});
        QByteArray output;
        const QDeadlineTimer deadline(100ms);
        Event event{};
        while ((event = child.wait(output, deadline)) == Event::output)
            output.clear();
        QCOMPARE(event, Event::timeout);
        const pid_t group = child.processId();
        child.end();
        QVERIFY(!groupIsAlive(group));
    }

    void nothingOfTheGroupIsLeft_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("obedient") << u"echo ready; exec sleep 60"_s;
        QTest::newRow("ignores SIGTERM")
            << u"trap '' TERM; echo ready; while :; do sleep 60; done"_s;
        QTest::newRow("stopped") << u"echo ready; kill -STOP $$"_s;
        QTest::newRow("wrapper whose child keeps the pipe")
            << u"(trap '' TERM; echo ready; sleep 60)& wait"_s;
        QTest::newRow("leader gone, child keeps the pipe")
            << u"(trap '' TERM; echo ready; sleep 60)& exit"_s;
    }

    void nothingOfTheGroupIsLeft()
    {
        QFETCH(QString, script);
        ChildProcess child(shell(script));
        waitForOutput(child);
        const pid_t group = child.processId();
        child.end();
        QVERIFY(!groupIsAlive(group));
        QVERIFY(!child.isRunning());
    }

    void childMayLeaveByItselfOnceItsInputIsClosed()
    {
        const QTemporaryDir folder;
        const QString mark = folder.filePath(u"finished"_s);
        ChildProcess child(shell(u"trap 'exit 1' TERM; echo ready; cat; : > "_s + mark));
        waitForOutput(child);
        child.end(patience);
        QVERIFY(QFileInfo::exists(mark));
    }

    void cancellationEndsTheWait()
    {
        const Cancellation cancellation;
        ChildProcess child(shell(u"sleep 60"_s), &cancellation);
        std::thread other([&] { cancellation.cancel(); });
        QByteArray output;
        QCOMPARE(child.wait(output, QDeadlineTimer(patience)), Event::cancelled);
        other.join();
        QVERIFY(cancellation.isCancelled());
    }
};

QTEST_GUILESS_MAIN(ChildProcessTest)
#include "ChildProcessTest.moc"
