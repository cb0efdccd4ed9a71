#include "platform/linux/CalendarParser.h"

#include <QDateTime>
#include <QTest>

#include <ctime>

using namespace Qt::StringLiterals;

namespace {

/// A moment as in "2026-06-01T09:15" on the clock in Berlin, where these tests take place.
Date local(const QString& text)
{
    return Date(
        std::chrono::milliseconds(QDateTime::fromString(text, Qt::ISODate).toMSecsSinceEpoch()));
}

QString text(Date date)
{
    return QDateTime::fromMSecsSinceEpoch(date.time_since_epoch().count())
        .toString(u"MM-dd hh:mm"_s);
}

QString text(const CalendarEvent& event)
{
    return event.title + u' ' + text(event.start) + " to "_L1 + text(event.end)
        + (event.allDay ? " all day"_L1 : ""_L1) + (event.cancelled ? " cancelled"_L1 : ""_L1);
}

QStringList texts(const ParsedCalendar& calendar)
{
    QStringList texts;
    for (const CalendarEvent& event : calendar.events)
        texts.append(text(event));
    return texts;
}

/// A calendar of events, each given by its lines.
QByteArray calendar(const QByteArrayList& events, const QByteArray& more = {})
{
    QByteArray text = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + more;
    for (const QByteArray& event : events)
        text += "BEGIN:VEVENT\r\nUID:1\r\n" + event + "\r\nEND:VEVENT\r\n";
    return text + "END:VCALENDAR\r\n";
}

const DateSpan june{
    Date(std::chrono::sys_days(std::chrono::May / 31 / 2026)) + std::chrono::hours(22),
    Date(std::chrono::sys_days(std::chrono::June / 30 / 2026)) + std::chrono::hours(22)};

} // namespace

class CalendarParserTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("TZ", "Europe/Berlin");
        tzset();
    }

    void singleEventsAreWhereTheyAre_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::addColumn<QStringList>("expected");
        const auto row
            = [](const char* name, const QByteArray& event, const QStringList& expected) {
                  QTest::newRow(name) << event << expected;
              };
        row("UTC", "SUMMARY:A\\, B\r\nDTSTART:20260602T080000Z\r\nDTEND:20260602T090000Z",
            {u"A, B 06-02 10:00 to 06-02 11:00"_s});
        row("no zone is local", "SUMMARY:A\r\nDTSTART:20260602T080000\r\nDURATION:PT90M",
            {u"A 06-02 08:00 to 06-02 09:30"_s});
        row("zone of the system", "SUMMARY:A\r\nDTSTART;TZID=America/New_York:20260602T080000",
            {u"A 06-02 14:00 to 06-02 14:00"_s});
        row("zone with a path",
            "SUMMARY:A\r\nDTSTART;TZID=/freeassociation.sourceforge.net/Asia/Tokyo:20260602T080000",
            {u"A 06-02 01:00 to 06-02 01:00"_s});
        row("zone of Windows",
            "SUMMARY:A\r\nDTSTART;TZID=\"Eastern Standard Time\":20260602T080000",
            {u"A 06-02 14:00 to 06-02 14:00"_s});
        row("all day", "SUMMARY:A\r\nDTSTART;VALUE=DATE:20260602\r\nDTEND;VALUE=DATE:20260604",
            {u"A 06-02 00:00 to 06-04 00:00 all day"_s});
        row("all day without an end", "SUMMARY:A\r\nDTSTART;VALUE=DATE:20260602",
            {u"A 06-02 00:00 to 06-03 00:00 all day"_s});
        row("end before the start", "SUMMARY:A\r\nDTSTART:20260602T080000\r\nDTEND:20260601T080000",
            {u"A 06-02 08:00 to 06-02 08:00"_s});
        row("400 days", "SUMMARY:A\r\nDTSTART;VALUE=DATE:20260101\r\nDURATION:P400D",
            {u"A 01-01 00:00 to 02-05 00:00 all day"_s});
        row("no title, cancelled", "DTSTART:20260602T080000\r\nSTATUS:CANCELLED",
            {u" 06-02 08:00 to 06-02 08:00 cancelled"_s});
        row("just before", "DTSTART:20260531T200000\r\nDTEND:20260601T000000", {});
        row("at the first moment", "SUMMARY:A\r\nDTSTART:20260601T000000",
            {u"A 06-01 00:00 to 06-01 00:00"_s});
        row("just after", "DTSTART:20260701T000000\r\nDTEND:20260701T010000", {});
        row("no start", "SUMMARY:A\r\nDTEND:20260602T080000", {});
        row("a start that is none", "SUMMARY:A\r\nDTSTART:soon", {});
    }

    void singleEventsAreWhereTheyAre()
    {
        QFETCH(QByteArray, event);
        const ParsedCalendar parsed = parseCalendar(calendar({event}), june);
        QVERIFY(parsed.isWhole);
        QTEST(texts(parsed), "expected");
        QVERIFY(parsed.unknownZones.isEmpty());
    }

    void repeatingEventsAreExpanded_data()
    {
        QTest::addColumn<QByteArrayList>("events");
        QTest::addColumn<QStringList>("starts");
        const auto row = [](const char* name, const QByteArrayList& events,
                            const QStringList& starts) { QTest::newRow(name) << events << starts; };
        const QByteArray berlin = "DTSTART;TZID=Europe/Berlin:";
        row("the clock stays, whatever the season",
            {berlin + "20260107T091500\r\nRRULE:FREQ=MONTHLY;INTERVAL=5"}, {u"06-07 09:15"_s});
        row("until a moment in UTC",
            {berlin + "20260601T080000\r\nRRULE:FREQ=DAILY;UNTIL=20260603T060000Z"},
            {u"06-01 08:00"_s, u"06-02 08:00"_s, u"06-03 08:00"_s});
        row("until a day, to its end",
            {berlin + "20260601T080000\r\nRRULE:FREQ=DAILY;UNTIL=20260602"},
            {u"06-01 08:00"_s, u"06-02 08:00"_s});
        row("a count that begins before the span",
            {"DTSTART:20260530T080000\r\nRRULE:FREQ=DAILY;COUNT=4"},
            {u"06-01 08:00"_s, u"06-02 08:00"_s});
        row("steps within the day, from long ago",
            {"DTSTART:20200105T091500\r\nRRULE:FREQ=HOURLY;INTERVAL=187"},
            {u"06-07 16:15"_s, u"06-15 11:15"_s, u"06-23 06:15"_s});
        row("days and times taken out",
            {berlin
             + "20260601T080000\r\nRRULE:FREQ=DAILY;COUNT=4\r\nEXDATE:20260602T060000Z\r\n"
               "EXDATE;VALUE=DATE:20260603"},
            {u"06-01 08:00"_s, u"06-04 08:00"_s});
        row("a date besides", {"DTSTART:20260501T080000\r\nRDATE:20260605T100000,20260605T100000"},
            {u"06-05 10:00"_s});
        row("one moved within the span, told first",
            {berlin + "20260602T190000\r\nRECURRENCE-ID;TZID=Europe/Berlin:20260602T080000",
             berlin + "20260601T080000\r\nRRULE:FREQ=DAILY;COUNT=3"},
            {u"06-02 19:00"_s, u"06-01 08:00"_s, u"06-03 08:00"_s});
        row("one moved out of the span",
            {berlin + "20260601T080000\r\nRRULE:FREQ=DAILY;COUNT=2",
             berlin + "20260715T080000\r\nRECURRENCE-ID:20260602T060000Z"},
            {u"06-01 08:00"_s});
        row("a long one that reaches into the span",
            {"DTSTART;VALUE=DATE:20250530\r\nDURATION:P4D\r\nRRULE:FREQ=YEARLY"},
            {u"05-30 00:00"_s});
        row("in UTC", {"DTSTART:20260109T230000Z\r\nRRULE:FREQ=MONTHLY"}, {u"06-10 01:00"_s});
        row("a rule that is none", {"DTSTART:20260602T080000\r\nRRULE:FREQ=NEVER"},
            {u"06-02 08:00"_s});
    }

    void repeatingEventsAreExpanded()
    {
        QFETCH(QByteArrayList, events);
        QStringList starts;
        for (const CalendarEvent& event : parseCalendar(calendar(events), june).events)
            starts.append(text(event.start));
        QTEST(starts, "starts");
    }

    void noRuleTakesForever_data()
    {
        QTest::addColumn<QByteArray>("rule");
        QTest::addColumn<qsizetype>("count");
        QTest::newRow("every second") << "FREQ=SECONDLY"_ba << qsizetype(50);
        QTest::newRow("every second of a day that never comes")
            << "FREQ=SECONDLY;BYMONTH=2;BYMONTHDAY=30"_ba << qsizetype(0);
        QTest::newRow("every minute of it")
            << "FREQ=MINUTELY;BYMONTH=2;BYMONTHDAY=30"_ba << qsizetype(0);
        QTest::newRow("every hour of it")
            << "FREQ=HOURLY;BYMONTH=2;BYMONTHDAY=30"_ba << qsizetype(0);
        QTest::newRow("every minute of it, counted")
            << "FREQ=MINUTELY;BYMONTH=2;BYMONTHDAY=30;COUNT=9"_ba << qsizetype(0);
        QTest::newRow("a count without end")
            << "FREQ=SECONDLY;COUNT=2000000000"_ba << qsizetype(50);
    }

    void noRuleTakesForever()
    {
        QFETCH(QByteArray, rule);
        const QByteArray event = "DTSTART:20200105T091500\r\nRRULE:" + rule;
        QTEST(parseCalendar(calendar({event}), june, {.occurrences = 50}).events.size(), "count");
    }

    void textsBringTheirOwnZones()
    {
        const QByteArray zone = "BEGIN:VTIMEZONE\r\nTZID:Office\r\nBEGIN:STANDARD\r\n"
                                "DTSTART:19700101T000000\r\nTZOFFSETFROM:+0300\r\n"
                                "TZOFFSETTO:+0300\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n";
        const QByteArray event = "SUMMARY:A\r\nDTSTART;TZID=Office:20260602T120000";
        QCOMPARE(texts(parseCalendar(calendar({event}, zone), june)),
                 QStringList{u"A 06-02 11:00 to 06-02 11:00"_s});

        const ParsedCalendar unknown = parseCalendar(calendar({event}), june);
        QCOMPARE(texts(unknown), QStringList{u"A 06-02 12:00 to 06-02 12:00"_s});
        QCOMPARE(unknown.unknownZones, QSet<QByteArray>{"Office"_ba});
    }

    void whatIsCutShortIsNotRead()
    {
        const QByteArray whole = calendar({"DTSTART:20260602T080000"});
        QVERIFY(parseCalendar(whole, june).isWhole);
        for (const qsizetype cut : {3, 20, 30, 60}) {
            const ParsedCalendar parsed = parseCalendar(whole.chopped(cut), june);
            QVERIFY(!parsed.isWhole);
            QVERIFY(parsed.events.isEmpty());
        }
    }

    void extentHoldsEveryEvent()
    {
        const ParsedCalendar single = parseCalendar(
            calendar({"DTSTART:20300602T080000", "DTSTART:20310101T000000\r\nDURATION:PT1H"}),
            june);
        QVERIFY(single.extent
                == (DateSpan{local(u"2030-06-02T08:00"_s), local(u"2031-01-01T01:00"_s)}));
        const DateSpan repeating
            = parseCalendar(calendar({"DTSTART:20300602T080000\r\nRRULE:FREQ=DAILY"}), june).extent;
        QVERIFY(repeating == (DateSpan{local(u"2030-06-02T08:00"_s), Date::max()}));
    }
};

QTEST_GUILESS_MAIN(CalendarParserTest)
#include "CalendarParserTest.moc"
