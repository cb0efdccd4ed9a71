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
};

QTEST_GUILESS_MAIN(PreferenceMigrationTest)
#include "PreferenceMigrationTest.moc"
