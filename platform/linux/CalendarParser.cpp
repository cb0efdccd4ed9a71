#include "platform/linux/CalendarParser.h"

#include "platform/Characters.h"
#include "platform/linux/CalendarRule.h"
#include "platform/linux/CalendarZones.h"

#include <QByteArrayView>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QHash>

#include <algorithm>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr qsizetype longestTitle = 1'000; // characters; more could not be shown anyway

struct FreeComponent {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using Component = std::unique_ptr<icalcomponent, FreeComponent>;

/// The parts of a text that are of use here, each from its BEGIN to its END line. Cut out before
/// libical sees them: its tree of a large file would take twenty times the file's memory.
struct Blocks {
    bool isWhole = false;
    QList<QByteArrayView> zones;
    QList<QByteArrayView> events;
};

bool isLine(QByteArrayView line, QByteArrayView expected)
{
    return line.compare(expected, Qt::CaseInsensitive) == 0;
}

class Splitter {
public:
    explicit Splitter(QByteArrayView text)
        : m_text(text)
    {
        for (qsizetype start = 0; start < text.size();) {
            const qsizetype lineEnd = text.indexOf('\n', start);
            const qsizetype end = lineEnd < 0 ? text.size() : lineEnd + 1;
            take(text.sliced(start, end - start).trimmed(), start, end);
            start = end;
        }
    }

    Blocks blocks;

private:
    void take(QByteArrayView line, qsizetype start, qsizetype end)
    {
        if (isLine(line, "BEGIN:VEVENT") || isLine(line, "BEGIN:VTIMEZONE"))
            m_blockStart = start; // an earlier one that never ended is lost
        else if (isLine(line, "END:VEVENT"))
            close(blocks.events, end);
        else if (isLine(line, "END:VTIMEZONE"))
            close(blocks.zones, end);
        else if (!line.isEmpty())
            blocks.isWhole = m_blockStart < 0 && isLine(line, "END:VCALENDAR");
    }

    void close(QList<QByteArrayView>& list, qsizetype end)
    {
        blocks.isWhole = false;
        if (m_blockStart >= 0)
            list.append(m_text.sliced(m_blockStart, end - m_blockStart));
        m_blockStart = -1;
    }

    QByteArrayView m_text;
    qsizetype m_blockStart = -1;
};

/// A time as it stands in the text.
struct WallTime {
    icaltimetype time;
    QByteArray zone;
};

QByteArray zoneOf(icalproperty* property)
{
    icalparameter* parameter = icalproperty_get_first_parameter(property, ICAL_TZID_PARAMETER);
    return parameter ? QByteArray(icalparameter_get_tzid(parameter)) : QByteArray();
}

std::optional<WallTime> wallTime(icalproperty* property)
{
    if (!property)
        return std::nullopt;
    icaltimetype time = icalvalue_get_datetimedate(icalproperty_get_value(property));
    if (icaltime_is_null_time(time))
        return std::nullopt;
    return WallTime{time, zoneOf(property)};
}

icalproperty* property(const Component& component, icalproperty_kind kind)
{
    return icalcomponent_get_first_property(component.get(), kind);
}

template<typename Visit>
void forEach(const Component& component, icalproperty_kind kind, Visit visit)
{
    for (icalproperty* next = property(component, kind); next;
         next = icalcomponent_get_next_property(component.get(), kind))
        visit(next);
}

QString textOf(icalproperty* property)
{
    const char* text = property ? icalvalue_get_text(icalproperty_get_value(property)) : nullptr;
    return QString::fromUtf8(text ? text : "");
}

QString titleOf(const Component& component)
{
    const QString text = textOf(property(component, ICAL_SUMMARY_PROPERTY));
    return text.size() <= longestTitle ? text : firstCharacters(text, longestTitle);
}

/// Days or times at which something does not take place although the rule says so.
struct Exceptions {
    QSet<QDate> days;
    QSet<qint64> moments; // milliseconds since 1970

    void add(const std::optional<WallTime>& time, CalendarZones& zones)
    {
        if (!time)
            return;
        if (time->time.is_date)
            days.insert(calendarDay(time->time));
        else if (const std::optional<Date> moment = zones.moment(time->time, time->zone))
            moments.insert(moment->time_since_epoch().count());
    }

    [[nodiscard]] bool hold(const CalendarStart& start) const
    {
        return moments.contains(start.moment.time_since_epoch().count())
            || days.contains(start.day);
    }
};

/// One VEVENT: when it is, and how long.
struct Event {
    Component component;
    QString uid;
    QString title;
    bool isCancelled = false;
    WallTime wall;
    CalendarStart start;
    qint64 days = 0; // when it lasts all day
    std::chrono::milliseconds length{0}; // else

    [[nodiscard]] bool allDay() const { return wall.time.is_date; }
    [[nodiscard]] bool isRepeating() const
    {
        return property(component, ICAL_RRULE_PROPERTY) || property(component, ICAL_RDATE_PROPERTY);
    }

    [[nodiscard]] CalendarEvent at(const CalendarStart& when) const
    {
        const QDateTime dayEnd = allDay() ? when.day.addDays(days).startOfDay() : QDateTime();
        return {
            .title = title,
            .start = when.moment,
            .end = allDay() ? Date(std::chrono::milliseconds(dayEnd.toMSecsSinceEpoch()))
                            : when.moment + length,
            .allDay = allDay(),
            .cancelled = isCancelled,
        };
    }
};

class Reader {
public:
    Reader(const DateSpan& span, const CalendarLimits& limits)
        : m_span(span)
        , m_limits(limits)
    {
    }

    ParsedCalendar read(const QByteArray& text)
    {
        const Blocks blocks = Splitter(text).blocks;
        result.isWhole = blocks.isWhole;
        if (!blocks.isWhole)
            return result;
        for (const QByteArrayView zone : blocks.zones)
            m_zones.add(zone.toByteArray());
        for (const QByteArrayView event : blocks.events)
            take(event.toByteArray());
        const QDeadlineTimer deadline(m_limits.expansionTime);
        for (const Event& event : m_repeating)
            addOccurrences(event, deadline);
        result.unknownZones = m_zones.unknown();
        return result;
    }

    ParsedCalendar result;

private:
    /// Single events go out at once; repeating ones wait for the exceptions that may follow.
    void take(const QByteArray& text)
    {
        Component component(icalparser_parse_string(text.constData()));
        if (!component)
            return;
        std::optional<Event> event = readEvent(std::move(component));
        if (!event)
            return;
        if (const auto replaced = wallTime(property(event->component, ICAL_RECURRENCEID_PROPERTY)))
            m_replaced[event->uid].add(replaced, m_zones);
        else if (event->isRepeating()) {
            m_repeating.push_back(std::move(*event));
            return;
        }
        const CalendarEvent single = event->at(event->start);
        stretchExtent({single.start, single.end});
        add(single);
    }

    std::optional<Event> readEvent(Component component)
    {
        const auto wall = wallTime(property(component, ICAL_DTSTART_PROPERTY));
        const auto moment = wall ? m_zones.moment(wall->time, wall->zone) : std::nullopt;
        if (!moment)
            return std::nullopt;
        Event event{
            .uid = textOf(property(component, ICAL_UID_PROPERTY)),
            .title = titleOf(component),
            .isCancelled = icalcomponent_get_status(component.get()) == ICAL_STATUS_CANCELLED,
            .wall = *wall,
            .start = {*moment, calendarDay(wall->time)},
        };
        event.component = std::move(component);
        readLength(event);
        return event;
    }

    void readLength(Event& event)
    {
        icalproperty* duration = property(event.component, ICAL_DURATION_PROPERTY);
        const auto end = wallTime(property(event.component, ICAL_DTEND_PROPERTY));
        if (end) {
            const auto moment = m_zones.moment(end->time, end->zone);
            event.length = moment ? *moment - event.start.moment : 0ms;
            event.days = event.start.day.daysTo(calendarDay(end->time));
        } else if (duration) {
            event.length = std::chrono::seconds(
                icaldurationtype_as_int(icalproperty_get_duration(duration)));
            event.days = std::chrono::floor<std::chrono::days>(event.length).count();
        }
        event.length = std::max(event.length, std::chrono::milliseconds(0));
        event.days = std::max<qint64>(event.days, 1);
    }

    void addOccurrences(const Event& event, const QDeadlineTimer& deadline)
    {
        stretchExtent({event.start.moment, Date::max()});
        QList<CalendarStart> starts{event.start};
        const auto reach = event.allDay()
            ? std::chrono::milliseconds(std::chrono::days(event.days + 1))
            : event.length;
        const CalendarRange range{{m_span.start - reach, m_span.end}, m_limits.steps};
        const auto moment
            = [&](const icaltimetype& time) { return m_zones.moment(time, event.wall.zone); };
        forEach(event.component, ICAL_RRULE_PROPERTY, [&](icalproperty* rule) {
            if (!deadline.hasExpired())
                starts += ruleStarts(icalproperty_get_rrule(rule), event.wall.time, range, moment);
        });
        forEach(event.component, ICAL_RDATE_PROPERTY,
                [&](icalproperty* date) { addDate(date, starts); });
        add(event, starts);
    }

    void addDate(icalproperty* property, QList<CalendarStart>& starts)
    {
        const icaldatetimeperiodtype value = icalproperty_get_rdate(property);
        const icaltimetype time
            = icaltime_is_null_time(value.time) ? value.period.start : value.time;
        if (const std::optional<Date> moment = m_zones.moment(time, zoneOf(property)))
            starts.append({*moment, calendarDay(time)});
    }

    void add(const Event& event, QList<CalendarStart>& starts)
    {
        Exceptions exceptions = m_replaced.value(event.uid);
        forEach(event.component, ICAL_EXDATE_PROPERTY,
                [&](icalproperty* date) { exceptions.add(wallTime(date), m_zones); });
        std::ranges::sort(starts, {}, &CalendarStart::moment);
        const auto repeated = std::ranges::unique(starts, {}, &CalendarStart::moment);
        starts.erase(repeated.begin(), repeated.end());
        qsizetype left = m_limits.occurrences;
        for (const CalendarStart& start : std::as_const(starts)) {
            if (!exceptions.hold(start) && left > 0 && add(event.at(start)))
                --left;
        }
    }

    bool add(const CalendarEvent& event)
    {
        if (!overlaps(event, m_span) || result.events.size() >= m_limits.events)
            return false;
        result.events.append(event);
        return true;
    }

    void stretchExtent(const DateSpan& span)
    {
        DateSpan& extent = result.extent;
        const bool isFirst = extent.start == extent.end;
        extent.start = isFirst ? span.start : std::min(extent.start, span.start);
        // An event without length takes place somewhere, too.
        extent.end = std::max({isFirst ? span.end : extent.end, span.end, span.start + 1ms});
    }

    DateSpan m_span;
    CalendarLimits m_limits;
    CalendarZones m_zones;
    std::vector<Event> m_repeating;
    QHash<QString, Exceptions> m_replaced; // by UID
};

} // namespace

ParsedCalendar parseCalendar(const QByteArray& text, const DateSpan& span,
                             const CalendarLimits& limits)
{
    return Reader(span, limits).read(text);
}
