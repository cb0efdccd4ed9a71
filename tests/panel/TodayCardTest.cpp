#include "panel/TodayCardView.h"
#include "platform/TextFonts.h"

#include <QDateTime>
#include <QTest>

#include <ctime>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using State = AgendaRow::State;

const QLocale british(u"en_GB"_s);

void setZone(const char* zone)
{
    qputenv("TZ", zone);
    tzset();
}

Date at(QDate day, int hour = 0, int minute = 0)
{
    const QDateTime local(day, QTime(hour, minute));
    return Date(std::chrono::milliseconds(local.toMSecsSinceEpoch()));
}

const QDate today(2026, 11, 22); // a Sunday

Date now()
{
    return at(today, 13, 49);
}

AgendaItem timed(const QString& title, Date start, std::chrono::minutes length = 30min)
{
    return {.title = title, .start = start, .end = start + length};
}

AgendaItem allDay(const QString& title, QDate day, int days = 1)
{
    return {.title = title, .start = at(day), .end = at(day.addDays(days)), .allDay = true};
}

ServiceUsage record(const QList<AgendaItem>& agenda, QDate selected = {})
{
    ServiceUsage usage{.id = u"calendar"_s, .name = u"Calendar"_s, .agenda = agenda};
    if (selected.isValid())
        usage.selectedDay = at(selected);
    usage.calendarMonth = at(selected.isValid() ? selected : today, 12);
    return usage;
}

/// A card whose wishes are granted at once, as the application does it.
struct Shown {
    TodayCardView view;
    ServiceUsage usage;
    QStringList reports; // "month selected"
    int opened = 0;

    explicit Shown(const ServiceUsage& first)
        : usage(first)
    {
        view.setColors(paletteFor(ColorScheme::light));
        view.setUsage(usage, now());
        view.resize(view.sizeHint());
        view.onOpenCalendar = [this] { ++opened; };
        view.onCalendarNavigate = [this](Date month, std::optional<Date> selected) {
            const QString day = selected ? localDay(*selected).toString(Qt::ISODate) : u"today"_s;
            reports.append(localDay(month).toString(Qt::ISODate) + u' ' + day);
            usage.calendarMonth = month;
            usage.selectedDay = selected;
            view.setUsage(usage, now());
        };
    }

    [[nodiscard]] CalendarHit hit(qsizetype index) const
    {
        const TodayLayout layout = todayLayout(view.card(), QFont());
        return calendarHits(view.card().grid, layout.grid).at(index);
    }
    [[nodiscard]] QPoint previous() const { return hit(0).area.center().toPoint(); }
    [[nodiscard]] QPoint next() const { return hit(1).area.center().toPoint(); }
    [[nodiscard]] QPoint day(int number) const { return hit(1 + number).area.center().toPoint(); }
    void click(QPoint point) { QTest::mouseClick(&view, Qt::LeftButton, {}, point); }
    void doubleClick(QPoint point)
    {
        click(point);
        QTest::mouseDClick(&view, Qt::LeftButton, {}, point);
    }
};

} // namespace

class TodayCardTest : public QObject {
    Q_OBJECT

private slots:
    void init() { setZone("Europe/Berlin"); }

    void gridBeginsWithTheLocalesFirstDay_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QDate>("month");
        QTest::addColumn<int>("firstColumn");
        QTest::addColumn<int>("lastWeek");
        QTest::newRow("Monday, six weeks") << u"en_GB"_s << QDate(2027, 5, 31) << 5 << 5;
        QTest::newRow("Monday, four weeks") << u"en_GB"_s << QDate(2027, 2, 1) << 0 << 3;
        QTest::newRow("Sunday") << u"en_US"_s << QDate(2026, 11, 22) << 0 << 4;
        QTest::newRow("Sunday, last column") << u"en_US"_s << QDate(2027, 5, 1) << 6 << 5;
        QTest::newRow("Saturday") << u"ar_EG"_s << QDate(2026, 11, 1) << 1 << 4;
        QTest::newRow("leap day") << u"en_GB"_s << QDate(2028, 2, 29) << 1 << 4;
    }

    void gridBeginsWithTheLocalesFirstDay()
    {
        QFETCH(QString, locale);
        QFETCH(QDate, month);
        const MonthGrid grid = monthGrid(record({}, month), QLocale(locale), now());
        QCOMPARE(grid.days.size(), month.daysInMonth());
        QTEST(grid.days.first().column, "firstColumn");
        QTEST(grid.days.last().week, "lastWeek");
        const int weekday = month.dayOfWeek();
        QCOMPARE(grid.weekdays[grid.days[month.day() - 1].column],
                 QLocale(locale).standaloneDayName(weekday, QLocale::NarrowFormat));
    }

    void gridMarksTodayTheSelectedDayAndEvents()
    {
        ServiceUsage usage = record({}, QDate(2026, 11, 25));
        usage.eventDays = {1, 25};
        const QList<MonthDay> days = monthGrid(usage, british, now()).days;
        QVERIFY(days[0].hasEvents && days[0].isPast && !days[0].isToday);
        QVERIFY(days[20].isPast && !days[20].hasEvents);
        QVERIFY(days[21].isToday && !days[21].isPast && !days[21].isSelected);
        QVERIFY(days[24].isSelected && days[24].hasEvents && !days[24].isPast);
        QVERIFY(!monthGrid(record({}, today), british, now()).days[21].isSelected);

        QCOMPARE(monthGrid(usage, british, now()).title, u"November"_s);
        QCOMPARE(monthGrid(record({}, QDate(2027, 1, 1)), british, now()).title, u"January 2027"_s);
        QCOMPARE(monthGrid({}, british, now()).month, QDate(2026, 11, 1));
    }

    void everyPlaceOfTheGridIsFoundAndNoOther()
    {
        const TodayCard card = todayCard(record({}, QDate(2027, 5, 31)), british, now());
        const TodayLayout layout = todayLayout(card, QFont());
        const QList<CalendarHit> hits = calendarHits(card.grid, layout.grid);
        QCOMPARE(hits.size(), 33);
        for (const CalendarHit& hit : hits) {
            QVERIFY(layout.frame.contains(hit.area));
            // Just inside each corner, so that no other place may lie over it.
            const QRectF inner = hit.area.adjusted(0.1, 0.1, -0.1, -0.1);
            QCOMPARE(calendarHitAt(hits, inner.topLeft()), hit);
            QCOMPARE(calendarHitAt(hits, inner.bottomRight()), hit);
        }
        const QRectF first = hits[2].area; // 1 May, a Saturday
        QVERIFY(!calendarHitAt(hits, first.center() - QPointF(first.width(), 0)));
        QVERIFY(!calendarHitAt(hits, first.center() - QPointF(0, first.height())));
        QVERIFY(!calendarHitAt(hits, hits.last().area.center() + QPointF(first.width(), 0)));
    }

    void agendaTellsWhenEventsAre_data()
    {
        const QDate yesterday = today.addDays(-1);
        const QDate tomorrow = today.addDays(1);
        QTest::addColumn<AgendaItem>("item");
        QTest::addColumn<QString>("time");
        QTest::addColumn<State>("state");
        QTest::addColumn<QString>("spoken");
        const auto row
            = [](const char* name, const AgendaItem& item, const QString& time, State state,
                 const QString& spoken) { QTest::newRow(name) << item << time << state << spoken; };
        row("to come", timed(u"A"_s, at(today, 13, 50)), u"13:50"_s, State::coming,
            u"13:50 to 14:20, A"_s);
        row("starts now", timed(u"A"_s, now()), u"13:49"_s, State::current,
            u"13:49 to 14:19, A, now"_s);
        row("ends now", timed(u"A"_s, at(today, 13, 19)), u"13:19"_s, State::ended,
            u"13:19 to 13:49, A, ended"_s);
        row("all day", allDay(u"A"_s, today), u"all day"_s, State::current, u"all day, A"_s);
        row("all day without a length", allDay(u"A"_s, today, 0), u"all day"_s, State::current,
            u"all day, A"_s);
        row("over midnight", timed(u"A"_s, at(yesterday, 22), 12h), u"until 10:00"_s, State::ended,
            u"until 10:00, A, ended"_s);
        row("into the night", timed(u"A"_s, at(today, 22), 12h), u"22:00"_s, State::coming,
            u"from 22:00, A"_s);
        row("for days", timed(u"A"_s, at(today.addDays(-3), 9), 400 * 24h), u"all day"_s,
            State::current, u"all day, A, now"_s);
        row("ends before its start",
            AgendaItem{.title = u"A\nB"_s, .start = at(today, 15), .end = at(today, 9)}, u"15:00"_s,
            State::coming, u"15:00, A B"_s);
        row("of tomorrow on today's list", timed(u"A"_s, at(tomorrow, 0, 30)), u"00:30"_s,
            State::coming, u"from 00:30, A"_s);
    }

    void agendaTellsWhenEventsAre()
    {
        QFETCH(AgendaItem, item);
        const AgendaRow row = todayAgenda(record({item}), today, british, now()).rows.first();
        QTEST(row.time, "time");
        QTEST(row.state, "state");
        QTEST(row.spoken, "spoken");
    }

    void clockChangesMoveNoEvent()
    {
        for (const QDate day : {QDate(2026, 3, 29), QDate(2026, 10, 25)}) {
            const QList<AgendaItem> items{allDay(u"A"_s, day), timed(u"B"_s, at(day, 9, 15)),
                                          timed(u"C"_s, at(day.addDays(-1), 20), 27h)};
            const TodayAgenda agenda
                = todayAgenda(record(items, day), day, british, at(day, 23, 59));
            QCOMPARE(agenda.rows[0].state, State::current);
            QCOMPARE(agenda.rows[1].time, u"09:15"_s);
            QCOMPARE(agenda.rows[2].time, day.month() == 3 ? u"all day"_s : u"until 22:00"_s);
        }
    }

    void noteSaysWhatComesNext_data()
    {
        const AgendaItem ended = timed(u"E"_s, at(today, 9));
        QTest::addColumn<QList<AgendaItem>>("agenda");
        QTest::addColumn<QDate>("day");
        QTest::addColumn<QString>("note");
        const auto row = [](const char* name, const QList<AgendaItem>& agenda, QDate day,
                            const QString& note) { QTest::newRow(name) << agenda << day << note; };
        row("within the hour", {ended, timed(u"N"_s, now() + 41min + 59s)}, today,
            u"Next in 41 min"_s);
        row("at once", {timed(u"N"_s, now() + 30s)}, today, u"Next in 1 min"_s);
        row("in an hour", {timed(u"N"_s, now() + 60min)}, today, u"Next at 14:49"_s);
        row("the earliest", {timed(u"N"_s, now() + 9min), timed(u"M"_s, now() + 5min)}, today,
            u"Next in 5 min"_s);
        row("nothing at all", {}, today, u"No more events today"_s);
        row("all ended", {ended}, today, u"No more events today"_s);
        row("on now", {timed(u"N"_s, now())}, today, QString());
        row("all day only", {allDay(u"A"_s, today)}, today, QString());
        row("another day's", {timed(u"T"_s, at(today.addDays(1), 9))}, today.addDays(1), QString());
        row("another day without", {}, today.addDays(1), u"No events"_s);
    }

    void noteSaysWhatComesNext()
    {
        QFETCH(QList<AgendaItem>, agenda);
        QFETCH(QDate, day);
        const TodayCard card = todayCard(record(agenda, day), british, now());
        QTEST(card.agenda.note, "note");
    }

    void longAgendaLeavesOutWhatMattersLeast()
    {
        QList<AgendaItem> items;
        for (int i = 0; i < 5; ++i)
            items.append(allDay(u"all %1"_s.arg(i), today));
        for (int hour = 12; hour < 18; ++hour)
            items.append(timed(u"at %1"_s.arg(hour), at(today, hour)));
        const TodayAgenda agenda = todayAgenda(record(items), today, british, now());
        QStringList titles;
        for (const AgendaRow& row : agenda.rows)
            titles.append(row.title);
        QCOMPARE(titles, QStringList({u"all 0"_s, u"all 1"_s, u"all 2"_s, u"at 14"_s, u"at 15"_s}));
        QCOMPARE(agenda.more, u"2 earlier · +4 more"_s);
        QCOMPARE(agenda.words.size(), 11);
        const TodayAgenda six = todayAgenda(record(items.mid(5)), today, british, now());
        QCOMPARE(six.rows.size(), 6);
        QCOMPARE(six.more, QString());
    }

    void errorStandsInPlaceOfTheAgenda()
    {
        ServiceUsage usage = record({timed(u"Old"_s, now())});
        usage.error = u"Turn on Calendar access"_s;
        const TodayCard card = todayCard(usage, british, now());
        QVERIFY(card.agenda.rows.isEmpty() && card.agenda.note.isEmpty());
        QCOMPARE(card.spoken(), u"Sunday, 22 November; Turn on Calendar access"_s);
        QVERIFY(!todayLayout(card, QFont()).error.isEmpty());
    }

    void dayIsNamedInTheLocalesOrder()
    {
        QCOMPARE(dayText(today, QLocale(u"en_US"_s)), u"Sunday, November 22"_s);
        QCOMPARE(dayText(today, QLocale(u"es_ES"_s)), u"domingo, 22 de noviembre"_s);
        QCOMPARE(dayText(today, QLocale(u"hu_HU"_s)), u"november 22., vasárnap"_s);
        QCOMPARE(dayText(today, QLocale(u"lv_LV"_s)), u"svētdiena, 22. novembris"_s);
    }

    void nothingOverlapsHoweverLongTheTitles()
    {
        QList<AgendaItem> items{timed(u"Night"_s, at(today.addDays(-1), 22), 17h)};
        for (const QString& word : {u"long "_s, u"פגישה "_s, u"👩‍👩‍👧"_s, u"W"_s})
            items.append(timed(word.repeated(80), at(today, 14)));
        TodayCard card = todayCard(record(items), british, now());
        card.speech = u"One step at a time."_s;
        const TodayLayout layout = todayLayout(card, QFont());
        const TodayStyle style;
        for (const AgendaRowLayout& row : layout.rows) {
            const QFontMetricsF metrics(textFont(style.titleSize));
            QVERIFY(row.title.x() + metrics.horizontalAdvance(row.titleText)
                    < layout.grid.frame.left());
        }
        QVERIFY(layout.rows[0].title.x() > layout.rows[1].title.x());
        QVERIFY(layout.character.top() >= layout.rows.last().area.bottom());
        QVERIFY(layout.bubble.frame.top() >= layout.grid.frame.bottom());
        QVERIFY(layout.frame.contains(layout.bubble.frame));

        const auto height = [](QDate day) {
            return todayLayout(todayCard(record({}, day), british, now()), QFont()).height;
        };
        QCOMPARE(height(QDate(2027, 2, 1)), height(QDate(2027, 5, 31))); // four weeks and six
    }

    void clicksSelectDaysAndTurnMonths()
    {
        Shown shown(record({}, QDate(2026, 12, 24)));
        const auto reported = [&] { return std::exchange(shown.reports, {}).join(u", "_s); };
        shown.click(shown.next());
        QCOMPARE(reported(), u"2027-01-01 2026-12-24"_s);
        shown.click(shown.day(31));
        QCOMPARE(reported(), u"2027-01-01 2027-01-31"_s);
        shown.doubleClick(shown.previous()); // both clicks count
        QCOMPARE(reported().right(21), u"2026-11-01 2027-01-31"_s);
        shown.click(shown.day(1));
        QCOMPARE(reported(), u"2026-11-01 2026-11-01"_s);
        shown.click(shown.day(1)); // again: back to today
        QCOMPARE(reported(), u"2026-11-01 today"_s);
        shown.click(shown.day(22));
        QCOMPARE(reported(), u"2026-11-01 today"_s);

        shown.click({2, 2});
        shown.click(todayLayout(shown.view.card(), QFont()).character.center().toPoint());
        QTest::mouseClick(&shown.view, Qt::RightButton, {}, shown.day(3));
        QCOMPARE(reported(), QString());
        QCOMPARE(shown.opened, 0);
    }

    void doubleClickOpensTheCalendarAndKeepsItsDay()
    {
        Shown shown(record({}));
        shown.click(shown.day(3));
        QCOMPARE(shown.reports.size(), 1); // without waiting for a second click
        QCOMPARE(shown.opened, 0);
        for (const int number : {4, 4}) { // another day, then the selected one
            shown.doubleClick(shown.day(number));
            QCOMPARE(shown.view.card().day, QDate(2026, 11, number));
        }
        QCOMPARE(shown.opened, 2);
        shown.doubleClick({2, 2});
        QCOMPARE(shown.opened, 2);
    }

    void daysWithoutMidnightCanBeSelected()
    {
        setZone("America/Sao_Paulo");
        Shown shown(record({}, QDate(2018, 11, 1)));
        shown.click(shown.day(4));
        QCOMPARE(shown.reports, QStringList(u"2018-11-01 2018-11-04"_s));
        QCOMPARE(*shown.usage.selectedDay, at(QDate(2018, 11, 4), 1));
    }

    void keysMoveTheDayAndSelectIt_data()
    {
        QTest::addColumn<QDate>("selected");
        QTest::addColumn<QList<int>>("keys");
        QTest::addColumn<QStringList>("reports");
        const auto row = [](const char* name, QDate selected, const QList<int>& keys,
                            const QStringList& reports) {
            QTest::newRow(name) << selected << keys << reports;
        };
        const QDate march(2027, 3, 31);
        row("within the month", march, {Qt::Key_Up, Qt::Key_Left, Qt::Key_Return},
            {u"2027-03-01 2027-03-23"_s});
        row("over its end", march, {Qt::Key_Right, Qt::Key_Down, Qt::Key_Enter},
            {u"2027-04-01 2027-03-31"_s, u"2027-04-01 2027-04-08"_s});
        row("shorter month", march, {Qt::Key_PageUp, Qt::Key_Return},
            {u"2027-02-01 2027-03-31"_s, u"2027-02-01 2027-02-28"_s});
        row("next year", QDate(2026, 12, 5), {Qt::Key_PageDown}, {u"2027-01-01 2026-12-05"_s});
        row("today", march, {Qt::Key_Home}, {u"2026-11-01 today"_s});
        row("no key of ours", march, {Qt::Key_End, Qt::Key_Escape}, {});
    }

    void keysMoveTheDayAndSelectIt()
    {
        QFETCH(QDate, selected);
        QFETCH(QList<int>, keys);
        Shown shown(record({}, selected));
        for (const int key : keys)
            QTest::keyClick(&shown.view, Qt::Key(key));
        QTEST(shown.reports, "reports");
        QCOMPARE(shown.opened, 0);
        QTest::keyClick(&shown.view, Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(shown.opened, 1);
    }

    void screenReaderHearsTheDayAndItsAgenda()
    {
        ServiceUsage usage = record({timed(u"Standup"_s, at(today, 9, 30))});
        usage.eventDays = {22, 23};
        Shown shown(usage);
        QCOMPARE(shown.view.accessibleName(), u"Today"_s);
        const QString words = shown.view.accessibleDescription();
        QVERIFY2(words.contains("Standup, ended; No more events today"_L1), qPrintable(words));
        QTest::keyClick(&shown.view, Qt::Key_Right);
        const QString monday = dayText(today.addDays(1), QLocale()) + ", has events. "_L1;
        QCOMPARE(shown.view.accessibleDescription(), monday + words);
    }

    void todayIsFilledAndTheSelectedDayRinged()
    {
        Shown shown(record({}, QDate(2026, 11, 25)));
        const QImage image = shown.view.grab().toImage();
        const QColor accent = paletteFor(ColorScheme::light).accent;
        const auto isAccent = [&](int number, QPoint offset) {
            return image.pixelColor(shown.day(number) + offset) == accent;
        };
        const QPoint besideFigures(0, -6);
        QVERIFY(isAccent(22, besideFigures));
        QVERIFY(!isAccent(25, besideFigures));
        QVERIFY(!isAccent(24, besideFigures));
        QVERIFY(image.pixelColor(shown.day(25) + QPoint(0, -8)) != QColor(Qt::white));
        QCOMPARE(image.pixelColor(shown.day(24) + QPoint(0, -8)), QColor(Qt::white));
    }
};

QTEST_MAIN(TodayCardTest)
#include "TodayCardTest.moc"
