#include "app/WelcomeChoices.h"

#include "platform/PreferenceStore.h"
#include "usage/ProviderRegistry.h"

using namespace Qt::StringLiterals;

namespace {

const QString calendarId = u"calendar"_s;
const QStringList aiServices{u"claude"_s, u"codex"_s};

} // namespace

TodayChoice suggestedToday(bool hasCalendar, bool hasAiService)
{
    if (!hasAiService)
        return TodayChoice::calendar;
    return hasCalendar ? TodayChoice::both : TodayChoice::ai;
}

void saveWelcome(const WelcomeController::Result& result, PreferenceStore& preferences,
                 ProviderRegistry& registry)
{
    const bool hasCalendar = result.today != TodayChoice::ai;
    registry.setEnabled(calendarId, hasCalendar);
    for (const QString& id : aiServices) {
        // A service that is chosen appears by its own rule: once it is connected.
        if (result.today == TodayChoice::calendar)
            registry.setEnabled(id, false);
        else
            registry.removeSwitch(id);
    }
    if (hasCalendar)
        preferences.setText(u"usageTabName"_s, u"Today"_s);
    preferences.setText(u"menuCharacter"_s, result.menuCharacter);
}
