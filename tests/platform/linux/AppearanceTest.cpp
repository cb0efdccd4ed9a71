#include "platform/linux/LinuxAppearance.h"
#include "tests/support/TestFiles.h"

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QPainter>
#include <QPalette>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

using Settings = QMap<QString, QVariantMap>;
constexpr auto common = "org.freedesktop.appearance"_L1;
constexpr auto gnome = "org.gnome.desktop.interface"_L1;
constexpr auto portalName = "org.freedesktop.portal.Desktop"_L1;

/// The settings portal of a newer desktop than the one at hand.
class Portal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit Portal(Settings all)
        : settings(std::move(all))
    {
        m_bus.registerObject(u"/org/freedesktop/portal/desktop"_s, this,
                             QDBusConnection::ExportAllContents);
        m_bus.registerService(portalName);
    }
    ~Portal() override { QDBusConnection::disconnectFromBus(u"portal"_s); }

    void answer() { m_bus.send(question->createReply(QVariant::fromValue(settings))); }

    Settings settings;
    bool isSlow = false;
    std::optional<QDBusMessage> question;

public slots:
    Settings ReadAll(const QStringList& /*groups*/)
    {
        question = message();
        setDelayedReply(isSlow);
        return settings;
    }

signals:
    void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"portal"_s);
};

QPalette qtPalette(ColorScheme scheme)
{
    return QPalette(scheme == ColorScheme::dark ? QColor(30, 30, 30) : QColor(240, 240, 240));
}

/// A colour as the portal has it.
QVariant accent(double red, double green, double blue)
{
    QDBusArgument color;
    color.beginStructure();
    color << red << green << blue;
    color.endStructure();
    return QVariant::fromValue(color);
}

} // namespace

class AppearanceTest : public QObject {
    Q_OBJECT

private slots:
    // Must come first: whatever else is done here teaches Qt the types of the portal's signal.
    void initTestCase()
    {
        const QDBusConnection bus = QDBusConnection::sessionBus();
        LinuxAppearance appearance(bus, {});
        QDBusMessage change
            = QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_s,
                                         u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s);
        QDBusConnection portal
            = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"first"_s);
        QVERIFY(portal.registerService(portalName));
        change << QString(common) << u"color-scheme"_s
               << QVariant::fromValue(QDBusVariant(QVariant::fromValue(1U)));
        QVERIFY(portal.send(change));
        QTRY_COMPARE(appearance.current().scheme, ColorScheme::dark);
        QDBusConnection::disconnectFromBus(u"first"_s);
        qDBusRegisterMetaType<Settings>();
    }

    void init() { QGuiApplication::setPalette(qtPalette(ColorScheme::light)); }

    void contrastIsReckonedAsTheGuidelinesDo()
    {
        QCOMPARE(contrastRatio(Qt::black, Qt::white), 21.0);
        QCOMPARE(contrastRatio(Qt::red, Qt::red), 1.0);
        QCOMPARE(QString::number(contrastRatio(0x777777, Qt::white), 'f', 2), u"4.48"_s);
    }

    void coloursCanBeTold()
    {
        for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
            const Palette palette = paletteFor(scheme);
            for (const QColor& background : {palette.cardBackground, palette.windowBackground}) {
                QVERIFY(contrastRatio(palette.label, background) >= 7);
                QVERIFY(contrastRatio(palette.secondaryLabel, background) >= 4.5);
                QVERIFY(contrastRatio(palette.cool, background) >= 3);
                QVERIFY(contrastRatio(palette.accent, background) >= 3);
            }
            QVERIFY(contrastRatio(palette.accentText, palette.accent) >= 4.5);
            const QColor track = onCard(palette.label, 0.13, palette);
            QVERIFY(contrastRatio(palette.warningRed, track) >= 3);
            const QColor outline = palette.warningYellowEdge.value_or(palette.warningYellow);
            QVERIFY(contrastRatio(outline, track) >= 3);
        }
    }

    void aPaleAccentIsMovedUntilItShows_data()
    {
        QTest::addColumn<ColorScheme>("scheme");
        QTest::addColumn<QColor>("chosen");
        QTest::addColumn<bool>("isKept");
        QTest::newRow("yellow on white") << ColorScheme::light << QColor(0xffee66) << false;
        QTest::newRow("yellow on dark") << ColorScheme::dark << QColor(0xffee66) << true;
        QTest::newRow("navy on dark") << ColorScheme::dark << QColor(0x000060) << false;
    }

    void aPaleAccentIsMovedUntilItShows()
    {
        QFETCH(ColorScheme, scheme);
        QFETCH(QColor, chosen);
        const Palette palette = paletteFor(scheme, chosen);
        QTEST(palette.accent == chosen, "isKept");
        QVERIFY(contrastRatio(palette.accent, palette.cardBackground) >= 3);
        QVERIFY(palette.accent != palette.label);
    }

    void theFirstThatKnowsDecides_data()
    {
        QTest::addColumn<QVariantMap>("ofAll");
        QTest::addColumn<QVariantMap>("ofGnome");
        QTest::addColumn<QByteArray>("ofKde");
        QTest::addColumn<Appearance>("expected");
        const auto row = [](const char* name, const QVariantMap& ofAll, const QVariantMap& ofGnome,
                            const QByteArray& ofKde, const Appearance& expected) {
            QTest::newRow(name) << ofAll << ofGnome << ofKde << expected;
        };
        const QString scheme = u"color-scheme"_s;
        const QString motion = u"reduced-motion"_s;
        const QString animations = u"enable-animations"_s;
        const QByteArray kdeDark = "[Colors:Window]\nBackgroundNormal=42,46,50\n"
                                   "[General]\nAccentColor=61, 174,233\n";
        const QByteArray kdeStill = "[KDE]\nAnimationDurationFactor=0\n";
        const Appearance plain;
        const Appearance dark{.scheme = ColorScheme::dark};
        const Appearance still{.reducesMotion = true};
        const Appearance kdeLook{.scheme = ColorScheme::dark, .accent = QColor(61, 174, 233)};
        const Appearance redLook{.scheme = ColorScheme::dark, .accent = QColor(255, 0, 51)};

        row("nobody", {}, {}, "", plain);
        row("dark", {{scheme, 1U}}, {}, "", dark);
        row("light before GNOME", {{scheme, 2U}}, {{scheme, u"prefer-dark"_s}}, "", plain);
        row("GNOME", {{scheme, 0U}}, {{scheme, u"prefer-dark"_s}}, "", dark);
        row("GTK theme", {}, {{u"gtk-theme"_s, u"Adwaita-dark"_s}}, "", dark);
        row("KDE", {}, {{u"gtk-theme"_s, u"Adwaita"_s}}, kdeDark, kdeLook);
        row("KDE's others", {}, {}, "[Colors:View]\nBackgroundNormal=42,46,50\n", plain);
        row("accent", {{u"accent-color"_s, accent(1, 0, 0.2)}}, {}, kdeDark, redLook);
        row("no accent", {{u"accent-color"_s, accent(-1, 0, 0)}}, {}, "", plain);
        row("reduced motion", {{motion, 1U}}, {}, "", still);
        row("motion before GNOME", {{motion, 0U}}, {{animations, false}}, kdeStill, plain);
        row("GNOME's motion", {}, {{animations, false}}, "", still);
        row("KDE's motion", {}, {{animations, true}}, kdeStill, still);
        row("KDE's slow motion", {}, {}, "[KDE]\nAnimationDurationFactor=0.5\n", plain);
    }

    void theFirstThatKnowsDecides()
    {
        QFETCH(QVariantMap, ofAll);
        QFETCH(QVariantMap, ofGnome);
        QFETCH(QByteArray, ofKde);
        const QTemporaryDir folder;
        const QString file = folder.filePath(u"kdeglobals"_s);
        writeFile(file, ofKde);
        const Portal portal({{common, ofAll}, {gnome, ofGnome}});
        const LinuxAppearance appearance(QDBusConnection::sessionBus(), file);
        QVERIFY(portalHasAnswered());
        QTEST(appearance.current(), "expected");
    }

    void aChangeIsHeardAtOnce()
    {
        Portal portal({{common, {{u"color-scheme"_s, 1U}}}});
        LinuxAppearance appearance(QDBusConnection::sessionBus(), QString());
        QTRY_COMPARE(appearance.current().scheme, ColorScheme::dark);
        int changes = 0;
        appearance.onChange = [&] { ++changes; };
        emit portal.SettingChanged(u"org.kde.kdeglobals.General"_s, u"color-scheme"_s,
                                   QDBusVariant(2U));
        emit portal.SettingChanged(common, u"color-scheme"_s, QDBusVariant(2U));
        QTRY_COMPARE(appearance.current().scheme, ColorScheme::light);
        emit portal.SettingChanged(common, u"accent-color"_s, QDBusVariant(accent(0, 1, 0)));
        QTRY_COMPARE(appearance.current().accent, QColor(0, 255, 0));
        emit portal.SettingChanged(gnome, u"enable-animations"_s, QDBusVariant(false));
        QTRY_VERIFY(appearance.current().reducesMotion);
        QCOMPARE(changes, 3);
    }

    void nobodyWaitsForALateAndSlowPortal()
    {
        const LinuxAppearance appearance(QDBusConnection::sessionBus(), QString());
        Portal portal({{common, {{u"color-scheme"_s, 1U}}}});
        portal.isSlow = true;
        QTRY_VERIFY(portal.question);
        QCOMPARE(appearance.current(), Appearance());
        portal.answer();
        QTRY_COMPARE(appearance.current().scheme, ColorScheme::dark);
    }

    void qtsOwnColoursAreFollowed_data()
    {
        QTest::addColumn<QDBusConnection>("bus");
        QTest::newRow("no portal") << QDBusConnection::sessionBus();
        QTest::newRow("no bus") << QDBusConnection::connectToBus(u"unix:path=/none"_s, u"none"_s);
    }

    void qtsOwnColoursAreFollowed()
    {
        QFETCH(QDBusConnection, bus);
        // Qt's own remark about a name that changed hands meanwhile is none of our doing.
        QTest::failOnWarning(QRegularExpression(u"^(?!QDBusConnection: name)."_s));
        const LinuxAppearance appearance(bus, QString());
        QCOMPARE(appearance.current(), Appearance());
        QGuiApplication::setPalette(qtPalette(ColorScheme::dark));
        QTRY_COMPARE(appearance.current().scheme, ColorScheme::dark);
    }

    void kdesFileIsWatched()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(u"kdeglobals"_s);
        const LinuxAppearance appearance(QDBusConnection::sessionBus(), file);
        const QString replacement = file + u".new"_s;
        const QByteArray key = "[Colors:Window]\nBackgroundNormal=";
        for (int round = 0; round < 2; ++round) {
            writeFile(replacement, key + "0,0,0");
            QCOMPARE(std::rename(qPrintable(replacement), qPrintable(file)), 0);
            QTRY_COMPARE(appearance.current().scheme, ColorScheme::dark);
            writeFile(replacement, key + "255,255,255");
            QCOMPARE(std::rename(qPrintable(replacement), qPrintable(file)), 0);
            QTRY_COMPARE(appearance.current().scheme, ColorScheme::light);
            writeFile(file, key + "1,1,1");
            QTRY_COMPARE(appearance.current().scheme, ColorScheme::dark);
            QVERIFY(QFile::remove(file));
            QTRY_COMPARE(appearance.current().scheme, ColorScheme::light);
        }
    }

    void theRealPortalIsUnderstood()
    {
        qputenv("GSETTINGS_BACKEND", "keyfile");
        set({u"color-scheme"_s, u"prefer-dark"_s});
        QProcess backend;
        QProcess portal;
        backend.start(u"/usr/libexec/xdg-desktop-portal-gtk"_s, QStringList());
        QTRY_VERIFY_WITH_TIMEOUT(isOwned(u"org.freedesktop.impl.portal.desktop.gtk"_s), patience);
        portal.start(u"/usr/libexec/xdg-desktop-portal"_s, QStringList());
        const LinuxAppearance appearance(QDBusConnection::sessionBus(), QString());
        const Appearance dark{.scheme = ColorScheme::dark};
        QTRY_COMPARE_WITH_TIMEOUT(appearance.current(), dark, patience);
        set({u"enable-animations"_s, u"false"_s});
        QTRY_VERIFY_WITH_TIMEOUT(appearance.current().reducesMotion, patience);
        set({u"color-scheme"_s, u"default"_s});
        QTRY_COMPARE_WITH_TIMEOUT(appearance.current().scheme, ColorScheme::light, patience);
        for (QProcess* process : {&portal, &backend}) {
            process->kill();
            process->waitForFinished();
        }
    }

private:
    static constexpr int patience = 20'000; // milliseconds

    static QColor onCard(const QColor& color, double alpha, const Palette& palette)
    {
        QImage pixel(1, 1, QImage::Format_RGB32);
        pixel.fill(palette.cardBackground);
        QPainter painter(&pixel);
        painter.setOpacity(alpha);
        painter.fillRect(pixel.rect(), color);
        painter.end();
        return pixel.pixelColor(0, 0);
    }

    /// Answers arrive in the order of their questions.
    static bool portalHasAnswered()
    {
        QDBusMessage question
            = QDBusMessage::createMethodCall(portalName, u"/org/freedesktop/portal/desktop"_s,
                                             u"org.freedesktop.portal.Settings"_s, u"ReadAll"_s);
        question << QStringList();
        const QDBusPendingCallWatcher watcher(QDBusConnection::sessionBus().asyncCall(question));
        return QSignalSpy(&watcher, &QDBusPendingCallWatcher::finished).wait();
    }

    static bool isOwned(const QString& name)
    {
        return QDBusConnection::sessionBus().interface()->isServiceRegistered(name).value();
    }

    /// Sets a key of GNOME's interface settings.
    static void set(const QStringList& keyAndValue)
    {
        QCOMPARE(QProcess::execute(u"gsettings"_s, QStringList{u"set"_s, gnome} + keyAndValue), 0);
    }
};

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    if (qEnvironmentVariableIsEmpty("DESKTOP_MARK"))
        qFatal("Not in a private desktop session: this changes its settings.");
    AppearanceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AppearanceTest.moc"
