#include "characters/MascotState.h"

#include "characters/CharacterMotion.h"
#include "platform/PreferenceStore.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using Remaining = std::optional<double>;

Q_DECLARE_METATYPE(MascotState)

namespace {

const Date now{1'795'376'898s};
constexpr LowLimitLooks bothLooks{};
constexpr LowLimitLooks onlyTired{.exhausted = false};
constexpr LowLimitLooks onlyExhausted{.tired = false};
constexpr LowLimitLooks noLooks{.tired = false, .exhausted = false};

LimitWindow running(const QString& name, double remaining)
{
    return {.name = name, .remaining = remaining, .reset = now + 1h};
}

} // namespace

class MascotStateTest : public QObject {
    Q_OBJECT

private slots:
    void moodFollowsWhatIsLeft_data()
    {
        QTest::addColumn<Remaining>("shortRemaining");
        QTest::addColumn<Remaining>("weeklyRemaining");
        QTest::addColumn<LowLimitLooks>("looks");
        QTest::addColumn<MascotState>("state");
        const Remaining none;
        using enum MascotState;
        QTest::newRow("no limits") << none << none << bothLooks << idle;
        QTest::newRow("at 25") << Remaining(25) << none << bothLooks << tired;
        QTest::newRow("above 25") << Remaining(25.000001) << none << bothLooks << active;
        QTest::newRow("at 1") << Remaining(1) << none << bothLooks << tired;
        QTest::newRow("below 1") << Remaining(0.999) << none << bothLooks << exhausted;
        QTest::newRow("no number") << Remaining(std::nan("")) << none << bothLooks << active;
        QTest::newRow("low week") << none << Remaining(10) << bothLooks << active;
        QTest::newRow("used-up week") << none << Remaining(0) << bothLooks << exhausted;
        QTest::newRow("used-up week beside plenty")
            << Remaining(90) << Remaining(0.5) << bothLooks << exhausted;
        QTest::newRow("used up, no such look") << Remaining(0.5) << none << onlyTired << tired;
        QTest::newRow("used-up week, no such look")
            << Remaining(90) << Remaining(0) << onlyTired << active;
        QTest::newRow("low, no such look") << Remaining(20) << none << onlyExhausted << active;
        QTest::newRow("used up, no look at all") << Remaining(0) << none << noLooks << active;
    }

    void moodFollowsWhatIsLeft()
    {
        QFETCH(Remaining, shortRemaining);
        QFETCH(Remaining, weeklyRemaining);
        QFETCH(LowLimitLooks, looks);
        QTEST(mascotState(shortRemaining, weeklyRemaining, looks), "state");
    }

    void cardsCountOnlyPeriodsThatStillRun()
    {
        const LimitWindow over{.name = u"5-hour"_s, .remaining = 0, .reset = now};
        ServiceUsage service{.id = u"claude"_s, .windows = {over}};
        QCOMPARE(lowLimitState(service, {}, bothLooks, now), MascotState::active);
        QCOMPARE(menuBarState({service}, now), MascotState::idle);

        service.windows += {running(u"5-hour"_s, 80), running(u"Session"_s, 24)};
        QCOMPARE(lowLimitState(service, {}, bothLooks, now), MascotState::tired);
        QCOMPARE(lowLimitState(service, {}, noLooks, now), MascotState::active);
        QCOMPARE(menuBarState({ServiceUsage(), service}, now), MascotState::active);

        service.windows = {running(u"5-hour"_s, 80), running(u"Weekly"_s, 20)};
        QCOMPARE(lowLimitState(service, {}, bothLooks, now), MascotState::active);
        QCOMPARE(lowLimitState(service, MascotState::exhausted, noLooks, now),
                 MascotState::exhausted);
    }

    void statesHaveTextsAndPaces()
    {
        using enum MascotState;
        for (const MascotState state : {active, tired, exhausted, idle})
            QCOMPARE(mascotState(rawValue(state)), state);
        QCOMPARE(rawValue(exhausted), u"exhausted"_s);
        QVERIFY(!mascotState(u"Tired"));
        QCOMPARE(slowdown(tired), 2.0);
        QCOMPARE(slowdown(exhausted), 3.0);
        QCOMPARE(slowdown(idle), 1.0);
    }

    void switchesFallBackOnTheOlderOne()
    {
        const QTemporaryDir folder;
        PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
        const CharacterLowLimit lowLimit(preferences);
        QCOMPARE(lowLimit.looks(), bothLooks);
        preferences.setText(u"characterReactsToLowLimits"_s, u"false"_s);
        QCOMPARE(lowLimit.looks(), bothLooks);
        preferences.setBoolean(u"characterReactsToLowLimits"_s, false);
        QCOMPARE(lowLimit.looks(), noLooks);
        preferences.setBoolean(u"characterGetsTired"_s, true);
        preferences.setInteger(u"characterGetsExhausted"_s, 1);
        QCOMPARE(lowLimit.looks(), onlyTired);
    }

    void motionAndSpeedHaveTheirLimits()
    {
        const QTemporaryDir folder;
        PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
        QCOMPARE(CharacterMotion::animationSpeed(preferences), 1);
        for (const auto& [stored, step] : {std::pair(7, 2), {-3, 0}, {0, 0}}) {
            preferences.setInteger(u"characterAnimationSpeed"_s, stored);
            QCOMPARE(CharacterMotion::animationSpeed(preferences), step);
        }
        QCOMPARE(CharacterMotion::speedFactor(0), 0.5);
        QCOMPARE(CharacterMotion::speedFactor(2), 2.0);
        QVERIFY(CharacterMotion::playsLively(preferences, false));
        QVERIFY(!CharacterMotion::playsLively(preferences, true));
        for (const auto& [stored, lively] : {std::pair(u"Calm"_s, true), {u"calm"_s, false}}) {
            preferences.setText(u"characterMotion"_s, stored);
            QCOMPARE(CharacterMotion::playsLively(preferences, false), lively);
        }
    }
};

QTEST_GUILESS_MAIN(MascotStateTest)
#include "MascotStateTest.moc"
