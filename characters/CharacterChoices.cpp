#include "characters/CharacterChoices.h"

#include "characters/PixelColor.h"
#include "platform/PreferenceStore.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto menuSlot = "menu"_L1;
constexpr auto menuKey = "menuCharacter"_L1;
constexpr auto cardPrefix = "cardCharacter."_L1;
constexpr auto modePrefix = "characterColorMode."_L1;
constexpr auto customPrefix = "palette.character."_L1;
constexpr auto palettePrefix = "palette."_L1;

/// Files `value` under what follows `prefix` in `key`. False when `key` begins otherwise.
template<typename Value>
bool keep(QHash<QString, Value>& values, const QString& key, QLatin1StringView prefix,
          const std::optional<Value>& value)
{
    if (!key.startsWith(prefix))
        return false;
    if (value)
        values.insert(key.sliced(prefix.size()), *value);
    return true;
}

} // namespace

CharacterChoices CharacterChoices::saved(const PreferenceStore& preferences)
{
    CharacterChoices choices;
    for (const QString& key : preferences.keys()) {
        if (keep(choices.characters, key, cardPrefix, preferences.text(key))
            || keep(choices.colorModes, key, modePrefix, preferences.text(key)))
            continue;
        if (key.startsWith(palettePrefix)) {
            const std::optional<QColor> color
                = readableHex(preferences.text(key).value_or(QString()));
            if (!keep(choices.customColors, key, customPrefix, color))
                keep(choices.palette, key, palettePrefix, color);
        }
    }
    // The menu bar's choice has a key of its own, and no other counts.
    choices.characters.remove(menuSlot);
    if (const std::optional<QString> menu = preferences.text(menuKey))
        choices.characters.insert(menuSlot, *menu);
    return choices;
}

void CharacterChoices::save(PreferenceStore& preferences) const
{
    QHash<QString, QString> wanted;
    for (const auto& [slot, character] : characters.asKeyValueRange())
        wanted.insert(slot == menuSlot ? QString(menuKey) : cardPrefix + slot, character);
    for (const auto& [slot, mode] : colorModes.asKeyValueRange())
        wanted.insert(modePrefix + slot, mode);
    for (const auto& [slot, color] : customColors.asKeyValueRange())
        wanted.insert(customPrefix + slot, hexString(color));
    for (const auto& [id, color] : palette.asKeyValueRange())
        wanted.insert(palettePrefix + id, hexString(color));
    for (const QString& key : preferences.keys()) {
        const bool isOurs = key == menuKey || key.startsWith(cardPrefix)
            || key.startsWith(modePrefix) || key.startsWith(palettePrefix);
        if (isOurs && !wanted.contains(key))
            preferences.remove(key);
    }
    for (const auto& [key, value] : wanted.asKeyValueRange()) {
        if (preferences.text(key) != value)
            preferences.setText(key, value);
    }
}

QString CharacterChoices::character(const QString& slot) const
{
    const auto chosen = characters.constFind(slot);
    return chosen == characters.cend() ? fallback(slot) : *chosen;
}

QString CharacterChoices::fallback(const QString& slot)
{
    static const QHash<QString, QString> characterBySlot{
        {menuSlot, u"vexlo"_s},
        {u"system"_s, u"beep"_s},
        {u"clipboard"_s, u"vexlo"_s},
        {u"notes"_s, u"clip"_s},
    };
    return characterBySlot.value(slot, slot);
}
