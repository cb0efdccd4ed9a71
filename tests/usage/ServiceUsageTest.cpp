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
    void freshnessAndResetDecideWhatCounts_data()
    {
        using When = std::optional<Date>;
        QTest::addColumn<When>("reset");
        QTest::addColumn<When>("windowObserved");
        QTest::addColumn<When>("serviceObserved");
        QTest::addColumn<bool>("current");
        QTest::addColumn<bool>("unreset");
        QTest::newRow("fresh") << When(now + 1h) << When(now) << When() << true << true;
        QTest::newRow("reset now") << When(now) << When(now) << When(now) << false << false;
        QTest::newRow("reset 1 ms ahead") << When(now + 1ms) << When(now) << When() << true << true;
        QTest::newRow("reset passed") << When(now - 1h) << When(now) << When(now) << false << false;
        QTest::newRow("just fresh") << When() << When(now - 900s + 1ms) << When() << true << true;
        QTest::newRow("just stale") << When() << When(now - 900s) << When() << false << false;
        QTest::newRow("stale, period running")
            << When(now + 1h) << When(now - 3h) << When() << false << true;
        QTest::newRow("time of the service") << When() << When() << When(now) << true << true;
        QTest::newRow("own time goes first")
            << When() << When(now - 3h) << When(now) << false << false;
        QTest::newRow("no time at all") << When(now + 1h) << When() << When() << false << true;
        QTest::newRow("nothing known") << When() << When() << When() << false << false;
        QTest::newRow("clock set back") << When() << When(now + 1h) << When() << true << true;
    }

    void freshnessAndResetDecideWhatCounts()
    {
        QFETCH(std::optional<Date>, reset);
        QFETCH(std::optional<Date>, windowObserved);
        QFETCH(std::optional<Date>, serviceObserved);
        const ServiceUsage usage
            = service({{u"Weekly"_s, 50, reset, windowObserved}}, serviceObserved);
        QTEST(usage.isCurrent(usage.windows.first(), now), "current");
        QTEST(!usage.current(now).isEmpty(), "current");
        QTEST(!usage.unresetWindows(now).isEmpty(), "unreset");
        QCOMPARE(usage.displayed().size(), 1);
    }

    void lowestIsTheFirstOfTheCurrentWindows()
    {
        const LimitWindow stale{u"a"_s, 1, now - 1s, {}};
        const LimitWindow first{u"b"_s, 40, now + 1h, {}};
        const LimitWindow second{u"c"_s, 40, now + 2h, {}};
        const LimitWindow high{u"d"_s, 90, now + 2h, {}};
        QCOMPARE(service({stale, high, first, second}).lowest(now), first);
        QCOMPARE(service({stale}).lowest(now), std::nullopt);
        QCOMPARE(service({}).lowest(now), std::nullopt);
    }

    void onlyTheExactNameIsWeekly()
    {
        QVERIFY(LimitWindow{.name = u"Weekly"_s}.isWeekly());
        QVERIFY(!LimitWindow{.name = u"weekly"_s}.isWeekly());
        QVERIFY(!LimitWindow{.name = u"Weekly "_s}.isWeekly());
    }
};

QTEST_GUILESS_MAIN(ServiceUsageTest)
#include "ServiceUsageTest.moc"
