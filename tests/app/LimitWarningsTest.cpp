#include "app/LimitWarnings.h"

#include "platform/Notifier.h"
#include "platform/PreferenceStore.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const Date now{1'795'376'898'700ms};
const Date reset = now + 1h; // 1795380498.7 s

struct RecordingNotifier final : Notifier {
    void post(const Notice& notice) override { notices.append(notice); }
    QList<Notice> notices;
};

LimitWindow window(double remaining, std::optional<Date> resets = reset)
{
    return {u"5-Hour"_s, remaining, resets, now};
}

} // namespace

class LimitWarningsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        restart();
    }

    void lowLimitsAreTold_data()
    {
        QTest::addColumn<QList<LimitWindow>>("windows");
        QTest::addColumn<QString>("body");
        QTest::newRow("at the threshold") << QList{window(10)} << u"10% left on 5-hour limit."_s;
        QTest::newRow("above it") << QList{window(10.01)} << QString();
        QTest::newRow("half rounds up") << QList{window(4.5)} << u"5% left on 5-hour limit."_s;
        QTest::newRow("the tightest alone")
            << QList{window(9), LimitWindow{u"Weekly"_s, 7, reset, now}}
            << u"7% left on weekly limit."_s;
        QTest::newRow("its period is over") << QList{window(5, now)} << QString();
    }

    void lowLimitsAreTold()
    {
        QFETCH(QList<LimitWindow>, windows);
        check(windows);
        QTEST(m_notifier.notices.value(0).body, "body");
    }

    void noticesCarryNamePictureAndMarker()
    {
        m_warnings->picture = [](const QString& id) {
            return id == "claude"_L1 ? QImage(4, 4, QImage::Format_ARGB32) : QImage();
        };
        check({window(5)});
        QCOMPARE(m_notifier.notices.size(), 1);
        const Notice& notice = m_notifier.notices.constFirst();
        QCOMPARE(notice.title, u"Claude stamina low"_s);
        QCOMPARE(notice.picture.width(), 4);
        QCOMPARE(notice.identifier, u"warned-Claude-5-Hour-1795380498"_s);
        QCOMPARE(m_preferences->keys(), QStringList{notice.identifier});
    }

    void hiddenServicesAreSilent()
    {
        m_warnings->checkWarnings({u"codex"_s}, {{u"claude"_s, usage({window(5)})}}, now);
        QVERIFY(m_notifier.notices.isEmpty());
    }

    void onePeriodIsToldOnce_data()
    {
        QTest::addColumn<std::optional<Date>>("first");
        QTest::addColumn<std::optional<Date>>("second");
        QTest::addColumn<int>("notices");
        const std::optional<Date> none;
        const auto at = [](Date date) { return std::optional(date); };
        QTest::newRow("same reset") << at(reset) << at(reset) << 1;
        QTest::newRow("later by the drift") << at(reset) << at(reset + 60s) << 1;
        QTest::newRow("earlier by the drift") << at(reset) << at(reset - 60s) << 1;
        QTest::newRow("later by more") << at(reset) << at(reset + 61s) << 2;
        QTest::newRow("never resets") << none << none << 1;
        QTest::newRow("a reset becomes known") << none << at(reset) << 2;
    }

    void onePeriodIsToldOnce()
    {
        QFETCH(std::optional<Date>, first);
        QFETCH(std::optional<Date>, second);
        check({window(5, first)});
        check({window(5, first)});
        // What was told before the program ended is known to the next run.
        restart();
        check({window(9, second)});
        QTEST(int(m_notifier.notices.size()), "notices");
    }

    void aResetThatMovesWithEveryReadingIsOnePeriod()
    {
        for (int reading = 0; reading < 20; ++reading)
            check({window(5, reset + reading * 30s)});
        QCOMPARE(m_notifier.notices.size(), 1);
        QCOMPARE(m_preferences->keys().size(), 1);
    }

    void otherValuesAreNoMarkers()
    {
        m_preferences->setBoolean(u"warned-Claude-5-Hour-1795380498"_s, false);
        m_preferences->setText(u"warned-Claude-5-Hour-1795380497"_s, u"true"_s);
        for (const QString& end : {u"-9223372036854775808"_s, u"9223372036854775807"_s, u"x"_s})
            m_preferences->setBoolean("warned-Claude-5-Hour-"_L1 + end, true);
        check({window(5)});
        QCOMPARE(m_notifier.notices.size(), 1);
    }

private:
    void restart()
    {
        m_preferences = std::make_unique<PreferenceStore>(m_folder->filePath(u"p.json"_s));
        m_warnings = std::make_unique<LimitWarnings>(*m_preferences, m_notifier);
        if (m_preferences->keys().isEmpty())
            m_notifier.notices.clear();
    }

    static ServiceUsage usage(const QList<LimitWindow>& windows)
    {
        return {
            .id = u"claude"_s, .name = u"Claude"_s, .windows = windows, .freshnessSeconds = 900};
    }

    void check(const QList<LimitWindow>& windows)
    {
        m_warnings->checkWarnings({u"calendar"_s, u"claude"_s}, {{u"claude"_s, usage(windows)}},
                                  now);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    RecordingNotifier m_notifier;
    std::unique_ptr<PreferenceStore> m_preferences;
    std::unique_ptr<LimitWarnings> m_warnings;
};

QTEST_GUILESS_MAIN(LimitWarningsTest)
#include "LimitWarningsTest.moc"
