#include "usage/ProviderRegistry.h"

#include "platform/PreferenceStore.h"
#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString calendar = u"calendar"_s;
const QString notes = u"notes"_s;
const QString claude = u"claude"_s;
const QString codex = u"codex"_s;
const QString zai = u"zai"_s;

} // namespace

class ProviderRegistryTest : public QObject {
    Q_OBJECT

private slots:
    void furtherRowsAreOfferedOnRequest()
    {
        const auto offered = [this](const char* id) {
            return std::ranges::any_of(m_registry.visible(), [id](const ProviderDefinition& row) {
                return row.id == QLatin1StringView(id);
            });
        };
        QVERIFY(!offered("zai"));
        m_preferences.setTexts(u"releasedProviders"_s, {u"zai"_s, u"unheard-of"_s});
        QVERIFY(offered("zai") && !offered("ollama"));
        m_registry.offer({u"ollama"_s});
        QVERIFY(offered("zai") && offered("ollama") && !offered("copilot"));
        m_registry.offer({u"all"_s});
        QVERIFY(offered("copilot") && !offered("devin")); // nobody can read that one
        m_registry.offer({});
        m_preferences.remove(u"releasedProviders"_s);
    }

    void rowsFollowTheUsersOrder()
    {
        const std::pair<QStringList, QStringList> rows[]{
            {{}, {calendar, notes, claude, codex}},
            {{codex, calendar}, {codex, calendar, notes, claude}},
            {{u"x"_s, zai, claude, codex, claude}, {claude, codex, calendar, notes}},
        };
        for (const auto& [order, visible] : rows) {
            QVERIFY(m_registry.setTodayOrder(order));
            QCOMPARE(m_registry.todayOrder(), order);
            QStringList ids;
            for (const ProviderDefinition& row : m_registry.visible())
                ids.append(row.id);
            QCOMPARE(ids, visible);
        }
        QVERIFY(m_registry.setEnabled(zai, true)); // known, but not offered
        QVERIFY(m_registry.enabledSnapshotProviders().isEmpty());
    }

    void connectionsDecideUntilTheUserDoes()
    {
        QVERIFY(m_registry.isEnabled(calendar));
        QVERIFY(!m_registry.isEnabled(claude));
        writeFile(m_folder.filePath(u"codex-usage.json"_s), "broken");
        QVERIFY(m_registry.isEnabled(codex));
        QVERIFY(!m_registry.isEnabled(claude));
        QVERIFY(!m_registry.isEnabled(calendar));

        QVERIFY(m_registry.setEnabled(codex, false));
        QVERIFY(m_registry.setEnabled(calendar, true));
        QVERIFY(!m_registry.isEnabled(codex));
        QVERIFY(m_registry.isEnabled(calendar));
        QCOMPARE(m_preferences.boolean(u"provider.codex.enabled"_s), false);
        QVERIFY(m_registry.removeSwitch(codex));
        QVERIFY(m_registry.isEnabled(codex));
        // A value that is no boolean is no choice.
        QVERIFY(m_preferences.setText(u"provider.codex.enabled"_s, u"false"_s));
        QVERIFY(m_registry.isEnabled(codex));
        for (const QString& id : {notes, u"grok"_s, u"unknown"_s})
            QVERIFY(!m_registry.hasConnected(id) && !m_registry.isEnabled(id));

        const ProviderRegistry demo(m_preferences, m_folder.path(), true);
        QVERIFY(demo.isEnabled(claude) && demo.isEnabled(codex));
    }

private:
    QTemporaryDir m_folder;
    PreferenceStore m_preferences{m_folder.filePath(u"preferences.json"_s)};
    ProviderRegistry m_registry{m_preferences, m_folder.path()};
};

QTEST_GUILESS_MAIN(ProviderRegistryTest)
#include "ProviderRegistryTest.moc"
