#include "usage/UsageSources.h"

#include "platform/PreferenceStore.h"
#include "tests/support/TestFiles.h"
#include "usage/CodexSnapshot.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const Date now{1'795'376'898s};

} // namespace

class UsageSourcesTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_preferences
            = std::make_unique<PreferenceStore>(m_folder->filePath(u"preferences.json"_s));
        m_registry
            = std::make_unique<ProviderRegistry>(*m_preferences, m_folder->filePath(u"support"_s));
        m_codexFile = m_folder->filePath(u"support/codex-usage.json"_s);
    }

    void failedReadsKeepTheKnownLimits()
    {
        QVERIFY(QDir(m_folder->path()).mkdir(u"support"_s));
        const QByteArray saved
            = R"({"observed_at": 1795376000, "windows": {"primary": {"usedPercent": 42}}})";
        writeFile(m_codexFile, saved);
        for (const QByteArray& failure : {"Not logged in"_ba, "offline"_ba}) {
            const ServiceUsage usage
                = codexReadUsage(*m_registry, "{\"error\": \"" + failure + "\"}", now);
            QCOMPARE(usage.windows.size(), 1);
            QCOMPARE(usage.windows.first().remaining, 58.0);
            QCOMPARE(usage.observed, Date(1'795'376'000s));
            QCOMPARE(usage.error, CodexSnapshot::message(QString::fromUtf8(failure)));
            QCOMPARE(contentsOf(m_codexFile), saved);
        }
    }

    void neverConnectedAndLoggedOutLeavesAnEmptySnapshot()
    {
        QCOMPARE(codexReadUsage(*m_registry, R"({"error": "offline"})", now).error,
                 CodexSnapshot::message(QString()));
        QVERIFY(!QFileInfo::exists(m_codexFile));
        const ServiceUsage usage
            = codexReadUsage(*m_registry, R"({"error": "Not logged in"})", now);
        QCOMPARE(usage.error, CodexSnapshot::loginMessage());
        QCOMPARE(contentsOf(m_codexFile), R"({"windows":{}})");
        QCOMPARE(permissionsOf(m_codexFile), 0600);
    }

    void firstContactIsForNewcomersWithCodexInstalled()
    {
        QVERIFY(QDir(m_folder->path()).mkpath(u"support"_s));
        qputenv("HOME", QFile::encodeName(m_folder->path()));
        qputenv("PATH", QFile::encodeName(m_folder->path()));
        QVERIFY(!isCodexFirstContact(*m_registry));
        writeFile(m_folder->filePath(u"codex"_s), "#!/bin/sh\n", 0700);
        QVERIFY(isCodexFirstContact(*m_registry));
        QVERIFY(m_registry->setEnabled(u"codex"_s, false));
        QVERIFY(!isCodexFirstContact(*m_registry));
        QVERIFY(m_registry->removeSwitch(u"codex"_s));
        writeFile(m_codexFile, "");
        QVERIFY(!isCodexFirstContact(*m_registry));
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PreferenceStore> m_preferences;
    std::unique_ptr<ProviderRegistry> m_registry;
    QString m_codexFile;
};

QTEST_GUILESS_MAIN(UsageSourcesTest)
#include "UsageSourcesTest.moc"
