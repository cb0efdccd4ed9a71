#include "usage/UsageTexts.h"

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

    void agesAreFewWords_data()
    {
        QTest::addColumn<qint64>("secondsAgo");
        QTest::addColumn<QString>("text");
        QTest::newRow("now") << qint64(0) << u"just now"_s;
        QTest::newRow("59 s") << qint64(59) << u"just now"_s;
        QTest::newRow("59 s ahead") << qint64(-59) << u"just now"_s;
        QTest::newRow("60 s") << qint64(60) << u"1 min. ago"_s;
        QTest::newRow("60 s ahead") << qint64(-60) << u"in 1 min."_s;
        QTest::newRow("under an hour") << qint64(3599) << u"59 min. ago"_s;
        QTest::newRow("an hour") << qint64(3600) << u"1 hr. ago"_s;
        QTest::newRow("under a day") << qint64(86399) << u"23 hr. ago"_s;
        QTest::newRow("a day") << qint64(86400) << u"1 day ago"_s;
        QTest::newRow("days") << qint64(3 * 86400 + 5) << u"3 days ago"_s;
        QTest::newRow("a day ahead") << qint64(-90000) << u"in 1 day"_s;
    }

    void agesAreFewWords()
    {
        QFETCH(qint64, secondsAgo);
        QTEST(relativeAge(now - std::chrono::seconds(secondsAgo), now), "text");
    }

    void resetIsToldInTheLocale()
    {
        const QLocale german(QLocale::German, QLocale::Germany);
        const LimitWindow window{.reset = now};
        QCOMPARE(resetText(window, german, now - 1ms), u"Reset 22.11.26 19:48"_s);
        QCOMPARE(resetText(window, german, now), u"Previous reset 22.11.26 19:48"_s);
        QCOMPARE(resetText({}, german, now), QString());
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
