#include "panel/TodayAgenda.h"

#include "panel/MonthGrid.h"

#include <QCoreApplication>
#include <QDateTime>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

using State = AgendaRow::State;

constexpr qsizetype mostRows = 6;
constexpr qsizetype mostAllDayRows = 3; // where timed events need the room
constexpr qint64 minutesPerHour = 60;

class Texts {
    Q_DECLARE_TR_FUNCTIONS(TodayAgenda)
};

QString timeOfDay(Date date, const QLocale& locale)
{
    // The C locale's short time has seconds.
    const QString format = locale.timeFormat(QLocale::ShortFormat).remove(u":ss"_s);
    const auto local = QDateTime::fromMSecsSinceEpoch(date.time_since_epoch().count());
    return locale.toString(local.time(), format);
}

/// One entry of the agenda on the shown day.
struct Entry {
    Date start;
    Date end; // never before the start
    bool startsBefore = false; // the shown day
    bool lasts = false; // until that day's end or longer
    bool allDay = false; // or all of that day
};

Entry entry(const AgendaItem& item, QDate day)
{
    // An all-day event without a length still takes its day.
    const Date leastEnd = item.allDay ? startOfDay(localDay(item.start).addDays(1)) : item.start;
    const Date end = std::max(item.end, leastEnd);
    const bool startsBefore = item.start < startOfDay(day);
    const bool lasts = end >= startOfDay(day.addDays(1));
    return {
        .start = item.start,
        .end = end,
        .startsBefore = startsBefore,
        .lasts = lasts,
        .allDay = item.allDay || (startsBefore && lasts),
    };
}

QString timeText(const Entry& entry, const QLocale& locale)
{
    if (entry.allDay)
        return Texts::tr("all day");
    return entry.startsBefore ? Texts::tr("until %1").arg(timeOfDay(entry.end, locale))
                              : timeOfDay(entry.start, locale);
}

QString spokenTime(const Entry& entry, const QLocale& locale)
{
    if (entry.allDay || entry.startsBefore || entry.end == entry.start)
        return timeText(entry, locale);
    const QString start = timeOfDay(entry.start, locale);
    return entry.lasts ? Texts::tr("from %1").arg(start)
                       : Texts::tr("%1 to %2", "times").arg(start, timeOfDay(entry.end, locale));
}

/// How the part of `entry` on `day` stands to `now`.
State stateOf(const Entry& entry, QDate day, Date now)
{
    const QDate today = localDay(now);
    if (day != today)
        return day < today ? State::ended : State::coming;
    if (entry.start > now)
        return State::coming;
    return entry.end <= now ? State::ended : State::current;
}

AgendaRow agendaRow(const AgendaItem& item, QDate day, const QLocale& locale, Date now)
{
    const Entry shown = entry(item, day);
    AgendaRow row{
        .time = timeText(shown, locale),
        .title = item.title.simplified(),
        .state = stateOf(shown, day, now),
        .allDay = item.allDay,
    };
    QStringList words{spokenTime(shown, locale), row.title};
    if (row.state == State::ended)
        words.append(Texts::tr("ended"));
    else if (row.state == State::current && !row.allDay)
        words.append(Texts::tr("now"));
    row.spoken = words.join(u", "_s);
    return row;
}

/// Removes rows from the `from`th on that `isLess` important until `rows` fits.
template<typename Predicate>
void thin(QList<AgendaRow>& rows, qsizetype room, qsizetype keep, Predicate isLessImportant)
{
    for (qsizetype i = 0; i < rows.size() && rows.size() > room;) {
        if (isLessImportant(rows[i]) && keep-- <= 0)
            rows.removeAt(i);
        else
            ++i;
    }
}

/// Leaves what fits the card. Returns how many rows went, in words.
QString thinOut(QList<AgendaRow>& rows)
{
    const qsizetype count = rows.size();
    if (count <= mostRows)
        return {};
    const qsizetype room = mostRows - 1; // and a line for the words
    thin(rows, room, 0, [](const AgendaRow& row) { return row.state == State::ended; });
    const qsizetype earlier = count - rows.size();
    thin(rows, room, mostAllDayRows, [](const AgendaRow& row) { return row.allDay; });
    rows.resize(std::min(rows.size(), room));
    const qsizetype others = count - earlier - rows.size();

    QStringList words;
    if (earlier > 0)
        words.append(Texts::tr("%1 earlier").arg(earlier));
    if (others > 0)
        words.append(Texts::tr("+%1 more").arg(others));
    return words.join(u" · "_s);
}

/// When the next event is: in whole minutes, rounded down as the character counts them, or at which
/// time.
QString nextText(Date start, const QLocale& locale, Date now)
{
    const auto minutes = std::chrono::floor<std::chrono::minutes>(start - now).count();
    if (minutes >= minutesPerHour)
        return Texts::tr("Next at %1").arg(timeOfDay(start, locale));
    return Texts::tr("Next in %1 min").arg(std::max<qint64>(minutes, 1));
}

/// What stands below the agenda.
QString noteText(const ServiceUsage& service, QDate day, const QLocale& locale, Date now)
{
    if (day != localDay(now))
        return service.agenda.isEmpty() ? Texts::tr("No events") : QString();
    bool remains = false;
    std::optional<Date> next;
    for (const AgendaItem& item : service.agenda) {
        const Entry shown = entry(item, day);
        remains = remains || stateOf(shown, day, now) != State::ended;
        if (!item.allDay && item.start > now)
            next = std::min(next.value_or(item.start), item.start);
    }
    if (next)
        return nextText(*next, locale, now);
    return remains ? QString() : Texts::tr("No more events today");
}

} // namespace

TodayAgenda todayAgenda(const ServiceUsage& service, QDate day, const QLocale& locale, Date now)
{
    TodayAgenda agenda;
    for (const AgendaItem& item : service.agenda) {
        agenda.rows.append(agendaRow(item, day, locale, now));
        agenda.words.append(agenda.rows.last().spoken);
    }
    agenda.more = thinOut(agenda.rows);
    agenda.note = noteText(service, day, locale, now);
    return agenda;
}
