#include "characters/ThemeFile.h"

#include "platform/PreferenceStore.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// A theme in good order with the menu's first frame and its "default" character to be chosen, all
/// written with single quotes.
QByteArray themeData(const QByteArray& id, const QByteArray& frame = "['C']",
                     const QByteArray& character = "{'color': '#123456', 'frames': [['CW']]}")
{
    const QByteArray data = "{'id': '" + id
        + "', 'name': 'N', 'mascotColor': '#111111', 'menu': {'active': [" + frame
        + ", ['D']], 'tired': null, 'idle': [['W']]}, 'characters': {'default': " + character
        + "}}";
    return QByteArray(data).replace('\'', '"');
}

bool isGood(const QByteArray& data)
{
    const std::optional<PixelTheme> theme = themeFromJson(data);
    return theme && theme->isValid();
}

} // namespace

class ThemeFileTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_preferences = std::make_unique<PreferenceStore>(path(u"preferences.json"_s));
    }

    void onlyThemesInGoodOrderAreTaken_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<bool>("good");
        const auto with = [](const QByteArray& before, const QByteArray& after) {
            return themeData("x").replace(QByteArray(before).replace('\'', '"'),
                                          QByteArray(after).replace('\'', '"'));
        };
        const auto frame = [](const QByteArray& rows) { return themeData("x", rows); };
        const auto character = [](const QByteArray& more, const QByteArray& letters = "CW") {
            return themeData("x", "['C']",
                             "{'color': '', 'frames': [['..', '" + letters + "']]" + more + "}");
        };
        const QByteArray row12 = "'CCCCCCCCCCCC'";
        const QByteArray twelve = "[" + (row12 + ",").repeated(11) + row12 + "]";
        QTest::newRow("usual") << themeData("x") << true;
        QTest::newRow("no id") << themeData("") << false;
        QTest::newRow("id of another type") << with("'x'", "7") << false;
        QTest::newRow("no default") << with("default", "other") << false;
        QTest::newRow("tired left empty") << with("null", "[]") << true;
        QTest::newRow("tired frame without rows") << with("null", "[[]]") << false;
        QTest::newRow("tired as text") << with("null", "'C'") << false;
        QTest::newRow("one active frame") << with(", ['D']", "") << false;
        QTest::newRow("no idle frame") << with("[['W']]", "[]") << false;
        QTest::newRow("no frames") << with("[['CW']]", "[]") << false;
        QTest::newRow("12 by 12") << frame(twelve) << true;
        QTest::newRow("13 rows") << frame("[" + row12 + "," + twelve.sliced(1)) << false;
        QTest::newRow("13 columns") << frame("['CCCCCCCCCCCCC']") << false;
        QTest::newRow("uneven rows") << frame("['CC', 'C']") << false;
        QTest::newRow("empty row") << frame("['']") << false;
        QTest::newRow("menu has no palette") << frame("['A']") << false;
        QTest::newRow("unknown letter") << character("", "CX") << false;
        QTest::newRow("letter of its palette")
            << character(", 'palette': {'X': '#fff', 'long': ''}", "CX") << true;
        QTest::newRow("palette color as number") << character(", 'palette': {'X': 1}") << false;
        QTest::newRow("duration 0.08") << character(", 'frameDuration': 0.08") << true;
        QTest::newRow("duration 0.07") << character(", 'frameDuration': 0.07") << false;
        QTest::newRow("duration 2") << character(", 'frameDuration': 2") << true;
        QTest::newRow("duration 2.5") << character(", 'frameDuration': 2.5") << false;
        QTest::newRow("duration as text") << character(", 'frameDuration': '1'") << false;
        QTest::newRow("duration null") << character(", 'frameDuration': null") << true;
        QTest::newRow("cut short") << themeData("x").chopped(1) << false;
        QTest::newRow("too deep") << frame(QByteArray(100'000, '[')) << false;
    }

    void onlyThemesInGoodOrderAreTaken()
    {
        QFETCH(QByteArray, data);
        QTEST(isGood(data), "good");
    }

    void selectedThemeIsLookedForInOrder()
    {
        QCOMPARE(loaded(), u"fallback"_s);
        addTheme(u"shipped/original"_s, themeData("other id"));
        QCOMPARE(loaded(), u"other id"_s); // the last resort may be called anything
        addTheme(u"shipped/original"_s, themeData("original"));
        addTheme(u"shipped/night"_s, themeData("night", "['CC']"));
        QCOMPARE(loaded(), u"original"_s);

        m_preferences->setText(u"selectedTheme"_s, u"night"_s);
        QCOMPARE(loadedTheme().menu.active.first(), PixelFrame{u"CC"_s});
        addTheme(u"user/night"_s, themeData("night", "['CCC']"));
        QCOMPARE(loadedTheme().menu.active.first(), PixelFrame{u"CCC"_s});
        addTheme(u"user/night"_s, themeData("night", "['X']"));
        QCOMPARE(loadedTheme().menu.active.first(), PixelFrame{u"CC"_s});
        addTheme(u"user/night"_s, themeData("day")); // not what its folder says
        QCOMPARE(loadedTheme().menu.active.first(), PixelFrame{u"CC"_s});
        m_preferences->setText(u"selectedTheme"_s, u"gone"_s);
        QCOMPARE(loaded(), u"original"_s);
    }

    void filesThatAreNoUseArePassedOver()
    {
        addTheme(u"shipped/original"_s, themeData("original"));
        addTheme(u"user/secret"_s, themeData("secret"));
        m_preferences->setText(u"selectedTheme"_s, u"secret"_s);
        QCOMPARE(loaded(), u"secret"_s);
        QVERIFY(QFile::setPermissions(path(u"user/secret.theme/theme.json"_s), {}));
        QCOMPARE(loaded(), u"original"_s);

        // What would be found outside of the roots, or above them, is not.
        for (const QString& id : {u"../x"_s, u"sub/x"_s, u"y\\x"_s, u""_s, u".x"_s}) {
            addTheme(u"user/"_s + id, themeData(QByteArray(id.toUtf8()).replace("\\", "\\\\")));
            m_preferences->setText(u"selectedTheme"_s, id);
            QCOMPARE(loaded(), u"original"_s);
        }
    }

    void oversizedFilesAreNotRead()
    {
        addTheme(u"user/original"_s, themeData("original").append(255 << 10, ' '));
        QCOMPARE(loaded(), u"original"_s);
        addTheme(u"user/original"_s, themeData("original").append(256 << 10, ' '));
        QCOMPARE(loaded(), u"fallback"_s);
    }

private:
    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }
    [[nodiscard]] PixelTheme loadedTheme() const
    {
        return PixelTheme::loadSelected(*m_preferences, {path(u"user"_s), path(u"shipped"_s)});
    }
    [[nodiscard]] QString loaded() const { return loadedTheme().id; }
    void addTheme(const QString& name, const QByteArray& data) const
    {
        const QString folder = path(name + u".theme"_s);
        QVERIFY(QDir().mkpath(folder));
        writeFile(folder + u"/theme.json"_s, data);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PreferenceStore> m_preferences;
};

QTEST_GUILESS_MAIN(ThemeFileTest)
#include "ThemeFileTest.moc"
