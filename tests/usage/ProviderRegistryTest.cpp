#include "usage/ProviderRegistry.h"

#include "platform/PreferenceStore.h"
#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QStringList ids(const QList<ProviderDefinition>& rows)
{
    QStringList ids;
    for (const ProviderDefinition& row : rows)
        ids.append(row.id);
    return ids;
}

} // namespace

class ProviderRegistryTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_preferences
            = std::make_unique<PreferenceStore>(m_folder->filePath(u"preferences.json"_s));
        m_registry = std::make_unique<ProviderRegistry>(*m_preferences, m_folder->path());
    }

    void rowsFollowTheUsersOrder_data()
    {
        QTest::addColumn<QStringList>("order");
        QTest::addColumn<QStringList>("visible");
        const QString calendar = u"calendar"_s, notes = u"notes"_s, claude = u"claude"_s,
                      codex = u"codex"_s;
        QTest::newRow("none") << QStringList() << QStringList{calendar, notes, claude, codex};
        QTest::newRow("some") << QStringList{codex, calendar}
                              << QStringList{codex, calendar, notes, claude};
        QTest::newRow("unknown, hidden and repeated ids")
            << QStringList{u"x"_s, u"zai"_s, claude, codex, claude}
            << QStringList{claude, codex, calendar, notes};
    }

    void rowsFollowTheUsersOrder()
    {
        QFETCH(QStringList, order);
        QVERIFY(m_registry->setTodayOrder(order));
        QCOMPARE(m_registry->todayOrder(), order);
        QTEST(ids(m_registry->visible()), "visible");
    }

    void connectionsDecideUntilTheUserDoes()
    {
        const QString calendar = u"calendar"_s, claude = u"claude"_s, codex = u"codex"_s;
        QVERIFY(m_registry->isEnabled(calendar));
        QVERIFY(!m_registry->isEnabled(claude));
        writeFile(m_folder->filePath(u"codex-usage.json"_s), "broken");
        QVERIFY(m_registry->hasConnected(codex));
        QVERIFY(m_registry->isEnabled(codex));
        QVERIFY(!m_registry->isEnabled(claude));
        QVERIFY(!m_registry->isEnabled(calendar));

        QVERIFY(m_registry->setEnabled(codex, false));
        QVERIFY(m_registry->setEnabled(calendar, true));
        QVERIFY(!m_registry->isEnabled(codex));
        QVERIFY(m_registry->isEnabled(calendar));
        QCOMPARE(m_preferences->boolean(u"provider.codex.enabled"_s), false);
        QVERIFY(m_registry->removeSwitch(codex));
        QVERIFY(m_registry->isEnabled(codex));
        // A value that is no boolean is no choice.
        QVERIFY(m_preferences->setText(u"provider.codex.enabled"_s, u"false"_s));
        QVERIFY(m_registry->isEnabled(codex));

        for (const QString& id : {u"notes"_s, u"grok"_s, u"unknown"_s}) {
            QVERIFY(!m_registry->hasConnected(id));
            QVERIFY(!m_registry->isEnabled(id));
        }
    }

    void hiddenRowsAreNotRun()
    {
        QVERIFY(m_registry->setEnabled(u"zai"_s, true));
        QVERIFY(m_registry->enabledSnapshotProviders().isEmpty());
        QVERIFY(ids(ProviderRegistry::all()).contains(u"zai"_s));
    }

    void demoHasEverythingOn()
    {
        const ProviderRegistry demo(*m_preferences, m_folder->path(), true);
        QVERIFY(demo.isEnabled(u"claude"_s));
        QVERIFY(demo.isEnabled(u"calendar"_s));
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PreferenceStore> m_preferences;
    std::unique_ptr<ProviderRegistry> m_registry;
};

QTEST_GUILESS_MAIN(ProviderRegistryTest)
#include "ProviderRegistryTest.moc"
