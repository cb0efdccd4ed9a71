#include "app/FirstRun.h"
#include "app/PreferenceMigration.h"

#include "platform/PreferenceStore.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class FirstStartTest : public QObject {
    Q_OBJECT

private slots:
    void systemColourIsResetOnce()
    {
        const QTemporaryDir folder;
        PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
        for (const bool isFirst : {true, false}) {
            preferences.setText(u"palette.system"_s, u"#112233"_s);
            preferences.setText(u"palette.claude"_s, u"#445566"_s);
            preferences.setBoolean(u"systemColorMatchesTheme"_s, true);
            migratePreferences(preferences);
            QCOMPARE(preferences.text(u"palette.system"_s).has_value(), !isFirst);
            QCOMPARE(preferences.text(u"palette.claude"_s), u"#445566"_s);
            QCOMPARE(preferences.boolean(u"systemColorMatchesTheme"_s), !isFirst);
            QCOMPARE(preferences.boolean(u"systemColorResetToWhite"_s), true);
        }
    }

    void onlyNewcomersAreWelcomed()
    {
        const QTemporaryDir folder;
        PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
        preferences.setBoolean(u"systemColorResetToWhite"_s, true);
        preferences.setText(u"cardCharacter.claude"_s, u"rex"_s);
        QCOMPARE(firstRun(preferences), FirstRun::newcomer);
        preferences.setBoolean(u"provider.codex.enabled"_s, false);
        QCOMPARE(firstRun(preferences), FirstRun::knownUser);
        preferences.remove(u"provider.codex.enabled"_s);
        preferences.setText(u"menuCharacter"_s, u"rex"_s);
        QCOMPARE(firstRun(preferences), FirstRun::knownUser);
        preferences.setBoolean(u"welcomeDone"_s, true);
        QCOMPARE(firstRun(preferences), FirstRun::welcomed);
    }
};

QTEST_GUILESS_MAIN(FirstStartTest)
#include "FirstStartTest.moc"
