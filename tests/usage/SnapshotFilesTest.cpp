#include "usage/SnapshotFiles.h"

#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const Date now{1'795'376'898s};

const QString connectText = u"Connect Claude Code to receive usage"_s;
const QString waitingText = u"Waiting for Claude Code data"_s;
const QString noCodexText = u"No Codex limits yet. Please log in: run codex login"_s;
const QString unreadableCodexText = u"Can't read Codex. Please log in: run codex login"_s;

} // namespace

class SnapshotFilesTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void claudeLimitsAreRead()
    {
        writeFile(path(u"claude-usage.json"_s), R"({"observed_at": 1795376890.5, "sessions": {},
            "rate_limits": {
                "seven_day": {"used_percentage": 41, "resets_at": 1795778152, "seen_at": 1795370000},
                "five_hour": {"used_percentage": 23.5, "resets_at": 1795385352.25},
                "spend_limit": {"used_percentage": 5}}})");
        const ServiceUsage usage = claudeUsage(m_folder->path());
        QCOMPARE(usage.id, u"claude"_s);
        QCOMPARE(usage.name, u"Claude"_s);
        QCOMPARE(usage.freshnessSeconds, 900.0);
        QCOMPARE(usage.observed, Date(1'795'376'890'500ms));
        QCOMPARE(usage.error, std::nullopt);
        const QList<LimitWindow> expected{
            {u"5-hour"_s, 76.5, Date(1'795'385'352'250ms), {}},
            {u"Weekly"_s, 59, Date(1'795'778'152s), Date(1'795'370'000s)},
        };
        QCOMPARE(usage.windows, expected);
    }

    void brokenClaudeSnapshotsSayWhy_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("error");
        QTest::newRow("empty") << ""_ba << connectText;
        QTest::newRow("cut short") << R"({"rate_limits": {"five_hour": {)"_ba << connectText;
        QTest::newRow("list") << "[]"_ba << connectText;
        QTest::newRow("nested deep") << QByteArray(1'000'000, '[') << connectText;
        QTest::newRow("not a number")
            << R"({"rate_limits": {"five_hour": {"used_percentage": NaN}}})"_ba << connectText;
        QTest::newRow("no limits") << R"({"rate_limits": {}})"_ba << waitingText;
        QTest::newRow("null") << R"({"rate_limits": null})"_ba << waitingText;
        QTest::newRow("limits of other types")
            << R"({"rate_limits": {"five_hour": {"used_percentage": "23"}, "seven_day": 5}})"_ba
            << waitingText;
        QTest::newRow("truth is no number")
            << R"({"rate_limits": {"five_hour": {"used_percentage": true}}})"_ba << waitingText;
    }

    void brokenClaudeSnapshotsSayWhy()
    {
        QFETCH(QByteArray, data);
        writeFile(path(u"claude-usage.json"_s), data);
        const ServiceUsage usage = claudeUsage(m_folder->path());
        QVERIFY(usage.windows.isEmpty());
        QTEST(usage.error.value_or(QString()), "error");
    }

    void whatIsNoReadableFileIsAsGoodAsMissing()
    {
        QCOMPARE(claudeUsage(m_folder->path()).error, connectText);
        QCOMPARE(savedCodexUsage(m_folder->path()).error, std::nullopt);
        QVERIFY(savedCodexUsage(m_folder->path()).windows.isEmpty());

        const QString claude = path(u"claude-usage.json"_s);
        const QString zai = path(u"zai-usage.json"_s);
        const ProviderDefinition provider = *ProviderRegistry::definition(u"zai"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(claude).constData(), 0600), 0);
        QCOMPARE(::mkdir(QFile::encodeName(zai).constData(), 0700), 0);
        QCOMPARE(claudeUsage(m_folder->path()).error, connectText);
        QCOMPARE(savedSnapshotUsage(m_folder->path(), provider).error, u"Waiting for Z.ai usage"_s);

        const QString codex = path(u"codex-usage.json"_s);
        writeFile(codex, R"({"error": "login"})", 0000);
        QCOMPARE(savedCodexUsage(m_folder->path()).error, std::nullopt);
        ::chmod(QFile::encodeName(codex).constData(), 0600);
        QFile huge(codex);
        QVERIFY(huge.resize(100LL << 20)); // takes no space
        QCOMPARE(savedCodexUsage(m_folder->path()).error, std::nullopt);
    }

    void percentagesStayWithinBounds_data()
    {
        QTest::addColumn<QByteArray>("used");
        QTest::addColumn<double>("remaining");
        QTest::newRow("beyond the limit") << "130.5"_ba << 0.0;
        QTest::newRow("negative") << "-3"_ba << 100.0;
        QTest::newRow("unrounded product") << "28.000000000000004"_ba << 100 - 28.000000000000004;
        QTest::newRow("beyond all numbers") << "1e308"_ba << 0.0;
    }

    void percentagesStayWithinBounds()
    {
        QFETCH(QByteArray, used);
        const QByteArray data
            = R"({"windows": [{"name": "Monthly", "used_percent": )" + used + "}]}";
        QTEST(snapshotUsage(u"zai"_s, u"Z.ai"_s, data).windows.value(0).remaining, "remaining");
    }

    void timesThatNoCalendarHoldsAreAbsent()
    {
        for (const QByteArray& time : {"1e300"_ba, "-1e300"_ba, "\"1795376898\""_ba, "null"_ba}) {
            const QByteArray data = R"({"observed_at": )" + time
                + R"(, "windows": [{"name": "x", "used_percent": 1, "resets_at": )" + time + "}]}";
            const ServiceUsage usage = snapshotUsage(u"zai"_s, u"Z.ai"_s, data);
            QCOMPARE(usage.windows.size(), 1);
            QCOMPARE(usage.windows.first().reset, std::nullopt);
            QCOMPARE(usage.observed, std::nullopt);
        }
    }

    void codexLimitsAreRead()
    {
        const QByteArray data = R"({"observed_at": 1795376890.25, "allowed": false, "windows": {
            "secondary": {"usedPercent": 13, "windowDurationMins": 10080, "resetsAt": 1795776970},
            "primary": {"usedPercent": 42, "windowDurationMins": 300, "resetsAt": 1795380570}}})";
        const ServiceUsage usage = codexUsage(data, now);
        QCOMPARE(usage.id, u"codex"_s);
        QCOMPARE(usage.name, u"Codex"_s);
        QCOMPARE(usage.freshnessSeconds, 180.0);
        QCOMPARE(usage.allowed, false);
        QCOMPARE(usage.observed, Date(1'795'376'890'250ms));
        QCOMPARE(usage.error, std::nullopt);
        const QList<LimitWindow> expected{
            {u"Short limit"_s, 58, Date(1'795'380'570s), {}},
            {u"Weekly"_s, 87, Date(1'795'776'970s), {}},
        };
        QCOMPARE(usage.windows, expected);
    }

    void codexLabelGoesByDuration_data()
    {
        QTest::addColumn<QByteArray>("duration");
        QTest::addColumn<QString>("label");
        QTest::newRow("six days") << "8640"_ba << u"Weekly"_s;
        QTest::newRow("a minute less") << "8639"_ba << u"Short limit"_s;
        QTest::newRow("a month") << "43200"_ba << u"Weekly"_s;
        QTest::newRow("unknown") << "null"_ba << u"Short limit"_s;
    }

    void codexLabelGoesByDuration()
    {
        QFETCH(QByteArray, duration);
        const QByteArray data
            = R"({"windows": {"primary": {"usedPercent": 1, "windowDurationMins": )" + duration
            + "}}}";
        QTEST(codexUsage(data, now).windows.value(0).name, "label");
    }

    void codexWithoutCurrentLimitsSaysSo()
    {
        const ServiceUsage stale = codexUsage(
            R"({"observed_at": 1795376718, "windows": {"primary": {"usedPercent": 42}}})", now);
        QCOMPARE(stale.windows.size(), 1);
        QCOMPARE(stale.error, noCodexText);
        QCOMPARE(codexUsage(R"({"windows": {}})", now).error, noCodexText);
        QCOMPARE(codexUsage(R"({"windows": {"primary": null, "secondary": []}})", now).error,
                 noCodexText);
        // A second younger, and the same figures are fresh.
        QCOMPARE(
            codexUsage(
                R"({"observed_at": 1795376719, "windows": {"primary": {"usedPercent": 42}}})", now)
                .error,
            std::nullopt);
    }

    void codexErrorsHideTheLimits_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("error");
        QTest::newRow("no JSON") << "{"_ba << unreadableCodexText;
        QTest::newRow("list") << "[]"_ba << unreadableCodexText;
        QTest::newRow("no text") << R"({"error": 401})"_ba << unreadableCodexText;
        QTest::newRow("login")
            << R"({"error": "Not logged in", "windows": {"primary": {"usedPercent": 1}}})"_ba
            << u"Please log in to Codex: run codex login"_s;
    }

    void codexErrorsHideTheLimits()
    {
        QFETCH(QByteArray, data);
        const ServiceUsage usage = codexUsage(data, now);
        QVERIFY(usage.windows.isEmpty());
        QTEST(usage.error.value_or(QString()), "error");
    }

    void providerSnapshotsSayWhatIsWrong_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("windows");
        QTest::addColumn<QString>("error");
        const QByteArray window = R"("windows": [{"name": "5-hour", "used_percent": 20}])";
        QTest::newRow("fine") << "{"_ba + window + "}" << 1 << QString();
        QTest::newRow("error beside limits")
            << R"({"error": "Key expired", )"_ba + window + "}" << 1 << u"Key expired"_s;
        QTest::newRow("error alone") << R"({"error": "Key expired"})"_ba << 0 << u"Key expired"_s;
        QTest::newRow("empty error") << R"({"error": ""})"_ba << 0 << u"No Z.ai limits reported"_s;
        QTest::newRow("nothing") << "{}"_ba << 0 << u"No Z.ai limits reported"_s;
        QTest::newRow("windows of another shape")
            << R"({"windows": {"name": "x", "used_percent": 1}})"_ba << 0
            << u"No Z.ai limits reported"_s;
        QTest::newRow("a key twice")
            << R"({"windows": [], "windows": []})"_ba << 0 << u"No Z.ai limits reported"_s;
        QTest::newRow("no object") << "null"_ba << 0 << u"Could not read Z.ai usage"_s;
        QTest::newRow("empty") << ""_ba << 0 << u"Could not read Z.ai usage"_s;
    }

    void providerSnapshotsSayWhatIsWrong()
    {
        QFETCH(QByteArray, data);
        const ServiceUsage usage = snapshotUsage(u"zai"_s, u"Z.ai"_s, data);
        QCOMPARE(usage.freshnessSeconds, 900.0);
        QTEST(int(usage.windows.size()), "windows");
        QTEST(usage.error.value_or(QString()), "error");
    }

    void savedProviderSnapshots()
    {
        const ProviderDefinition ollama = *ProviderRegistry::definition(u"ollama"_s);
        QCOMPARE(savedSnapshotUsage(m_folder->path(), ollama).error, u"Waiting for Ollama usage"_s);
        writeFile(path(u"ollama-usage.json"_s), R"({"observed_at": 1795376898, "windows": [
            {"name": "Session", "used_percent": 10, "resets_at": 1795380570},
            {"name": "Weekly", "used_percent": 99.5}, {"name": "Broken"}]})");
        const ServiceUsage usage = savedSnapshotUsage(m_folder->path(), ollama);
        QCOMPARE(usage.name, u"Ollama"_s);
        QCOMPARE(usage.error, std::nullopt);
        const QList<LimitWindow> expected{
            {u"Session"_s, 90, Date(1'795'380'570s), {}},
            {u"Weekly"_s, 0.5, {}, {}},
        };
        QCOMPARE(usage.windows, expected);
        QCOMPARE(
            savedSnapshotUsage(m_folder->path(), *ProviderRegistry::definition(u"grok"_s)).error,
            u"No usage source available yet"_s);
    }

private:
    QString path(const QString& name) const { return m_folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(SnapshotFilesTest)
#include "SnapshotFilesTest.moc"
