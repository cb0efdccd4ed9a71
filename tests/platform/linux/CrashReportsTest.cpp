#include "platform/CrashReports.h"

#include "platform/PreferenceStore.h"
#include "tests/support/TestFiles.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstdint>
#include <sys/resource.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

volatile bool isEndless = true; // which the compiler must not know
volatile std::uintptr_t nowhere = 16;

[[gnu::noinline]] int overflow(volatile char* previous)
{
    volatile char space[4096];
    space[0] = *previous;
    return isEndless ? overflow(space) + space[0] : 0;
}

void invalidAddress()
{
    *reinterpret_cast<volatile int*>(nowhere) = 1;
}

/// Runs in the child, and does not come back.
void crash(const QString& how)
{
    char start = 0;
    if (how == "address"_L1)
        invalidAddress();
    else if (how == "thread"_L1)
        std::thread(invalidAddress).join();
    else if (how == "overflow"_L1)
        overflow(&start);
    else if (how == "abort"_L1)
        std::abort();
    else
        std::raise(how.toInt());
}

/// The child: `folder`, how to crash, and how large a file may become.
int runChild(const QStringList& arguments)
{
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    CrashReports(arguments.at(0)).install(u"0.1.0 (7)"_s);
    const rlim_t room = arguments.at(2).toULong();
    const rlimit size{room, room};
    ::setrlimit(RLIMIT_FSIZE, &size);
    crash(arguments.at(1));
    return 0;
}

} // namespace

class CrashReportsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_folder = m_home->filePath(u"state/Gridwell/crashes"_s);
    }

    void aCrashLeavesOneReport_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("signal");
        QTest::newRow("invalid address") << u"address"_s << SIGSEGV;
        QTest::newRow("in another thread") << u"thread"_s << SIGSEGV;
        QTest::newRow("stack used up") << u"overflow"_s << SIGSEGV;
        QTest::newRow("abort") << u"abort"_s << SIGABRT;
        for (const int signal : {SIGBUS, SIGFPE, SIGILL})
            QTest::addRow("signal %d", signal) << QString::number(signal) << signal;
    }

    void aCrashLeavesOneReport()
    {
        QFETCH(QString, how);
        QFETCH(int, signal);
        QCOMPARE(endOfChild(how), signal);

        const QStringList reports = CrashReports(m_folder).reports();
        QCOMPARE(reports, filesIn(m_folder));
        QCOMPARE(reports.size(), 1);
        const QString text = QString::fromUtf8(contentsOf(path(0)));
        static const QRegularExpression form(
            u"^Vexlo crash report\n\nTime:    \\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ\n"
            "Version: 0\\.1\\.0 \\(7\\)\nSignal:  (\\d+), SIG.*\n\n"
            "Called.*\n( ?\\d+  .+\\+0x[0-9a-f]+.*\n){3}"_s);
        const QRegularExpressionMatch match = form.match(text);
        QVERIFY2(match.hasMatch(), qPrintable(text));
        QCOMPARE(match.captured(1).toInt(), signal);
        QVERIFY2(text.contains("platform_linux_CrashReportsTest+0x"_L1), qPrintable(text));
        QVERIFY2(!text.contains(u'/'), qPrintable(text));
        QCOMPARE(permissionsOf(path(0)), 0600);
    }

    void withoutRoomOnlyWhatIsOfUseStays()
    {
        QCOMPARE(endOfChild(u"address"_s, 100), SIGSEGV);
        QVERIFY(filesIn(m_folder).isEmpty());

        QCOMPARE(endOfChild(u"address"_s, 300), SIGSEGV);
        QCOMPARE(filesIn(m_folder).size(), 1);
        QCOMPARE(contentsOf(path(0)).size(), 300);
        QVERIFY(contentsOf(path(0)).contains("Signal:  11"));
    }

    void theNewestTenAreKept()
    {
        for (int day = 10; day < 22; ++day)
            writeFile(m_folder + u"/Vexlo-2026-01-%1-120000-5.txt"_s.arg(day), "old");
        writeFile(m_folder + "/notes.txt"_L1, "the user's");
        QCOMPARE(endOfChild(u"address"_s), SIGSEGV);

        const QStringList reports = CrashReports(m_folder).reports();
        QCOMPARE(reports.size(), CrashReports::mostReports);
        QVERIFY(contentsOf(path(0)).startsWith("Vexlo crash report"));
        QCOMPARE(reports.constLast(), u"Vexlo-2026-01-13-120000-5.txt"_s);
        QVERIFY(QFile::exists(m_folder + "/notes.txt"_L1));
    }

    void eachCrashIsToldAtOneStart()
    {
        PreferenceStore preferences(m_home->filePath(u"p.json"_s));
        const CrashReports reports(m_folder);
        QCOMPARE(reports.crashSinceLastStart(preferences), std::nullopt);
        writeFile(m_folder + "/Vexlo-2026-01-10-120000-5.txt"_L1, "report");
        QCOMPARE(reports.crashSinceLastStart(preferences), path(0));
        QCOMPARE(reports.crashSinceLastStart(preferences), std::nullopt);
        QFile::remove(path(0));
        QCOMPARE(reports.crashSinceLastStart(preferences), std::nullopt);
    }

private:
    [[nodiscard]] QString path(qsizetype index) const
    {
        return m_folder + u'/' + CrashReports(m_folder).reports().value(index);
    }

    /// The signal that ended a child which crashed, 0 when none did.
    [[nodiscard]] int endOfChild(const QString& how, int room = 1 << 20) const
    {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(),
                    {u"--child"_s, m_folder, how, QString::number(room)});
        child.waitForFinished();
        return child.exitStatus() == QProcess::CrashExit ? child.exitCode() : 0;
    }

    std::unique_ptr<QTemporaryDir> m_home;
    QString m_folder;
};

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--child"_L1)
        return runChild(arguments.mid(2));
    CrashReportsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "CrashReportsTest.moc"
