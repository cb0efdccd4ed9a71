#include <TestPaths.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 20'000; // ms

int vexlo(const QStringList& arguments)
{
    return QProcess::execute(QStringLiteral(VEXLO_BUILD_TREE "/bin/vexlo"),
                             QStringList(u"--demo"_s) + arguments);
}

/// The places of Vexlo's windows on the screen, each as xdotool tells it.
QStringList visibleWindows()
{
    QProcess search;
    search.start(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Vexlo$"_s});
    search.waitForFinished();
    return QString::fromUtf8(search.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
}

} // namespace

// The program as built, in a private desktop with a real bar.
class DesktopTest : public QObject {
    Q_OBJECT

private slots:
    void oneProgramAnswersEveryStart()
    {
        QProcess program;
        program.start(QStringLiteral(VEXLO_BUILD_TREE "/bin/vexlo"), {u"--demo"_s});
        QTRY_VERIFY_WITH_TIMEOUT(hasItem(), patience);
        QVERIFY(visibleWindows().isEmpty());

        QCOMPARE(vexlo({}), 0); // a second start toggles the first
        QTRY_COMPARE_WITH_TIMEOUT(visibleWindows().size(), 1, patience);
        QCOMPARE(vexlo({u"--toggle"_s}), 0);
        QTRY_VERIFY_WITH_TIMEOUT(visibleWindows().isEmpty(), patience);

        QCOMPARE(vexlo({u"--quit"_s}), 0);
        QVERIFY(program.waitForFinished(patience));
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(vexlo({u"--quit"_s}), 1); // there is none any more
    }

private:
    /// Whether the bar has been told of the program's item.
    static bool hasItem()
    {
        const QDBusInterface watcher(u"org.kde.StatusNotifierWatcher"_s,
                                     u"/StatusNotifierWatcher"_s,
                                     u"org.kde.StatusNotifierWatcher"_s);
        return !watcher.property("RegisteredStatusNotifierItems").toStringList().isEmpty();
    }
};

QTEST_GUILESS_MAIN(DesktopTest)
#include "DesktopTest.moc"
