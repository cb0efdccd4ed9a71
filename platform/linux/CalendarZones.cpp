#include "platform/linux/CalendarZones.h"

#include <QDateTime>

namespace {

Date dateOf(const QDateTime& time)
{
    return Date(std::chrono::milliseconds(time.toMSecsSinceEpoch()));
}

/// Other programs write "Europe/Berlin", "W. Europe Standard Time" and
/// "/freeassociation.sourceforge.net/Europe/Berlin", among others. Invalid for unknown ones.
QTimeZone zoneNamed(const QByteArray& name)
{
    const QByteArray windows = QTimeZone::windowsIdToDefaultIanaId(name);
    if (!windows.isEmpty())
        return QTimeZone(windows);
    for (qsizetype start = 0; start >= 0; start = name.indexOf('/', start)) {
        if (start > 0 || name.startsWith('/'))
            ++start;
        const QByteArray rest = name.mid(start);
        if (!rest.isEmpty() && QTimeZone::isTimeZoneIdAvailable(rest))
            return QTimeZone(rest);
    }
    return {};
}

} // namespace

QDate calendarDay(const icaltimetype& time)
{
    return {time.year, time.month, time.day};
}

void CalendarZones::add(const QByteArray& text)
{
    icalcomponent* component = icalparser_parse_string(text.constData());
    if (!component)
        return;
    const std::shared_ptr<icaltimezone> zone(icaltimezone_new(), FreeZone());
    if (!icaltimezone_set_component(zone.get(), component)) {
        icalcomponent_free(component);
        return;
    }
    m_own.insert(QByteArray(icaltimezone_get_tzid(zone.get())), zone);
}

std::optional<Date> CalendarZones::moment(icaltimetype time, const QByteArray& zone)
{
    const bool isUtc = icaltime_is_utc(time);
    time = icaltime_normalize(time);
    const QDate day = calendarDay(time);
    if (!day.isValid())
        return std::nullopt;
    if (time.is_date)
        return dateOf(day.startOfDay());
    const QTime clock(time.hour, time.minute, time.second);
    if (isUtc)
        return dateOf(QDateTime(day, clock, QTimeZone::utc()));
    if (zone.isEmpty())
        return dateOf(QDateTime(day, clock));
    if (const auto own = m_own.constFind(zone); own != m_own.cend())
        return Date(std::chrono::seconds(icaltime_as_timet_with_zone(time, own->get())));
    const QTimeZone system = systemZone(zone);
    return dateOf(system.isValid() ? QDateTime(day, clock, system) : QDateTime(day, clock));
}

QTimeZone CalendarZones::systemZone(const QByteArray& zone)
{
    const auto known = m_system.constFind(zone);
    if (known != m_system.cend())
        return *known;
    const QTimeZone system = zoneNamed(zone);
    if (!system.isValid())
        m_unknown.insert(zone);
    m_system.insert(zone, system);
    return system;
}
