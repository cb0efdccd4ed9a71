#include "usage/ServiceUsage.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const Date now{1'795'376'898s};

ServiceUsage service(const QList<LimitWindow>& windows, std::optional<Date> observed = now)
{
    return {.id = u"x"_s, .windows = windows, .observed = observed, .freshnessSeconds = 900};
}

} // namespace

class ServiceUsageTest : public QObject {
    Q_OBJECT

private slots:
    void freshnessAndResetDecideWhatCounts()
    {
        using When = std::optional<Date>;
        const struct {
            const char* title;
            When reset;
            When windowObserved;
            When serviceObserved;
            bool isCurrent;
            bool isUnreset;
        } rows[]{
            {"fresh", now + 1h, now, {}, true, true},
            {"reset now", now, now, now, false, false},
            {"reset 1 ms ahead", now + 1ms, now, {}, true, true},
            {"reset passed", now - 1h, now, now, false, false},
            {"just fresh", {}, now - 900s + 1ms, {}, true, true},
            {"just stale", {}, now - 900s, {}, false, false},
            {"stale, period running", now + 1h, now - 3h, {}, false, true},
            {"time of the service", {}, {}, now, true, true},
            {"own time goes first", {}, now - 3h, now, false, false},
            {"no time at all", now + 1h, {}, {}, false, true},
            {"nothing known", {}, {}, {}, false, false},
            {"clock set back", {}, now + 1h, {}, true, true},
        };
        for (const auto& row : rows) {
            const LimitWindow window{u"Weekly"_s, 50, row.reset, row.windowObserved};
            const ServiceUsage usage = service({window}, row.serviceObserved);
            QVERIFY2(usage.isCurrent(window, now) == row.isCurrent, row.title);
            QVERIFY2(usage.current(now).isEmpty() != row.isCurrent, row.title);
            QVERIFY2(usage.unresetWindows(now).isEmpty() != row.isUnreset, row.title);
            QCOMPARE(usage.displayed().size(), 1);
        }
    }

    void lowestIsTheFirstOfTheCurrentWindows()
    {
        const LimitWindow stale{u"a"_s, 1, now - 1s, {}};
        const LimitWindow first{u"b"_s, 40, now + 1h, {}};
        const LimitWindow second{u"c"_s, 40, now + 2h, {}};
        const LimitWindow high{u"d"_s, 90, now + 2h, {}};
        QCOMPARE(service({stale, high, first, second}).lowest(now), first);
        QCOMPARE(service({stale}).lowest(now), std::nullopt);
    }

    void onlyTheExactNameIsWeekly()
    {
        QVERIFY(LimitWindow{.name = u"Weekly"_s}.isWeekly());
        QVERIFY(!LimitWindow{.name = u"weekly"_s}.isWeekly());
    }
};

QTEST_GUILESS_MAIN(ServiceUsageTest)
#include "ServiceUsageTest.moc"
