#include "usage/UsageTexts.h"

#include "platform/PreferenceStore.h"
#include "usage/UsageDisplayMode.h"

#include <TestPaths.h>

#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const Date now{1'795'376'898s}; // 2026-11-22 19:48:18 UTC

} // namespace

class UsageTextsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // The program is never without it.
        QVERIFY(
            m_english.load(QStringLiteral(VEXLO_BUILD_TREE "/resources/translations/vexlo_en.qm")));
        QVERIFY(QCoreApplication::installTranslator(&m_english));
    }

    void agesAreFewWords()
    {
        const std::pair<int, QString> rows[]{
            {0, u"just now"_s},
            {59, u"just now"_s},
            {-59, u"just now"_s},
            {60, u"1 min. ago"_s},
            {-60, u"in 1 min."_s},
            {3599, u"59 min. ago"_s},
            {3600, u"1 hr. ago"_s},
            {86399, u"23 hr. ago"_s},
            {86400, u"1 day ago"_s},
            {-90000, u"in 1 day"_s},
            {3 * 86400 + 5, u"3 days ago"_s},
        };
        for (const auto& [secondsAgo, text] : rows)
            QCOMPARE(relativeAge(now - std::chrono::seconds(secondsAgo), now), text);
    }

    void resetIsToldInTheLocale()
    {
        const QLocale german(QLocale::German, QLocale::Germany);
        const LimitWindow window{.reset = now};
        QCOMPARE(resetText(window, german, now - 1ms), u"Reset 22.11.26 19:48"_s);
        QCOMPARE(resetText(window, german, now), u"Previous reset 22.11.26 19:48"_s);
        QCOMPARE(resetText({}, german, now), QString());
    }

    void figureIsWhatIsLeftOrWhatWasUsedAsChosen()
    {
        const QTemporaryDir folder;
        PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
        QCOMPARE(savedDisplayMode(preferences), UsageDisplayMode::left);
        QVERIFY(saveDisplayMode(preferences, UsageDisplayMode::used));
        QCOMPARE(preferences.text(u"usageDisplayMode"_s), u"used"_s);
        QCOMPARE(savedDisplayMode(preferences), UsageDisplayMode::used);
        QVERIFY(preferences.setText(u"usageDisplayMode"_s, u"both"_s));
        QCOMPARE(savedDisplayMode(preferences), UsageDisplayMode::left);
        QCOMPARE(shownText(UsageDisplayMode::left, 76.5), u"77% left"_s);
        QCOMPARE(shownText(UsageDisplayMode::used, 76.6), u"23% used"_s);
    }

    void statusSaysHowFreshTheLimitsAre()
    {
        const LimitWindow fresh{u"5-hour"_s, 50, now + 1h, now - 2min};
        const LimitWindow old{u"Weekly"_s, 50, now + 1h, now - 2h};
        ServiceUsage usage{.freshnessSeconds = 900};
        QCOMPARE(statusText(usage, now), u"Waiting for usage"_s);
        usage.error = u"Broken"_s;
        QCOMPARE(statusText(usage, now), u"Broken"_s);
        usage.windows = {fresh};
        QCOMPARE(statusText(usage, now), u"Updated 2 min. ago"_s);
        usage.windows = {old, fresh};
        QCOMPARE(statusText(usage, now), u"Updated 2 min. ago · Some limits outdated"_s);
        usage.windows = {old};
        QCOMPARE(statusText(usage, now), u"Last known · 2 hr. ago"_s);
        usage.allowed = false;
        QCOMPARE(statusText(usage, now), u"Included usage unavailable"_s);
    }

private:
    QTranslator m_english;
};

QTEST_GUILESS_MAIN(UsageTextsTest)
#include "UsageTextsTest.moc"
