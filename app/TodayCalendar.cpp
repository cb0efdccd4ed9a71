#include "app/TodayCalendar.h"

#include "platform/PreferenceStore.h"
#include "today/DemoCalendar.h"

using namespace Qt::StringLiterals;

namespace {

const QString askedKey = u"calendarAccessAsked"_s;

} // namespace

TodayCalendar::TodayCalendar(CalendarStore& store, PreferenceStore& preferences, bool isDemo)
    : m_source(store)
    , m_preferences(preferences)
    , m_isDemo(isDemo)
{
    m_source.onChange = [this] { onChange(); };
}

std::optional<ServiceUsage> TodayCalendar::usage(Date now)
{
    const Date month = m_month.value_or(now);
    return m_isDemo ? Demo::calendar(now, month, m_selected)
                    : m_source.usage(now, month, m_selected);
}

ServiceUsage TodayCalendar::spoken(Date now)
{
    const auto today = m_isDemo ? Demo::calendar(now, now, {}) : m_source.usage(now, now);
    if (today)
        m_spoken = *today;
    ServiceUsage left = m_spoken;
    left.id = u"calendar"_s;
    left.agenda.removeIf([now](const AgendaItem& item) { return item.end <= now; });
    return left;
}

void TodayCalendar::navigate(Date month, std::optional<Date> selected)
{
    m_month = month;
    m_selected = selected;
}

void TodayCalendar::showToday()
{
    m_month.reset();
    m_selected.reset();
}

void TodayCalendar::askCalendarAccess()
{
    if (m_isDemo || m_isAsking || m_source.status() != CalendarAccess::notDetermined
        || m_preferences.boolean(askedKey).value_or(false))
        return;
    m_isAsking = true;
    m_preferences.setBoolean(askedKey, true);
    m_source.requestAccess([this](bool) {
        m_isAsking = false;
        onChange();
    });
}
