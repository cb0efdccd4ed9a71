#include "usage/UsageDisplayMode.h"

#include "platform/PreferenceStore.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class UsageDisplayModeTest : public QObject {
    Q_OBJECT

private slots:
    void choiceIsKept()
    {
        const QTemporaryDir folder;
        PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
        QCOMPARE(savedDisplayMode(preferences), UsageDisplayMode::left);
        QVERIFY(saveDisplayMode(preferences, UsageDisplayMode::used));
        QCOMPARE(savedDisplayMode(preferences), UsageDisplayMode::used);
        QCOMPARE(preferences.text(u"usageDisplayMode"_s), u"used"_s);
        QVERIFY(preferences.setText(u"usageDisplayMode"_s, u"both"_s));
        QCOMPARE(savedDisplayMode(preferences), UsageDisplayMode::left);
    }

    void figureIsWhatIsLeftOrWhatWasUsed()
    {
        QCOMPARE(shownValue(UsageDisplayMode::left, 30), 30.0);
        QCOMPARE(shownValue(UsageDisplayMode::used, 30), 70.0);
        QCOMPARE(shownText(UsageDisplayMode::left, 76.5), u"77% left"_s);
        QCOMPARE(shownText(UsageDisplayMode::used, 76.6), u"23% used"_s);
    }
};

QTEST_GUILESS_MAIN(UsageDisplayModeTest)
#include "UsageDisplayModeTest.moc"
