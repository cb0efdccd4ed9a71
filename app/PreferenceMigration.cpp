#include "app/PreferenceMigration.h"

#include "platform/PreferenceStore.h"

using namespace Qt::StringLiterals;

void migratePreferences(PreferenceStore& preferences)
{
    const QString marker = u"systemColorResetToWhite"_s;
    if (preferences.boolean(marker).value_or(false))
        return;
    // The marker comes last, so that a start that is cut short does it all again.
    preferences.remove(u"palette.system"_s);
    preferences.setBoolean(u"systemColorMatchesTheme"_s, false);
    preferences.setBoolean(marker, true);
}
