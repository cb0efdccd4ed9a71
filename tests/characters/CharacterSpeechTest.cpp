#include "characters/CharacterSpeech.h"

#include "platform/PreferenceStore.h"
#include "usage/ServiceUsage.h"

#include <QTemporaryDir>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const Date now{std::chrono::sys_days(2026y / 11 / 23) + 9h}; // day 739943 of the era, an odd one

ServiceUsage service(const QString& id, std::optional<double> remaining = {})
{
    ServiceUsage usage{.id = id, .observed = now, .freshnessSeconds = 900};
    if (remaining)
        usage.windows = {{u"5-hour"_s, *remaining, now + 1h, {}}};
    return usage;
}

ServiceUsage today(const QList<AgendaItem>& agenda)
{
    return {.id = u"calendar"_s, .agenda = agenda};
}

AgendaItem entry(const QString& title, std::chrono::minutes fromNow)
{
    return {.title = title, .start = now + fromNow, .end = now + fromNow + 30min};
}

QString calendarLine(const QString& title, std::chrono::minutes fromNow)
{
    return CharacterSpeech::line(today({entry(title, fromNow)}), 0, now);
}

} // namespace

class CharacterSpeechTest : public QObject {
    Q_OBJECT

private slots:
    void linesTakeTurnsByDayAndRotation()
    {
        const auto line = [](const QString& id, qint64 rotation) {
            return CharacterSpeech::line(service(id), rotation, now);
        };
        // 739943 / 2 = 369971: fact 11, then number 369972: encouragement 0.
        QCOMPARE(line(u"claude"_s, 0), u"Some giant kelp grows up to 2 feet a day."_s);
        QCOMPARE(line(u"claude"_s, 1), u"Nice work. Keep your spark going!"_s);
        QCOMPARE(line(u"codex"_s, 0), u"Ready for the next quest? Let's build."_s);
        QCOMPARE(line(u"codex"_s, 1), u"Neptune's winds can top 1,200 miles per hour."_s);
        QCOMPARE(line(u"zai"_s, 0), line(u"claude"_s, 0));
        QCOMPARE(CharacterSpeech::line(service(u"claude"_s), 0, now + 24h), line(u"claude"_s, 1));
        for (const qint64 rotation :
             {std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::min()})
            QVERIFY(!line(u"codex"_s, rotation).isEmpty());
    }

    void lowLimitsTakeAllTheBreath()
    {
        QCOMPARE(CharacterSpeech::line(service(u"claude"_s, 25), 0, now),
                 u"Slow down a little. Good ideas can wait."_s); // 739943 mod 3 = 2
        QCOMPARE(CharacterSpeech::line(service(u"codex"_s, 3), 0, now),
                 u"Energy low. Save your progress!"_s);
        QCOMPARE(CharacterSpeech::line(service(u"claude"_s, 25.1), 0, now),
                 CharacterSpeech::line(service(u"claude"_s), 0, now));
    }

    void calendarSpeaksOfWhatComesNext()
    {
        QCOMPARE(calendarLine(u"Standup"_s, 5min), u"Standup in 5 min!"_s);
        QCOMPARE(calendarLine(u"Standup"_s, 15min), u"Standup in 15 min!"_s);
        QCOMPARE(calendarLine(u"Standup"_s, 16min), u"Standup soon. Time to wrap up."_s);
        QCOMPARE(calendarLine(u"Standup"_s, 59min), u"Standup soon. Time to wrap up."_s);
        for (const auto& [wait, hours] :
             {std::pair(60min, u"1"_s), {119min, u"1"_s}, {120min, u"2"_s}})
            QVERIFY(
                calendarLine(u"Standup"_s, wait).startsWith("Free for about "_L1 + hours + u' '));
        QCOMPARE(calendarLine(u"Standup"_s, 0min), u"Standup now. You've got this."_s);
        QCOMPARE(calendarLine(u"14 letters of a"_s.left(14), 0min),
                 u"14 letters of  now. You've got this."_s);
        QCOMPARE(calendarLine(u"15 letters here"_s, 0min),
                 u"15 letters he… now. You've got this."_s);

        AgendaItem holiday = entry(u"Holiday"_s, -60min);
        holiday.allDay = true;
        const auto line
            = [](const ServiceUsage& usage) { return CharacterSpeech::line(usage, 0, now); };
        QCOMPARE(line(today({holiday})), u"Just all-day things left."_s);
        QCOMPARE(line(today({})), u"No more plans today. Enjoy!"_s);
        QCOMPARE(line(today({holiday, entry(u"Later"_s, 40min), entry(u"On"_s, -5min)})),
                 u"On now. You've got this."_s);
        ServiceUsage refused = today({holiday});
        refused.error = u"no access"_s;
        QCOMPARE(line(refused), u"Let me see your calendar?"_s);
    }

    void nextLineIsKept()
    {
        const QTemporaryDir folder;
        PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
        QVERIFY(CharacterSpeech::isEnabled(preferences));
        preferences.setText(u"characterSpeechEnabled"_s, u"no"_s);
        QVERIFY(CharacterSpeech::isEnabled(preferences));
        preferences.setBoolean(u"characterSpeechEnabled"_s, false);
        QVERIFY(!CharacterSpeech::isEnabled(preferences));
        CharacterSpeech::nextLine(preferences);
        QCOMPARE(CharacterSpeech::rotation(preferences), 1);
    }
};

QTEST_GUILESS_MAIN(CharacterSpeechTest)
#include "CharacterSpeechTest.moc"
