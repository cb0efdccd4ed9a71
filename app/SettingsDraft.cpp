#include "app/SettingsDraft.h"

#include "characters/CharacterMotion.h"
#include "characters/CharacterSpeech.h"
#include "platform/PreferenceStore.h"
#include "usage/ProviderRegistry.h"
#include "usage/UsageDisplayMode.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString tabCharactersKey = u"tabCharactersEnabled"_s;
const QString tabNameKey = u"usageTabName"_s;
const QString speechKey = u"characterSpeechEnabled"_s;
const QString speedKey = u"characterAnimationSpeed"_s;
const QString motionKey = u"characterMotion"_s;
const QString matchesKey = u"systemColorMatchesTheme"_s;

} // namespace

SettingsDraft SettingsDraft::saved(const PreferenceStore& preferences,
                                   const ProviderRegistry& registry)
{
    SettingsDraft draft{
        .speech = CharacterSpeech::isEnabled(preferences),
        .tabCharacters = preferences.boolean(tabCharactersKey).value_or(true),
        .showsUsed = savedDisplayMode(preferences) == UsageDisplayMode::used,
        .usageTabName = preferences.text(tabNameKey).value_or(QString()),
        .choices = CharacterChoices::saved(preferences),
        .systemMatchesAccent = preferences.boolean(matchesKey).value_or(false),
        .animationSpeed = CharacterMotion::animationSpeed(preferences),
        .lively = CharacterMotion::isLively(preferences),
        .looks = CharacterLowLimit(preferences).looks(),
    };
    for (const ProviderDefinition& row : registry.visible()) {
        draft.todayOrder.append(row.id);
        draft.enabled.insert(row.id, registry.isEnabled(row.id));
    }
    return draft;
}

void SettingsDraft::save(PreferenceStore& preferences, ProviderRegistry& registry) const
{
    const SettingsDraft before = saved(preferences, registry);
    for (const auto& [id, isOn] : enabled.asKeyValueRange()) {
        if (!registry.hasSwitch(id) || registry.isEnabled(id) != isOn)
            registry.setEnabled(id, isOn);
    }
    if (todayOrder != before.todayOrder)
        registry.setTodayOrder(todayOrder);
    const auto keep = [&preferences](const QString& key, bool value) {
        if (preferences.boolean(key) != value)
            preferences.setBoolean(key, value);
    };
    keep(speechKey, speech);
    keep(CharacterLowLimit::tiredKey, looks.tired);
    keep(CharacterLowLimit::exhaustedKey, looks.exhausted);
    keep(matchesKey, systemMatchesAccent);
    keep(tabCharactersKey, tabCharacters);
    if (showsUsed != before.showsUsed)
        saveDisplayMode(preferences, showsUsed ? UsageDisplayMode::used : UsageDisplayMode::left);
    choices.save(preferences);
    if (usageTabName != before.usageTabName)
        preferences.setText(tabNameKey, usageTabName);
    if (animationSpeed != before.animationSpeed)
        preferences.setInteger(speedKey, animationSpeed);
    if (lively != before.lively)
        preferences.setText(motionKey, lively ? u"lively"_s : u"calm"_s);
}

void SettingsDraft::moveToday(const QString& id, int by)
{
    const qsizetype from = todayOrder.indexOf(id);
    if (from >= 0)
        todayOrder.move(from, std::clamp<qsizetype>(from + by, 0, todayOrder.size() - 1));
}
