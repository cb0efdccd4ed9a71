#include "platform/linux/DesktopNotifier.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QGuiApplication>
#include <QPixmap>
#include <QProcess>
#include <QRegularExpression>
#include <QScreen>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

const QString daemonName = u"org.freedesktop.Notifications"_s;
const QColor pictureColor(10, 200, 90); // no two parts alike: a swapped order shows

QByteArray output(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput();
}

int shown()
{
    return output(u"dunstctl"_s, {u"count"_s, u"displayed"_s}).toInt();
}

void signalDaemon(int signal)
{
    const QDBusReply<uint> process
        = QDBusConnection::sessionBus().interface()->servicePid(daemonName);
    if (process.isValid())
        ::kill(pid_t(process.value()), signal);
}

bool isOnScreen(const QColor& color)
{
    const QImage screen = QGuiApplication::primaryScreen()->grabWindow().toImage();
    int matches = 0;
    for (int y = 0; y < screen.height(); ++y) {
        for (int x = 0; x < screen.width(); ++x)
            matches += screen.pixelColor(x, y) == color ? 1 : 0;
    }
    return matches > 100;
}

/// Where dunst, as it comes, does what the notice is for.
void clickNotice()
{
    output(
        u"sh"_s,
        {u"-c"_s, u"xdotool mousemove --window $(xdotool search --class dunst) 60 20 click 2"_s});
}

} // namespace

/// With dunst, a real notification daemon.
class NotifierTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u"."_s));
        output(u"dunstctl"_s, {u"close-all"_s});
        output(u"dunstctl"_s, {u"history-clear"_s});
        QTRY_COMPARE(shown(), 0);
    }

    void aNoticeShowsItsTextAndPicture()
    {
        QImage picture(64, 64, QImage::Format_ARGB32_Premultiplied);
        picture.fill(pictureColor);
        DesktopNotifier notifier;
        notifier.post(
            {u"a"_s, u"Claude stamina low"_s, u"7% left on <b>A&B</b> limit."_s, picture});
        QTRY_COMPARE(shown(), 1);
        QTRY_VERIFY(isOnScreen(pictureColor));

        output(u"dunstctl"_s, {u"close-all"_s});
        QTRY_COMPARE(shown(), 0);
        const QByteArray history = output(u"dunstctl"_s, {u"history"_s});
        QVERIFY2(
            history.contains("<b>Claude stamina low</b>\\n7% left on &lt;b&gt;A&amp;B&lt;/b&gt;"),
            history);
    }

    void aClickIsToldOnce()
    {
        DesktopNotifier notifier;
        int clicks = 0;
        notifier.onActivated = [&clicks](const QString&) { ++clicks; };
        notifier.post({u"a"_s, u"Click me"_s, {}, {}});
        QTRY_COMPARE(shown(), 1);
        QTRY_VERIFY((clickNotice(), clicks > 0));
        QCOMPARE(clicks, 1);
    }

    void oneIdentifierHasOneNotice()
    {
        DesktopNotifier notifier;
        notifier.post({u"a"_s, u"First"_s, {}, {}});
        notifier.post({u"b"_s, u"Other"_s, {}, {}});
        QTRY_COMPARE(shown(), 2);
        QCoreApplication::processEvents(); // the daemon's answers
        notifier.post({u"a"_s, u"Second"_s, {}, {}});
        notifier.post({u"c"_s, u"Last"_s, {}, {}});
        QTRY_COMPARE(shown(), 3);
        QVERIFY(!output(u"dunstctl"_s, {u"history"_s}).contains("Second"));
    }

    void aDaemonThatHangsHoldsNobodyUp()
    {
        signalDaemon(SIGSTOP);
        DesktopNotifier notifier;
        notifier.post({u"a"_s, u"Late"_s, {}, {}});
        QCoreApplication::processEvents();
        signalDaemon(SIGCONT);
        QTRY_COMPARE(shown(), 1);
    }

    /// The bus can start one here.
    void aDaemonThatDoesNotRunIsStarted()
    {
        DesktopNotifier notifier;
        signalDaemon(SIGKILL);
        const auto* bus = QDBusConnection::sessionBus().interface();
        QTRY_VERIFY(!bus->isServiceRegistered(daemonName));
        notifier.post({u"a"_s, u"Starts you"_s, {}, {}});
        QTRY_COMPARE(shown(), 1);
    }
};

QTEST_MAIN(NotifierTest)
#include "NotifierTest.moc"
