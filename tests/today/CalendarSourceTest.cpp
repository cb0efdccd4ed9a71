#include "today/CalendarSource.h"

#include <QDateTime>
#include <QTest>

#include <ctime>

using namespace Qt::StringLiterals;

namespace {

/// A store that answers when it is told to.
class HandStore final : public CalendarStore {
public:
    [[nodiscard]] std::optional<int> status() const override { return access; }
    void requestAccess(std::function<void(bool)> completion) override { completion(access == 3); }
    void fetch(const DateSpan& span) override { asked.append(span); }
    void close() override { isClosed = true; }

    /// Answers everything that was asked.
    void answer(const QList<CalendarEvent>& events)
    {
        access = access.value_or(3);
        for (const DateSpan& span : std::exchange(asked, {})) {
            QList<CalendarEvent> within = events;
            within.removeIf([&](const CalendarEvent& event) { return !overlaps(event, span); });
            onEvents(span, within);
        }
    }

    std::optional<int> access = 3;
    QList<DateSpan> asked;
    bool isClosed = false;
};

Date local(const QString& text)
{
    return Date(
        std::chrono::milliseconds(QDateTime::fromString(text, Qt::ISODate).toMSecsSinceEpoch()));
}

CalendarEvent meeting(const QString& title, const QString& start, const QString& end)
{
    return {.title = title, .start = local(start), .end = local(end)};
}

CalendarEvent allDay(const QString& title, const QString& start, const QString& end)
{
    CalendarEvent event = meeting(title, start + "T00:00"_L1, end + "T00:00"_L1);
    event.allDay = true;
    return event;
}

QStringList titles(const ServiceUsage& usage)
{
    QStringList titles;
    for (const AgendaItem& item : usage.agenda)
        titles.append(item.title);
    return titles;
}

const Date noon
    = Date(std::chrono::sys_days(std::chrono::June / 3 / 2026)) + std::chrono::hours(10);

} // namespace

class CalendarSourceTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("TZ", "Europe/Berlin");
        tzset();
    }

    void agendaListsTheDayInOrder()
    {
        CalendarEvent cancelled = meeting(u"off"_s, u"2026-06-03T09:00"_s, u"2026-06-03T10:00"_s);
        cancelled.cancelled = true;
        const ServiceUsage usage = record({
            meeting(u"second"_s, u"2026-06-03T08:00"_s, u"2026-06-03T09:00"_s),
            meeting(u"third"_s, u"2026-06-03T08:00"_s, u"2026-06-03T08:30"_s),
            meeting({}, u"2026-06-03T23:59"_s, u"2026-06-04T01:00"_s),
            meeting(u" "_s, u"2026-06-03T22:00"_s, u"2026-06-03T22:00"_s),
            meeting(u"first"_s, u"2026-06-02T22:00"_s, u"2026-06-03T00:01"_s),
            meeting(u"yesterday"_s, u"2026-06-02T22:00"_s, u"2026-06-03T00:00"_s),
            meeting(u"tomorrow"_s, u"2026-06-04T00:00"_s, u"2026-06-04T01:00"_s),
            cancelled,
            allDay(u"day"_s, u"2026-06-03"_s, u"2026-06-04"_s),
            allDay(u"long"_s, u"2026-01-01"_s, u"2027-02-05"_s),
        });
        QCOMPARE(titles(usage),
                 (QStringList{u"long"_s, u"day"_s, u"first"_s, u"second"_s, u"third"_s, u" "_s,
                              u"Busy"_s}));
        const AgendaItem second{.title = u"second"_s,
                                .start = local(u"2026-06-03T08:00"_s),
                                .end = local(u"2026-06-03T09:00"_s)};
        QVERIFY(usage.agenda.at(3) == second);
        QVERIFY(usage.agenda.first().allDay);
    }

    void agendaDayHas24HoursWhenTheClocksChange()
    {
        const QList<CalendarEvent> events{
            meeting(u"25th hour"_s, u"2026-10-25T23:30"_s, u"2026-10-25T23:45"_s),
            meeting(u"next day"_s, u"2026-03-30T00:30"_s, u"2026-03-30T00:45"_s),
        };
        QCOMPARE(titles(record(events, local(u"2026-10-25T12:00"_s))), QStringList());
        QCOMPARE(titles(record(events, local(u"2026-03-29T12:00"_s))), QStringList{u"next day"_s});
    }

    void monthMarksTheDaysOfItsEvents_data()
    {
        QTest::addColumn<QString>("start");
        QTest::addColumn<QString>("end");
        QTest::addColumn<QSet<int>>("days");
        const auto row = [](const char* name, const char* start, const char* end,
                            const QSet<int>& days) {
            QTest::newRow(name) << QString::fromLatin1(start) << QString::fromLatin1(end) << days;
        };
        row("to midnight", "2026-06-03T22:00", "2026-06-04T00:00", {3});
        row("past midnight", "2026-06-03T22:00", "2026-06-04T00:01", {3, 4});
        row("from last month", "2026-05-20T10:00", "2026-06-02T10:00", {1, 2});
        row("until the month begins", "2026-05-20T10:00", "2026-06-01T00:00", {});
        row("into next month", "2026-06-29T10:00", "2026-08-02T10:00", {29, 30});
        row("from when the month ends", "2026-07-01T00:00", "2026-07-01T01:00", {});
        row("without length", "2026-06-05T10:00", "2026-06-05T10:00", {5});
    }

    void monthMarksTheDaysOfItsEvents()
    {
        QFETCH(QString, start);
        QFETCH(QString, end);
        CalendarEvent marked = meeting(u"A"_s, start, end);
        QTEST(record({marked}).eventDays, "days");
        marked.cancelled = true;
        QVERIFY(record({marked}).eventDays.isEmpty());
    }

    void marksKeepToLocalDaysWhenTheClocksChange()
    {
        const QList<CalendarEvent> weekend{
            meeting(u"A"_s, u"2026-03-28T23:30"_s, u"2026-03-30T00:00"_s)};
        QCOMPARE(record(weekend, local(u"2026-03-05T12:00"_s)).eventDays, (QSet<int>{28, 29}));
    }

    void recordSaysWhatItIsFor()
    {
        HandStore store;
        CalendarSource source(store);
        const Date month = local(u"2026-07-15T12:00"_s);
        const Date selected = local(u"2026-07-20T18:00"_s);
        QVERIFY(!source.usage(noon, month, selected));
        store.answer({meeting(u"A"_s, u"2026-07-20T08:00"_s, u"2026-07-20T09:00"_s)});
        const ServiceUsage expected{
            .id = u"calendar"_s,
            .name = u"Calendar"_s,
            .observed = noon,
            .freshnessSeconds = 600,
            .agenda = {{.title = u"A"_s,
                        .start = local(u"2026-07-20T08:00"_s),
                        .end = local(u"2026-07-20T09:00"_s)}},
            .eventDays = {20},
            .calendarMonth = month,
            .selectedDay = selected,
        };
        QVERIFY(source.usage(noon, month, selected) == expected);
    }

    void withoutAccessTheRecordSaysSo_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("error");
        const QString off = u"Turn on Calendar access for Vexlo in System Settings"_s;
        QTest::newRow("not determined") << 0 << u"Allow calendar access to see your day"_s;
        QTest::newRow("restricted") << 1 << off;
        QTest::newRow("denied") << 2 << off;
        QTest::newRow("write-only") << 4 << off;
    }

    void withoutAccessTheRecordSaysSo()
    {
        QFETCH(int, status);
        HandStore store;
        store.access = status;
        CalendarSource source(store);
        const std::optional<ServiceUsage> usage = source.usage(noon, noon);
        QTEST(usage->error.value_or(QString()), "error");
        QVERIFY(store.asked.isEmpty() && !source.hasAccess());
        QVERIFY(usage->calendarMonth == noon);
    }

    void eventsAreAskedForOnlyWhenNeeded()
    {
        HandStore store;
        store.access.reset();
        CalendarSource source(store);
        int changes = 0;
        source.onChange = [&] { ++changes; };
        const QList<CalendarEvent> events{
            meeting(u"A"_s, u"2026-06-03T08:00"_s, u"2026-06-03T09:00"_s)};
        QVERIFY(!source.usage(noon, noon));
        QVERIFY(!source.usage(noon, noon));
        QCOMPARE(store.asked.size(), 1);
        store.answer(events);
        QCOMPARE(changes, 1);

        // Neither another day of the month nor a little time asks again; ten minutes do, quietly.
        QVERIFY(source.usage(noon + std::chrono::seconds(599), noon, local(u"2026-06-30T12:00"_s)));
        QVERIFY(store.asked.isEmpty());
        const Date later = noon + std::chrono::seconds(600);
        QCOMPARE(titles(*source.usage(later, noon)), QStringList{u"A"_s});
        QCOMPARE(store.asked.size(), 1);
        store.answer(events);
        QCOMPARE(changes, 1);

        // Another month comes beside the one of today; the way back costs nothing.
        const Date august = local(u"2026-08-15T12:00"_s);
        QVERIFY(!source.usage(later, august) && store.asked.size() == 1);
        store.answer(events);
        QCOMPARE(titles(*source.usage(later, august)), QStringList{u"A"_s});
        QVERIFY(source.usage(later, noon) && store.asked.isEmpty());
    }

    void changesOfTheStoreAreFetched()
    {
        HandStore store;
        CalendarSource source(store);
        int changes = 0;
        source.onChange = [&] { ++changes; };
        QVERIFY(!source.usage(noon, noon));
        store.answer({});
        store.onChange();
        QCOMPARE(store.asked.size(), 1);
        QVERIFY(source.usage(noon, noon));
        store.onChange(); // while it answers: what it says now may be old
        store.answer({});
        QCOMPARE(store.asked.size(), 1);
        QCOMPARE(changes, 1);
        store.answer({allDay(u"new"_s, u"2026-06-03"_s, u"2026-06-04"_s)});
        QCOMPARE(changes, 2);
        QCOMPARE(titles(*source.usage(noon, noon)), QStringList{u"new"_s});

        store.access = 2;
        store.onChange();
        store.answer({});
        QCOMPARE(changes, 3);
        QVERIFY(source.usage(noon, noon)->error);

        source.close();
        QVERIFY(store.isClosed);
        store.onChange();
        QVERIFY(store.asked.isEmpty());
    }

private:
    /// The record for the day and the month of `now`.
    static ServiceUsage record(const QList<CalendarEvent>& events, Date now = noon)
    {
        HandStore store;
        CalendarSource source(store);
        if (source.usage(now, now))
            qFatal("a record without events");
        store.answer(events);
        return source.usage(now, now).value();
    }
};

QTEST_GUILESS_MAIN(CalendarSourceTest)
#include "CalendarSourceTest.moc"
