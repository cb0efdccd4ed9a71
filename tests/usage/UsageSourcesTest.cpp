#include "usage/UsageSources.h"

#include "platform/PreferenceStore.h"
#include "tests/support/TestFiles.h"
#include "usage/CodexSnapshot.h"
#include "usage/SnapshotFiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class UsageSourcesTest : public QObject {
    Q_OBJECT

private slots:
    void failedReadsKeepWhatIsKnownAndALogoutIsRemembered()
    {
        QCOMPARE(read("offline").error, CodexSnapshot::message(QString()));
        QVERIFY(!QFileInfo::exists(m_codexFile));
        QCOMPARE(read("Not logged in").error, CodexSnapshot::loginMessage());
        QCOMPARE(contentsOf(m_codexFile), R"({"windows":{}})");
        QCOMPARE(permissionsOf(m_codexFile), 0600);

        // Once connected, any failure keeps what was known.
        const QByteArray saved
            = R"({"observed_at": 1795376000, "windows": {"primary": {"usedPercent": 42}}})";
        writeFile(m_codexFile, saved);
        const ServiceUsage known = savedCodexUsage(m_registry.supportDirectory());
        for (const char* failure : {"Not logged in", "offline"}) {
            QCOMPARE(read(failure).windows, known.windows);
            QCOMPARE(read(failure).observed, known.observed);
            QCOMPARE(contentsOf(m_codexFile), saved);
        }
        QVERIFY(QFile::remove(m_codexFile));
    }

    void firstContactIsForNewcomersWithCodexInstalled()
    {
        qputenv("HOME", QFile::encodeName(m_folder.path()));
        qputenv("PATH", QFile::encodeName(m_folder.path()));
        QVERIFY(!isCodexFirstContact(m_registry));
        writeFile(m_folder.filePath(u"codex"_s), "#!/bin/sh\n", 0700);
        QVERIFY(isCodexFirstContact(m_registry));
        QVERIFY(m_registry.setEnabled(u"codex"_s, false));
        QVERIFY(!isCodexFirstContact(m_registry));
        QVERIFY(m_registry.removeSwitch(u"codex"_s));
        writeFile(m_codexFile, "");
        QVERIFY(!isCodexFirstContact(m_registry));
    }

private:
    ServiceUsage read(const char* failure) const
    {
        return codexReadUsage(m_registry, R"({"error": ")"_ba + failure + R"("})");
    }

    QTemporaryDir m_folder;
    PreferenceStore m_preferences{m_folder.filePath(u"preferences.json"_s)};
    ProviderRegistry m_registry{m_preferences, m_folder.filePath(u"support"_s)};
    QString m_codexFile = m_folder.filePath(u"support/codex-usage.json"_s);
};

QTEST_GUILESS_MAIN(UsageSourcesTest)
#include "UsageSourcesTest.moc"
