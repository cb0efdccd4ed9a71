#include "app/StatusReport.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const Date now{1'795'376'898s}; // 2026-11-22 19:48:18 UTC

ServiceUsage claude(double remaining, Date reset = now + 1h)
{
    return {
        .id = u"claude"_s,
        .name = u"Claude"_s,
        .windows = {{u"5-hour"_s, remaining, reset, now - 10s}},
        .freshnessSeconds = 900,
    };
}

ServiceUsage failing(const QString& error)
{
    return {.id = u"codex"_s, .name = u"Codex"_s, .error = error, .freshnessSeconds = 180};
}

} // namespace

class StatusReportTest : public QObject {
    Q_OBJECT

private slots:
    void everyServiceHasOneLine()
    {
        ServiceUsage zai = claude(40, now - 1h);
        zai.name = u"Z.ai"_s;
        zai.windows.append({u"Week\nly"_s, 50, {}, now - 3h});
        zai.error = u"Key\x1b[31m expired\n soon"_s;
        const QLocale german(QLocale::German, QLocale::Germany);
        QCOMPARE(statusReport({claude(76.5), zai, failing(u"Not logged in"_s)},
                              UsageDisplayMode::used, german, now),
                 u"Claude  5-hour 24% used (Reset 22.11.26 20:48) · Updated just now\n"
                 "Z.ai    5-hour 60% used (Previous reset 22.11.26 18:48) · Week ly 50% used · "
                 "Key[31m expired soon · Last known · just now\n"
                 "Codex   Not logged in\n"_s);
    }

    void jsonHasEveryFigure()
    {
        ServiceUsage usage = claude(76.5);
        usage.observed = now - 1s;
        usage.allowed = true;
        usage.windows.append({u"Weekly"_s, 5, {}, {}});
        QCOMPARE(statusJson({usage, failing(u"Not logged in"_s)}, now),
                 R"({"services":[{"allowed":true,"error":null,"id":"claude","name":"Claude",)"
                 R"("observed":1795376897,"windows":[)"
                 R"({"current":true,"name":"5-hour","observed":1795376888,"remaining":76.5,)"
                 R"("reset":1795380498,"unreset":true},)"
                 R"({"current":true,"name":"Weekly","observed":1795376897,"remaining":5,)"
                 R"("reset":null,"unreset":true}]},)"
                 R"({"allowed":null,"error":"Not logged in","id":"codex","name":"Codex",)"
                 R"("observed":null,"windows":[]}],"version":1})"
                 "\n");
    }

    void exitCodeTellsTheTightestLimit()
    {
        ServiceUsage old = claude(5);
        old.windows.first().observed = now - 24h;
        const std::pair<QList<ServiceUsage>, int> rows[]{
            {{}, 3},
            {{failing(u"x"_s)}, 3},
            {{claude(0, now)}, 3}, // its period is over
            {{claude(10.1), failing(u"x"_s)}, 0},
            {{claude(10), claude(90)}, 1},
            {{claude(1)}, 1},
            {{old}, 1},
            {{claude(5), claude(0.9)}, 2},
        };
        for (const auto& [services, code] : rows)
            QCOMPARE(statusExitCode(services, now), code);
    }
};

QTEST_GUILESS_MAIN(StatusReportTest)
#include "StatusReportTest.moc"
