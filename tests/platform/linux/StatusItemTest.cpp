#include "platform/linux/TrayPlace.h"
#include "platform/linux/TrayStatusItem.h"

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QEventLoop>
#include <QProcess>
#include <QScreen>
#include <QTest>

#include <csignal>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 20'000; // milliseconds
constexpr auto watcherName = "org.kde.StatusNotifierWatcher"_L1;
constexpr auto itemPath = "/StatusNotifierItem"_L1;
constexpr auto menuPath = "/MenuBar"_L1;
const QColor magenta(255, 0, 255);
const QColor green(0, 255, 0);
const QList<StatusMenuEntry> menuEntries{
    {.id = u"open"_s, .label = u"Open Vexlo"_s},
    {.isSeparator = true},
    {.id = u"update"_s, .label = u"Check_for & Updates"_s, .isEnabled = false},
    {.id = u"quit"_s, .label = u"Quit"_s},
};

QList<QImage> pictures(const QColor& color)
{
    QList<QImage> images{QImage(22, 22, QImage::Format_ARGB32),
                         QImage(44, 44, QImage::Format_ARGB32)};
    for (QImage& image : images)
        image.fill(color);
    return images;
}

/// What a program prints, while this one goes on answering the bus and the display.
QString output(const QString& program, const QStringList& arguments)
{
    QProcess process;
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    process.start(program, arguments);
    loop.exec();
    return QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError())
        .trimmed();
}

void xdotool(const QString& arguments)
{
    QCOMPARE(output(u"xdotool"_s, arguments.split(u' ')), QString());
}

/// A TrayStatusItem on a connection of its own, with what it told.
struct Item {
    explicit Item(const QString& address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"))
        : bus(QDBusConnection::connectToBus(address, u"item"_s))
    {
        item.setTitle(u"Vexlo"_s);
        item.setImages(pictures(magenta));
        item.setMenu(menuEntries);
        item.onActivated = [this](const StatusActivation& click) { clicks << click; };
        item.onMenuEntry = [this](const QString& id) { chosen << id; };
        item.onShownChanged = [this] { shown << item.isShown(); };
    }

    ~Item() { QDBusConnection::disconnectFromBus(u"item"_s); }

    /// The answer of one of its objects to a call by another program.
    QString call(const QString& object, const QString& method, const QStringList& arguments) const
    {
        return output(u"gdbus"_s,
                      QStringList{u"call"_s, u"--session"_s, u"--dest"_s, bus.baseService(),
                                  u"--object-path"_s, object, u"--method"_s, method, u"--"_s}
                          + arguments);
    }

    QDBusConnection bus;
    TrayStatusItem item{u"vexlo-test"_s, bus};
    QList<StatusActivation> clicks;
    QStringList chosen;
    QList<bool> shown;
};

/// The middle of what is drawn in `color` on the screen; 0,0 when there is nothing.
QPoint find(const QColor& color)
{
    const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    QRect area;
    for (int y = 0; y < screen.height(); ++y) {
        for (int x = 0; x < screen.width(); ++x) {
            if (screen.pixel(x, y) == color.rgb())
                area |= QRect(x, y, 1, 1);
        }
    }
    return area.isEmpty() ? QPoint() : area.center();
}

QPoint awaitPicture(const QColor& color)
{
    QPoint place;
    const auto isFound = [&] { return !(place = find(color)).isNull(); };
    return QTest::qWaitFor(isFound, patience) ? place : QPoint();
}

/// A running tray of the old kind, at the top left of the screen.
class Trayer {
public:
    Trayer()
    {
        const QString options
            = u"--edge top --align left --widthtype pixel --width 99 --height 24"_s;
        m_process.start(u"trayer"_s, options.split(u' '));
    }
    ~Trayer() { end(); }

    void end()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
};

/// A desktop's list of items that may be there before anything shows them.
class Watcher : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ tellsHost)

public:
    Watcher()
    {
        m_bus.registerObject(u"/StatusNotifierWatcher"_s, this, QDBusConnection::ExportAllContents);
        m_bus.registerService(watcherName);
    }

    ~Watcher() override { QDBusConnection::disconnectFromBus(u"watcher"_s); }

    void addHost()
    {
        hasHost = true;
        emit StatusNotifierHostRegistered();
    }

    bool tellsHost()
    {
        ++questions;
        return hasHost;
    }

    bool hasHost = false;
    int questions = 0;
    QStringList names;

public slots:
    void RegisterStatusNotifierItem(const QString& name) { names << name; }

signals:
    void StatusNotifierHostRegistered();

private:
    QDBusConnection m_bus
        = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"watcher"_s);
};

} // namespace

/// With xfce4-panel along the top of the screen.
class PanelTest : public QObject {
    Q_OBJECT

private slots:
    void cleanupTestCase() { endPanel(); }

    /// Nothing of one test's item may be there for the next to click on.
    void cleanup()
    {
        xdotool(u"mousemove 640 400"_s);
        QTRY_VERIFY(find(magenta).isNull() && find(green).isNull());
    }

    void aLeftOrMiddleClickTellsItsPlace()
    {
        Item item;
        const QPoint place = awaitPicture(magenta);
        xdotool(u"mousemove %1 %2 click 1 click 2"_s.arg(place.x()).arg(place.y()));
        QTRY_COMPARE(item.clicks.size(), 2);
        for (const StatusActivation& click : item.clicks)
            QCOMPARE(click.place, place);
    }

    /// Until the panel has read the menu, it shows its own instead, whose last entry is harmless.
    void theMenuIsShownAndChosenFrom()
    {
        Item item;
        const QPoint place = awaitPicture(magenta);
        const QStringList windows{u"search"_s, u"--onlyvisible"_s, u"--class"_s, u"wrapper-2"_s};
        for (int tries = 0; item.chosen.isEmpty() && tries < 20; ++tries) {
            xdotool(u"mousemove %1 %2 click 3"_s.arg(place.x()).arg(place.y()));
            // The icon's and the menu's.
            QTRY_COMPARE_WITH_TIMEOUT(output(u"xdotool"_s, windows).count(u'\n'), 1, patience);
            xdotool(u"key Up Return"_s);
            xdotool(u"key Escape Escape"_s);
        }
        QCOMPARE(item.chosen.value(0), u"quit"_s);
    }

    void aPanelMayComeLateAndAgain()
    {
        endPanel();
        Item item;
        startPanel();
        QVERIFY(!awaitPicture(magenta).isNull());
        item.item.setImages(pictures(green));
        QVERIFY(!awaitPicture(green).isNull());
        endPanel();
        QTRY_VERIFY(!item.item.isShown());
        item.item.setImages(pictures(magenta));
        startPanel();
        QVERIFY(!awaitPicture(magenta).isNull());
        QTRY_COMPARE(item.shown, (QList{true, false, true}));
        QTRY_COMPARE(registeredItems(), 1); // the picture could be in the panel's old tray too
    }

private:
    static QDBusConnectionInterface* bus() { return QDBusConnection::sessionBus().interface(); }

    static qsizetype registeredItems()
    {
        const QString question = u"call --session --dest org.kde.StatusNotifierWatcher "
                                 "--object-path /StatusNotifierWatcher "
                                 "--method org.freedesktop.DBus.Properties.Get "
                                 "org.kde.StatusNotifierWatcher RegisteredStatusNotifierItems"_s;
        return output(u"gdbus"_s, question.split(u' ')).count(itemPath);
    }

    /// The panel first: it would start its tray, a process of its own, again.
    void endPanel()
    {
        for (const QString& name : {u"org.xfce.Panel"_s, QString(watcherName)}) {
            if (const auto process = bus()->servicePid(name); process.isValid())
                ::kill(pid_t(process.value()), SIGKILL);
            QTRY_VERIFY(!bus()->isServiceRegistered(name).value());
        }
        m_panel.waitForFinished();
    }

    void startPanel() { m_panel.start(u"xfce4-panel"_s, {u"--disable-wm-check"_s}); }

    QProcess m_panel;
};

/// Without anything that shows items, but for what the tests start.
class NoPanelTest : public QObject {
    Q_OBJECT

private slots:
    void everyPropertyIsServed()
    {
        QImage image(2, 1, QImage::Format_ARGB32_Premultiplied);
        image.setPixel(0, 0, 0x80800000); // half of full red
        image.setPixel(1, 0, 0xff010203);
        Item item;
        item.item.setImages({image});
        item.item.setToolTip(u"Vexlo"_s, u"72% & more"_s);
        QCOMPARE(item.call(itemPath, u"org.freedesktop.DBus.Properties.GetAll"_s,
                           {u"org.kde.StatusNotifierItem"_s}),
                 u"({'AttentionIconName': <''>, 'AttentionIconPixmap': <@a(iiay) []>, "
                 "'Category': <'ApplicationStatus'>, 'IconName': <''>, "
                 "'IconPixmap': <[(2, 1, [byte 0x80, 0xff, 0x00, 0x00, 0xff, 0x01, 0x02, 0x03])]>, "
                 "'IconThemePath': <''>, 'Id': <'vexlo-test'>, 'ItemIsMenu': <false>, "
                 "'Menu': <objectpath '/MenuBar'>, 'OverlayIconName': <''>, "
                 "'OverlayIconPixmap': <@a(iiay) []>, 'Status': <'Active'>, 'Title': <'Vexlo'>, "
                 "'ToolTip': <('', @a(iiay) [], 'Vexlo', '72% &amp; more')>, 'WindowId': <0>},)"_s);
    }

    void onlyANewPictureIsAnnounced()
    {
        Item item;
        m_announced = 0;
        QDBusConnection::sessionBus().connect(item.bus.baseService(), itemPath,
                                              u"org.kde.StatusNotifierItem"_s, u"NewIcon"_s, this,
                                              SLOT(count()));
        item.item.setImages(pictures(magenta));
        item.item.setImages(pictures(green));
        item.item.setImages(pictures(green));
        item.call(itemPath, u"org.freedesktop.DBus.Peer.Ping"_s, {}); // what was sent has arrived
        QCOMPARE(m_announced, 1);
    }

    void theMenuIsServed()
    {
        Item item;
        const QString getLayout = u"com.canonical.dbusmenu.GetLayout"_s;
        QCOMPARE(item.call(menuPath, getLayout, {u"0"_s, u"-1"_s, u"[]"_s}),
                 u"(uint32 2, (0, {'children-display': <'submenu'>}, "
                 "[<(1, {'label': <'Open Vexlo'>}, @av [])>, "
                 "<(2, {'type': <'separator'>}, @av [])>, "
                 "<(3, {'enabled': <false>, 'label': <'Check__for & Updates'>}, @av [])>, "
                 "<(4, {'label': <'Quit'>}, @av [])>]))"_s);
        item.item.setMenu({menuEntries.at(3), {.id = u"new"_s, .label = u"New"_s}});
        QCOMPARE(item.call(menuPath, getLayout, {u"0"_s, u"-1"_s, u"['label']"_s}),
                 u"(uint32 3, (0, @a{sv} {}, [<(4, {'label': <'Quit'>}, @av [])>, "
                 "<(5, {'label': <'New'>}, @av [])>]))"_s);
        QVERIFY(
            item.call(menuPath, getLayout, {u"1"_s, u"-1"_s, u"[]"_s}).contains(u"InvalidArgs"));
        QCOMPARE(item.call(menuPath, u"com.canonical.dbusmenu.GetGroupProperties"_s,
                           {u"[5, 1]"_s, u"[]"_s}),
                 u"([(5, {'label': <'New'>})],)"_s);
    }

    void onlyWhatCanBeChosenIsReported()
    {
        Item item;
        const QString group = u"[(0, 'clicked', <''>, 0), (1, 'hovered', <''>, 0), "
                              "(2, 'clicked', <''>, 0), (3, 'clicked', <''>, 0), "
                              "(9, 'clicked', <''>, 0), (4, 'clicked', <''>, 0)]"_s;
        QCOMPARE(item.call(menuPath, u"com.canonical.dbusmenu.EventGroup"_s, {group}), u"([9],)"_s);
        item.call(menuPath, u"com.canonical.dbusmenu.Event"_s,
                  {u"1"_s, u"clicked"_s, u"<''>"_s, u"0"_s});
        QTRY_COMPARE(item.chosen, (QStringList{u"quit"_s, u"open"_s}));
    }

    void aFocusTokenBelongsToOneClick()
    {
        Item item;
        const QString interface = u"org.kde.StatusNotifierItem."_s;
        item.call(itemPath, interface + u"ProvideXdgActivationToken"_s, {u"token"_s});
        item.call(itemPath, interface + u"Activate"_s, {u"640"_s, u"15"_s});
        item.call(itemPath, interface + u"SecondaryActivate"_s, {u"0"_s, u"0"_s});
        QTRY_COMPARE(item.clicks.size(), 2);
        QCOMPARE(item.clicks.at(0).place, QPoint(640, 15));
        QCOMPARE(item.clicks.at(0).focusToken, u"token"_s);
        QCOMPARE(item.clicks.at(1).place, std::nullopt);
        QCOMPARE(item.clicks.at(1).focusToken, QString());
    }

    void aPlaceIsTakenAsPointsOrPixels_data()
    {
        QTest::addColumn<QPoint>("given");
        QTest::addColumn<QPoint>("pointer");
        QTest::addColumn<std::optional<QPoint>>("place");
        const auto place = [](int x, int y) { return std::optional(QPoint(x, y)); };
        QTest::newRow("outside") << QPoint(-5, 9) << QPoint(9, 9) << std::optional<QPoint>();
        QTest::newRow("points") << QPoint(600, 10) << QPoint(601, 10) << place(600, 10);
        QTest::newRow("pixels") << QPoint(600, 10) << QPoint(301, 5) << place(300, 5);
        QTest::newRow("pixels alone") << QPoint(1200, 20) << QPoint(9, 9) << place(600, 10);
        QTest::newRow("second screen") << QPoint(2500, 20) << QPoint(9, 9) << place(2050, 10);
    }

    void aPlaceIsTakenAsPointsOrPixels()
    {
        QFETCH(QPoint, given);
        QFETCH(QPoint, pointer);
        const QList<TrayScreen> screens{{.geometry = {0, 0, 800, 600}, .ratio = 2},
                                        {.geometry = {1600, 0, 800, 600}, .ratio = 2}};
        QTEST(clickPlace(given, pointer, screens), "place");
    }

    void onlyAShellOfItsOwnTellsPlacesOnWayland()
    {
        QProcessEnvironment environment;
        environment.insert(u"XDG_CURRENT_DESKTOP"_s, u"sway"_s);
        QVERIFY(panelsTellPlaces(u"xcb"_s, environment));
        environment.insert(u"WAYLAND_DISPLAY"_s, u"wayland-1"_s);
        QVERIFY(!panelsTellPlaces(u"xcb"_s, environment));
        environment.insert(u"XDG_CURRENT_DESKTOP"_s, u"ubuntu:GNOME"_s);
        QVERIFY(panelsTellPlaces(u"xcb"_s, environment));
        QVERIFY(!panelsTellPlaces(u"wayland"_s, environment)); // its windows cannot be moved there
    }

    void anOldTrayMayComeLateAndAgain_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("with a bus") << qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
        QTest::newRow("without a bus") << u"unix:path=/none"_s;
    }

    void anOldTrayMayComeLateAndAgain()
    {
        QFETCH(QString, address);
        Item item(address);
        for (int round = 0; round < 2; ++round) {
            Trayer tray;
            QTRY_VERIFY(item.item.isShown());
            const QPoint place = awaitPicture(magenta);
            xdotool(u"mousemove %1 %2 click 1 click 2"_s.arg(place.x()).arg(place.y()));
            QTRY_COMPARE(item.clicks.size(), 2);
            for (const StatusActivation& click : std::exchange(item.clicks, {}))
                QVERIFY((click.place.value_or(QPoint()) - place).manhattanLength() <= 2);
            tray.end();
            QTRY_VERIFY(!item.item.isShown());
        }
    }

    void anOldTraysMenuIsChosenFrom()
    {
        Item item;
        const Trayer tray;
        const QPoint place = awaitPicture(magenta);
        xdotool(u"mousemove %1 %2 click 3"_s.arg(place.x()).arg(place.y()));
        QTRY_VERIFY(QApplication::activePopupWidget());
        xdotool(u"key Down Down Return"_s);
        QTRY_COMPARE(item.chosen, QStringList{u"quit"_s});
    }

    void aPanelTakesOverFromAnOldTray()
    {
        Item item;
        const Trayer tray;
        QVERIFY(!awaitPicture(magenta).isNull());
        Watcher watcher;
        QTRY_COMPARE(watcher.questions, 1);
        QCOMPARE(watcher.names.first(),
                 u"org.kde.StatusNotifierItem-%1-1"_s.arg(QCoreApplication::applicationPid()));
        QVERIFY(!find(magenta).isNull()); // a list of items shows nothing yet
        watcher.addHost();
        QTRY_VERIFY(find(magenta).isNull());
        QCOMPARE(item.shown, QList{true});
    }

public slots:
    void count() { ++m_announced; }

private:
    int m_announced = 0;
};

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    if (qEnvironmentVariableIsEmpty("DESKTOP_MARK"))
        qFatal("Not in a private desktop session: this ends the panel.");
    if (qEnvironmentVariable("DESKTOP_PANEL") == "none"_L1) {
        NoPanelTest test;
        return QTest::qExec(&test, argc, argv);
    }
    PanelTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "StatusItemTest.moc"
