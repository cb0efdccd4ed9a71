#pragma once

#include "characters/CharacterChoices.h"
#include "characters/MascotState.h"

#include <QHash>
#include <QStringList>

class PreferenceStore;
class ProviderRegistry;

/// What the Settings window changes before it is saved.
struct SettingsDraft {
    // General
    bool speech = true;
    bool tabCharacters = true;
    bool showsUsed = false; // of a limit, instead of what is left
    QString usageTabName; // empty for the usual one
    QStringList todayOrder; // ids of the rows that are offered
    QHash<QString, bool> enabled; // by the same ids

    // Theme and characters
    CharacterChoices choices;
    bool systemMatchesAccent = false; // the System tab takes the desktop's accent colour
    int animationSpeed = 1; // 0 to 2
    bool lively = true;
    LowLimitLooks looks;

    /// The saved settings.
    [[nodiscard]] static SettingsDraft saved(const PreferenceStore& preferences,
                                             const ProviderRegistry& registry);
    /// Makes these the saved settings. What has not changed is not written.
    void save(PreferenceStore& preferences, ProviderRegistry& registry) const;

    /// Moves the row `id` by so many places, as far as there are any.
    void moveToday(const QString& id, int by);

    bool operator==(const SettingsDraft&) const = default;
};
