#include "today/CalendarSource.h"

#include <QCoreApplication>
#include <QDateTime>

#include <algorithm>
#include <array>
#include <bitset>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto agendaLength = 86'400s; // also on the days when the clocks change
constexpr auto freshness = 600s;
constexpr qsizetype monthsKept = 6;
constexpr int longestMonth = 31;

struct CalendarSourceText {
    Q_DECLARE_TR_FUNCTIONS(CalendarSource)
};

QString accessError(int status)
{
    return status == CalendarAccess::notDetermined
        ? CalendarSourceText::tr("Allow calendar access to see your day")
        : CalendarSourceText::tr("Turn on Calendar access for Vexlo in System Settings");
}

QDate localDay(Date date)
{
    return QDateTime::fromMSecsSinceEpoch(date.time_since_epoch().count()).date();
}

Date startOfDay(QDate day)
{
    return Date(std::chrono::milliseconds(day.startOfDay().toMSecsSinceEpoch()));
}

QDate firstOfMonth(QDate day)
{
    return {day.year(), day.month(), 1};
}

/// A day more on both sides, so that 24 hours from any midnight of the month lie within.
DateSpan fetchSpan(QDate day)
{
    const QDate first = firstOfMonth(day);
    return {startOfDay(first.addDays(-1)), startOfDay(first.addMonths(1).addDays(1))};
}

QList<AgendaItem> agenda(const QList<CalendarEvent>& events, Date dayStart)
{
    const DateSpan day{dayStart, dayStart + agendaLength};
    QList<AgendaItem> items;
    for (const CalendarEvent& event : events) {
        if (event.cancelled || !overlaps(event, day))
            continue;
        items.append({
            .title = event.title.isEmpty() ? CalendarSourceText::tr("Busy") : event.title,
            .start = event.start,
            .end = event.end,
            .allDay = event.allDay,
        });
    }
    std::ranges::stable_sort(items, [](const AgendaItem& left, const AgendaItem& right) {
        return left.allDay != right.allDay ? left.allDay : left.start < right.start;
    });
    return items;
}

/// Midnights are worked out once for the month and not for each event: that is what takes time.
class MonthMarks {
public:
    explicit MonthMarks(QDate first)
        : m_length(first.daysInMonth())
    {
        for (int day = 0; day <= m_length; ++day)
            m_midnights.at(size_t(day)) = startOfDay(first.addDays(day));
    }

    void add(const CalendarEvent& event)
    {
        const DateSpan month{m_midnights.front(), m_midnights.at(size_t(m_length))};
        if (event.cancelled || !overlaps(event, month))
            return;
        const Date last = std::min(event.end, month.end) - 1s;
        for (int day = dayOf(std::max(event.start, month.start)); day <= m_length; ++day) {
            if (m_midnights.at(size_t(day - 1)) > last)
                return;
            m_marked.set(size_t(day));
        }
    }

    [[nodiscard]] QSet<int> days() const
    {
        QSet<int> days;
        for (int day = 1; day <= m_length; ++day) {
            if (m_marked.test(size_t(day)))
                days.insert(day);
        }
        return days;
    }

private:
    [[nodiscard]] int dayOf(Date date) const
    {
        const auto end = m_midnights.begin() + m_length;
        return int(std::upper_bound(m_midnights.begin(), end, date) - m_midnights.begin());
    }

    int m_length;
    std::array<Date, longestMonth + 1> m_midnights; // and the one after the month
    std::bitset<longestMonth + 1> m_marked;
};

QSet<int> eventDays(const QList<CalendarEvent>& events, QDate day)
{
    MonthMarks marks(firstOfMonth(day));
    for (const CalendarEvent& event : events)
        marks.add(event);
    return marks.days();
}

} // namespace

CalendarSource::CalendarSource(CalendarStore& store)
    : m_store(store)
{
    m_store.onEvents
        = [this](const DateSpan& span, const QList<CalendarEvent>& events) { take(span, events); };
    m_store.onChange = [this] { storeChanged(); };
}

CalendarSource::~CalendarSource()
{
    m_store.onEvents = {};
    m_store.onChange = {};
}

int CalendarSource::status() const
{
    return m_store.status().value_or(CalendarAccess::notDetermined);
}

void CalendarSource::requestAccess(std::function<void(bool)> completion)
{
    m_store.requestAccess(std::move(completion));
}

std::optional<ServiceUsage> CalendarSource::usage(Date now, Date month,
                                                  std::optional<Date> selected)
{
    const QDate monthDay = localDay(month);
    const QDate agendaDay = localDay(selected.value_or(now));
    const DateSpan monthSpan = fetchSpan(monthDay);
    const DateSpan agendaSpan = fetchSpan(agendaDay);
    m_needed = {monthSpan};
    if (agendaSpan != monthSpan)
        m_needed.append(agendaSpan);
    m_now = now;

    const std::optional<int> status = m_store.status();
    if (!status || *status == CalendarAccess::full)
        ask();
    if (!status)
        return std::nullopt;
    ServiceUsage usage{
        .id = u"calendar"_s,
        .name = CalendarSourceText::tr("Calendar"),
        .observed = now,
        .freshnessSeconds = double(freshness.count()),
        .calendarMonth = month,
        .selectedDay = selected,
    };
    if (*status != CalendarAccess::full) {
        usage.error = accessError(*status);
        return usage;
    }
    const Month* shown = find(monthSpan);
    const Month* around = find(agendaSpan);
    if (!shown || !around)
        return std::nullopt;
    usage.agenda = agenda(around->events, startOfDay(agendaDay));
    usage.eventDays = eventDays(shown->events, monthDay);
    return usage;
}

void CalendarSource::close()
{
    m_store.close();
    m_months.clear();
    m_requests.clear();
    m_needed.clear();
    m_status.reset();
}

/// For what the last record needs and does not have, or has from too long ago.
void CalendarSource::ask()
{
    for (const DateSpan& span : std::as_const(m_needed)) {
        const auto asked = std::ranges::find(m_requests, span, &Request::span);
        if (asked != m_requests.end() || isFresh(span))
            continue;
        m_requests.append({span, m_now, m_storeState});
        m_store.fetch(span);
    }
}

bool CalendarSource::isFresh(const DateSpan& span) const
{
    const Month* month = find(span);
    // A clock that was put back makes an age negative.
    return month && month->storeState == m_storeState && m_now >= month->asked
        && m_now - month->asked < freshness;
}

const CalendarSource::Month* CalendarSource::find(const DateSpan& span) const
{
    const auto month = std::ranges::find(m_months, span, &Month::span);
    return month == m_months.end() ? nullptr : &*month;
}

void CalendarSource::take(const DateSpan& span, const QList<CalendarEvent>& events)
{
    const auto found = std::ranges::find(m_requests, span, &Request::span);
    if (found == m_requests.end())
        return;
    const Request request = *found;
    m_requests.erase(found);
    const bool isNew = keep(request, events);
    const bool hasNewStatus = m_status != m_store.status();
    m_status = m_store.status();
    if (request.storeState != m_storeState)
        ask(); // it changed while it answered
    if ((isNew || hasNewStatus) && onChange)
        onChange();
}

bool CalendarSource::keep(const Request& request, const QList<CalendarEvent>& events)
{
    const Month* before = find(request.span);
    const bool isNew = !before || before->events != events;
    m_months.removeIf([&](const Month& month) { return month.span == request.span; });
    m_months.append({request.span, events, request.asked, request.storeState});
    const auto spare = std::ranges::find_if(
        m_months, [this](const Month& month) { return !m_needed.contains(month.span); });
    if (m_months.size() > monthsKept && spare != m_months.end())
        m_months.erase(spare);
    return isNew;
}

void CalendarSource::storeChanged()
{
    ++m_storeState;
    ask();
}
