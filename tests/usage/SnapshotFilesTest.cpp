#include "usage/SnapshotFiles.h"

#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const Date now{1'795'376'898s};

const QString connectText = u"Connect Claude Code to receive usage"_s;
const QString waitingText = u"Waiting for Claude Code data"_s;
const QString noCodexText = u"No Codex limits yet. Please log in: run codex login"_s;
const QString unreadableCodexText = u"Can't read Codex. Please log in: run codex login"_s;
const QString noZaiText = u"No Z.ai limits reported"_s;
const QString unreadableZaiText = u"Could not read Z.ai usage"_s;

/// What the reader for "claude", "codex" or "zai" makes of `data`.
ServiceUsage usageOf(const QString& id, const QByteArray& data)
{
    const QTemporaryDir folder;
    if (id == u"codex")
        return codexUsage(data, now);
    if (id == u"zai")
        return snapshotUsage(id, u"Z.ai"_s, data);
    writeFile(folder.filePath(u"claude-usage.json"_s), data);
    return claudeUsage(folder.path());
}

} // namespace

class SnapshotFilesTest : public QObject {
    Q_OBJECT

private slots:
    void limitsAreRead()
    {
        QCOMPARE(usageOf(u"claude"_s, R"({"observed_at": 1795376890.5, "sessions": {},
            "rate_limits": {
                "seven_day": {"used_percentage": 41, "resets_at": 1795778152, "seen_at": 1795370000},
                "five_hour": {"used_percentage": 23.5, "resets_at": 1795385352.25},
                "spend_limit": {"used_percentage": 5}}})"),
                 (ServiceUsage{
                     .id = u"claude"_s,
                     .name = u"Claude"_s,
                     .windows = {{u"5-hour"_s, 76.5, Date(1'795'385'352'250ms), {}},
                                 {u"Weekly"_s, 59, Date(1'795'778'152s), Date(1'795'370'000s)}},
                     .observed = Date(1'795'376'890'500ms),
                     .freshnessSeconds = 900,
                 }));
        QCOMPARE(
            usageOf(u"codex"_s, R"({"observed_at": 1795376890.25, "allowed": false, "windows": {
            "secondary": {"usedPercent": 13, "windowDurationMins": 10080, "resetsAt": 1795776970},
            "primary": {"usedPercent": 42, "windowDurationMins": 300, "resetsAt": 1795380570}}})"),
            (ServiceUsage{
                .id = u"codex"_s,
                .name = u"Codex"_s,
                .windows = {{u"Short limit"_s, 58, Date(1'795'380'570s), {}},
                            {u"Weekly"_s, 87, Date(1'795'776'970s), {}}},
                .observed = Date(1'795'376'890'250ms),
                .allowed = false,
                .freshnessSeconds = 180,
            }));
        QCOMPARE(usageOf(u"zai"_s, R"({"observed_at": 1795376898, "windows": [
            {"name": "Session", "used_percent": 10, "resets_at": 1795380570},
            {"name": "Weekly", "used_percent": 99.5}, {"name": "Broken"}]})"),
                 (ServiceUsage{
                     .id = u"zai"_s,
                     .name = u"Z.ai"_s,
                     .windows
                     = {{u"Session"_s, 90, Date(1'795'380'570s), {}}, {u"Weekly"_s, 0.5, {}, {}}},
                     .observed = now,
                     .freshnessSeconds = 900,
                 }));
    }

    void brokenSnapshotsSayWhy_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("windows");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* id, const char* data, int windows, const QString& error) {
            QTest::newRow(data) << QString::fromLatin1(id) << windows << error;
        };
        row("claude", R"({"rate_limits": {"five_hour": {)", 0, connectText);
        row("claude", "[]", 0, connectText);
        row("claude", R"({"rate_limits": {"five_hour": {"used_percentage": NaN}}})", 0,
            connectText);
        row("claude", R"({"rate_limits": {}})", 0, waitingText);
        row("claude", R"({"rate_limits": null})", 0, waitingText);
        row("claude", R"({"rate_limits": {"five_hour": {"used_percentage": "23"}}})", 0,
            waitingText);
        row("claude", R"({"rate_limits": {"five_hour": {"used_percentage": true}}})", 0,
            waitingText);
        row("codex", "{", 0, unreadableCodexText);
        row("codex", "[]", 0, unreadableCodexText);
        row("codex", R"({"error": 401})", 0, unreadableCodexText);
        row("codex", R"({"error": "Not logged in", "windows": {"primary": {"usedPercent": 1}}})", 0,
            u"Please log in to Codex: run codex login"_s);
        row("codex", R"({"windows": {}})", 0, noCodexText);
        row("codex", R"({"windows": {"primary": null, "secondary": []}})", 0, noCodexText);
        // 180 s old, and a second younger.
        row("codex", R"({"observed_at": 1795376718, "windows": {"primary": {"usedPercent": 4}}})",
            1, noCodexText);
        row("codex", R"({"observed_at": 1795376719, "windows": {"primary": {"usedPercent": 4}}})",
            1, {});
        row("zai", R"({"error": "Key expired", "windows": [{"name": "x", "used_percent": 2}]})", 1,
            u"Key expired"_s);
        row("zai", R"({"error": "Key expired"})", 0, u"Key expired"_s);
        row("zai", R"({"error": ""})", 0, noZaiText);
        row("zai", "{}", 0, noZaiText);
        row("zai", R"({"windows": {"name": "x", "used_percent": 1}})", 0, noZaiText);
        row("zai", R"({"windows": [], "windows": []})", 0, noZaiText);
        row("zai", "null", 0, unreadableZaiText);
        row("zai", "", 0, unreadableZaiText);
    }

    void brokenSnapshotsSayWhy()
    {
        QFETCH(QString, id);
        const ServiceUsage usage = usageOf(id, QTest::currentDataTag());
        QTEST(int(usage.windows.size()), "windows");
        QTEST(usage.error.value_or(QString()), "error");
    }

    void whatIsNoReadableFileIsAsGoodAsMissing()
    {
        const QTemporaryDir folder;
        const QString claude = folder.filePath(u"claude-usage.json"_s);
        const QString codex = folder.filePath(u"codex-usage.json"_s);
        const auto saved = [&](const QString& id) {
            return savedSnapshotUsage(folder.path(), *ProviderRegistry::definition(id)).error;
        };
        QCOMPARE(claudeUsage(folder.path()).error, connectText);
        QCOMPARE(savedCodexUsage(folder.path()),
                 (ServiceUsage{.id = u"codex"_s, .name = u"Codex"_s, .freshnessSeconds = 180}));
        QCOMPARE(saved(u"zai"_s), u"Waiting for Z.ai usage"_s);
        QCOMPARE(saved(u"grok"_s), u"No usage source available yet"_s);

        writeFile(folder.filePath(u"zai-usage.json"_s), "");
        QCOMPARE(saved(u"zai"_s), unreadableZaiText);
        QVERIFY(QDir(folder.path()).mkdir(u"ollama-usage.json"_s));
        QCOMPARE(saved(u"ollama"_s), u"Waiting for Ollama usage"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(claude).constData(), 0600), 0);
        QCOMPARE(claudeUsage(folder.path()).error, connectText);
        writeFile(codex, R"({"error": "login"})", 0000);
        QCOMPARE(savedCodexUsage(folder.path()).error, std::nullopt);
        ::chmod(QFile::encodeName(codex).constData(), 0600);
        QVERIFY(QFile::resize(codex, 100LL << 20)); // takes no space
        QCOMPARE(savedCodexUsage(folder.path()).error, std::nullopt);
        QCOMPARE(usageOf(u"claude"_s, QByteArray(1'000'000, '[')).error, connectText);
    }

    void numbersStayWithinBounds()
    {
        const std::pair<const char*, double> rows[]{
            {"130.5", 0},
            {"-3", 100},
            {"1e308", 0},
            {"28.000000000000004", 100 - 28.000000000000004}};
        for (const auto& [used, remaining] : rows) {
            const QByteArray data = R"({"windows": [{"used_percent": )"_ba + used + "}]}";
            QCOMPARE(usageOf(u"zai"_s, data).windows.value(0).remaining, remaining);
        }
        for (const char* time : {"1e300", "-1e300", "1e400", "\"1795376898\"", "null"}) {
            const ServiceUsage usage
                = usageOf(u"zai"_s,
                          R"({"windows": [{"used_percent": 1, "resets_at": )"_ba + time
                              + R"(}], "observed_at": )" + time + '}');
            QCOMPARE(usage.windows.value(0, {.reset = now}).reset, std::nullopt);
            QCOMPARE(usage.observed, std::nullopt);
        }
    }

    void codexLabelGoesByDuration()
    {
        const std::pair<const char*, QString> rows[]{{"8640", u"Weekly"_s},
                                                     {"8639", u"Short limit"_s},
                                                     {"43200", u"Weekly"_s},
                                                     {"null", u"Short limit"_s}};
        for (const auto& [duration, label] : rows) {
            const ServiceUsage usage
                = usageOf(u"codex"_s,
                          R"({"windows": {"primary": {"usedPercent": 1, "windowDurationMins": )"_ba
                              + duration + "}}}");
            QCOMPARE(usage.windows.value(0).name, label);
        }
    }
};

QTEST_GUILESS_MAIN(SnapshotFilesTest)
#include "SnapshotFilesTest.moc"
