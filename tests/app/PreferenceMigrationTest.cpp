#include "app/PreferenceMigration.h"

#include "platform/PreferenceStore.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class PreferenceMigrationTest : public QObject {
    Q_OBJECT

private slots:
    void systemColourIsResetOnce()
    {
        const QTemporaryDir folder;
        PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
        preferences.setText(u"palette.system"_s, u"#112233"_s);
        preferences.setText(u"palette.claude"_s, u"#445566"_s);
        preferences.setBoolean(u"systemColorMatchesTheme"_s, true);
        migratePreferences(preferences);
        QVERIFY(!preferences.text(u"palette.system"_s));
        QCOMPARE(preferences.text(u"palette.claude"_s), u"#445566"_s);
        QCOMPARE(preferences.boolean(u"systemColorMatchesTheme"_s), false);
        QCOMPARE(preferences.boolean(u"systemColorResetToWhite"_s), true);

        preferences.setText(u"palette.system"_s, u"#778899"_s);
        preferences.setBoolean(u"systemColorMatchesTheme"_s, true);
        migratePreferences(preferences);
        QCOMPARE(preferences.text(u"palette.system"_s), u"#778899"_s);
        QCOMPARE(preferences.boolean(u"systemColorMatchesTheme"_s), true);
    }
};

QTEST_GUILESS_MAIN(PreferenceMigrationTest)
#include "PreferenceMigrationTest.moc"
