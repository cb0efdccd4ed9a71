#include "platform/linux/CalendarRule.h"

#include <algorithm>
#include <memory>

using namespace std::chrono_literals;

namespace {

/// Further than any time zone is from UTC.
constexpr auto zoneMargin = 15h;

struct FreeIterator {
    void operator()(icalrecur_iterator* iterator) const { icalrecur_iterator_free(iterator); }
};
using Iterator = std::unique_ptr<icalrecur_iterator, FreeIterator>;

/// `date` on a clock that shows UTC, as a time without a zone.
icaltimetype clockTime(Date date, bool isDate)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date).time_since_epoch();
    icaltimetype time = icaltime_from_timet_with_zone(time_t(seconds.count()), isDate, nullptr);
    time.zone = nullptr;
    return time;
}

Date asIfUtc(icaltimetype time)
{
    time.zone = nullptr;
    return Date(std::chrono::seconds(icaltime_as_timet(time)));
}

/// Whether the rule asks for certain seconds, hours, days or months besides its frequency.
bool hasConditions(const icalrecurrencetype& rule)
{
    const auto isSet = [](const auto& values) { return values[0] != ICAL_RECURRENCE_ARRAY_MAX; };
    return isSet(rule.by_second) || isSet(rule.by_minute) || isSet(rule.by_hour)
        || isSet(rule.by_day) || isSet(rule.by_month_day) || isSet(rule.by_year_day)
        || isSet(rule.by_week_no) || isSet(rule.by_month) || isSet(rule.by_set_pos);
}

std::chrono::seconds withinDay(icalrecurrencetype_frequency frequency)
{
    switch (frequency) {
    case ICAL_SECONDLY_RECURRENCE:
        return 1s;
    case ICAL_MINUTELY_RECURRENCE:
        return 1min;
    case ICAL_HOURLY_RECURRENCE:
        return 1h;
    default:
        return 0s; // whole days and longer
    }
}

/// The last moment that the rule itself allows. A day counts to its end.
class RuleEnd {
public:
    RuleEnd(const icaltimetype& until,
            const std::function<std::optional<Date>(const icaltimetype&)>& moment)
    {
        if (icaltime_is_null_time(until))
            return;
        if (until.is_date)
            m_day = QDate(until.year, until.month, until.day);
        else
            m_moment = moment(until);
    }

    [[nodiscard]] bool isBefore(const CalendarStart& start) const
    {
        return (m_moment && *m_moment < start.moment) || (m_day && *m_day < start.day);
    }

private:
    std::optional<Date> m_moment;
    std::optional<QDate> m_day;
};

/// Steps from one start to the next, beginning shortly before the span where the rule allows that.
class Steps {
public:
    Steps(icalrecurrencetype rule, icaltimetype first, const DateSpan& span)
    {
        const auto unit = withinDay(rule.freq);
        const bool hasMore = hasConditions(rule);
        const bool isCounted = rule.count > 0;
        // Could look at millions of moments for the one that fits.
        if (hasMore && (unit == 1s || (unit == 1min && isCounted)))
            return;
        const Date from = span.start - zoneMargin;
        m_left = isCounted ? rule.count : -1;
        first.zone = nullptr;
        if (unit > 0s && !(hasMore && isCounted))
            skip(unit * std::max<int>(rule.interval, 1), from, first);
        // libical goes on until the year 2582 for a rule that never comes true; and it takes only
        // one of the two ends that a rule can have.
        rule.count = 0;
        rule.until = clockTime(span.end + zoneMargin, first.is_date);
        m_iterator.reset(icalrecur_iterator_new(rule, first));
        // Exact for these frequencies alone.
        if (m_iterator && m_left < 0 && unit == 0s && asIfUtc(first) < from)
            icalrecur_iterator_set_start(m_iterator.get(), clockTime(from, first.is_date));
    }

    /// Null after the last.
    icaltimetype next()
    {
        if (!m_iterator || m_left == 0)
            return icaltime_null_time();
        --m_left;
        return icalrecur_iterator_next(m_iterator.get());
    }

private:
    void skip(std::chrono::seconds step, Date from, icaltimetype& first)
    {
        const auto missing = from - asIfUtc(first);
        if (missing <= 0s)
            return;
        const auto skipped = missing / step;
        first = clockTime(asIfUtc(first) + skipped * step, first.is_date);
        if (m_left > 0)
            m_left = std::max<qint64>(m_left - skipped, 0);
    }

    Iterator m_iterator;
    qint64 m_left = -1; // negative: without end
};

} // namespace

QList<CalendarStart>
ruleStarts(icalrecurrencetype rule, icaltimetype first, const CalendarRange& range,
           const std::function<std::optional<Date>(const icaltimetype&)>& moment)
{
    QList<CalendarStart> starts;
    const RuleEnd end(rule.until, moment);
    Steps steps(rule, first, range.span);
    for (int step = 0; step < range.steps; ++step) {
        icaltimetype time = steps.next();
        if (icaltime_is_null_time(time))
            break;
        time.zone = first.zone; // an event in UTC repeats in UTC
        const std::optional<Date> when = moment(time);
        if (!when)
            continue;
        const CalendarStart start{*when, QDate(time.year, time.month, time.day)};
        if (end.isBefore(start) || start.moment >= range.span.end)
            break;
        if (start.moment >= range.span.start)
            starts.append(start);
    }
    return starts;
}
