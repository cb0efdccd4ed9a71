#include "app/FirstRun.h"

#include "platform/PreferenceStore.h"

#include <algorithm>

using namespace Qt::StringLiterals;

FirstRun firstRun(const PreferenceStore& preferences)
{
    if (preferences.boolean(u"welcomeDone"_s).value_or(false))
        return FirstRun::welcomed;
    const QStringList keys = preferences.keys();
    const bool hasChosen = std::ranges::any_of(keys, [](const QString& key) {
        return key == "menuCharacter"_L1
            || (key.startsWith("provider."_L1) && key.endsWith(".enabled"_L1));
    });
    return hasChosen ? FirstRun::knownUser : FirstRun::newcomer;
}
