#include "today/DemoCalendar.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

ServiceUsage Demo::calendar(Date now, Date month, std::optional<Date> selected)
{
    using namespace std::chrono_literals;
    const QDateTime local
        = QDateTime::fromMSecsSinceEpoch(selected.value_or(now).time_since_epoch().count());
    const Date midnight{std::chrono::milliseconds(local.date().startOfDay().toMSecsSinceEpoch())};
    ServiceUsage usage{.id = u"calendar"_s,
                       .name = u"Calendar"_s,
                       .observed = now,
                       .freshnessSeconds = 600,
                       .eventDays = {3, 8, 11, 17, 24},
                       .calendarMonth = month,
                       .selectedDay = selected};
    usage.eventDays.insert(local.date().day());
    usage.agenda = {{u"Release week"_s, midnight, midnight + 24h, true},
                    {u"Standup"_s, midnight + 9h + 30min, midnight + 9h + 45min},
                    {u"Design review"_s, midnight + 14h, midnight + 15h},
                    {u"Tea with Kim"_s, midnight + 16h + 30min, midnight + 17h}};
    return usage;
}
