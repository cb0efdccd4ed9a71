#include "platform/ChildProcess.h"

#include "tests/support/ProcessGroups.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Event = ChildProcess::Event;

// Ample: a wait that this ends has hung.
constexpr auto patience = 30s;

ProgramCommand shell(const QString& script)
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

    void inputThatNobodyReadsStopsNobody()
    {
        ChildProcess idle(shell(u"echo ready; sleep 60"_s));
        idle.write(QByteArray(1 << 20, 'x'));
        waitForOutput(idle);
        QByteArray output;
        QCOMPARE(idle.wait(output, QDeadlineTimer(50ms)), Event::timeout);
        ChildProcess closed(shell(u"exec <&-; echo ready; read x; echo end"_s));
        closed.write(QByteArray(1 << 20, 'x'));
        QCOMPARE(outputOf(closed), "ready\nend\n");
    }

    void nothingOfTheGroupIsLeft()
    {
        for (const QString& script :
             {u"yes"_s, u"trap '' TERM; echo ready; while :; do sleep 60; done"_s,
              u"echo ready; kill -STOP $$"_s, u"(trap '' TERM; echo ready; sleep 60)& wait"_s,
              u"(trap '' TERM; echo ready; sleep 60)& exit"_s}) {
            ChildProcess child(shell(script));
            waitForOutput(child);
            const pid_t group = child.processId();
            child.end();
            QVERIFY2(groupIsGone(group), qPrintable(script));
            QVERIFY(!child.isRunning());
        }
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
};

QTEST_GUILESS_MAIN(ChildProcessTest)
#include "ChildProcessTest.moc"
