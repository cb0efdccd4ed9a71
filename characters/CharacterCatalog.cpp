#include "characters/CharacterCatalog.h"

#include <QCoreApplication>
#include <QSet>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

using CharacterCatalog::BuiltInCharacter;
using CharacterCatalog::BuiltInGroup;

const QString officialCategory = u"official"_s;

class Texts {
    Q_DECLARE_TR_FUNCTIONS(CharacterCatalog)
};

#define NAME(text) QT_TRANSLATE_NOOP("CharacterCatalog", text)

constexpr auto original = std::to_array<BuiltInCharacter>({
    {"vexlo"_L1, NAME("Vexlo")},
    {"chip"_L1, NAME("Chip")},
    {"volt"_L1, NAME("Volt")},
    {"clip"_L1, NAME("Clip")},
    {"ping"_L1, NAME("Ping")},
    {"disk"_L1, NAME("Disk")},
    {"calendar"_L1, NAME("Cal")},
});
constexpr auto ai = std::to_array<BuiltInCharacter>({
    {"claude"_L1, NAME("Claude")},
    {"codex"_L1, NAME("Codex")},
    {"cursor"_L1, NAME("Cursor")},
    {"antigravity"_L1, NAME("Antigravity")},
    {"copilot"_L1, NAME("Copilot")},
    {"devin"_L1, NAME("Devin")},
    {"grok"_L1, NAME("Grok")},
    {"ollama"_L1, NAME("Ollama")},
    {"opencode"_L1, NAME("OpenCode")},
    {"openrouter"_L1, NAME("OpenRouter")},
    {"zai"_L1, NAME("Z.ai")},
});
constexpr auto dinosaur = std::to_array<BuiltInCharacter>({
    {"rex"_L1, NAME("Rex")},
    {"trike"_L1, NAME("Trike")},
    {"stego"_L1, NAME("Stego")},
    {"bronto"_L1, NAME("Bronto")},
    {"ptero"_L1, NAME("Ptero")},
    {"raptor"_L1, NAME("Raptor")},
});
constexpr auto fish = std::to_array<BuiltInCharacter>({
    {"finn"_L1, NAME("Finn")},
    {"koi"_L1, NAME("Koi")},
});
constexpr auto space = std::to_array<BuiltInCharacter>({
    {"nova"_L1, NAME("Nova")},
});
constexpr auto solarSystem = std::to_array<BuiltInCharacter>({
    {"sun"_L1, NAME("Sun")},
    {"mercury"_L1, NAME("Mercury")},
    {"venus"_L1, NAME("Venus")},
    {"earth"_L1, NAME("Earth")},
    {"moon"_L1, NAME("Moon")},
    {"mars"_L1, NAME("Mars")},
    {"jupiter"_L1, NAME("Jupiter")},
    {"saturn"_L1, NAME("Saturn")},
    {"uranus"_L1, NAME("Uranus")},
    {"neptune"_L1, NAME("Neptune")},
    {"comet"_L1, NAME("Comet")},
    {"blackhole"_L1, NAME("Black Hole")},
});
constexpr auto spaceCrew = std::to_array<BuiltInCharacter>({
    {"astro"_L1, NAME("Astro")},
    {"rocket"_L1, NAME("Rocket")},
    {"ufo"_L1, NAME("UFO")},
    {"zorp"_L1, NAME("Zorp")},
});
constexpr auto royal = std::to_array<BuiltInCharacter>({
    {"king"_L1, NAME("King")},
    {"queen"_L1, NAME("Queen")},
});
constexpr auto pet = std::to_array<BuiltInCharacter>({
    {"mochi"_L1, NAME("Mochi")},
    {"pixel"_L1, NAME("Pixel Pup")},
    {"maple"_L1, NAME("Maple")},
    {"tux"_L1, NAME("Tux")},
    {"glide"_L1, NAME("Glider")},
});
constexpr auto robot = std::to_array<BuiltInCharacter>({
    {"bolt"_L1, NAME("Bolt")},
    {"beep"_L1, NAME("Beep")},
});
constexpr auto custom = std::to_array<BuiltInCharacter>({
    {"pixel1"_L1, NAME("Nyx")},
    {"pixel2"_L1, NAME("Luma")},
    {"pixel3"_L1, NAME("Ronin")},
});
constexpr auto seasonal = std::to_array<BuiltInCharacter>({
    {"punky"_L1, NAME("Punky")},
    {"boo"_L1, NAME("Boo")},
    {"hex"_L1, NAME("Hex")},
    {"bat"_L1, NAME("Bat")},
    {"bones"_L1, NAME("Bones")},
    {"mummy"_L1, NAME("Mummy")},
    {"spider"_L1, NAME("Spider")},
    {"cauldron"_L1, NAME("Cauldron")},
});
constexpr auto winter = std::to_array<BuiltInCharacter>({
    {"reindeer"_L1, NAME("Reindeer")},
    {"snowman"_L1, NAME("Snowman")},
    {"giftbox"_L1, NAME("Gift Box")},
    {"pinetree"_L1, NAME("Pine Tree")},
});
constexpr auto newYear = std::to_array<BuiltInCharacter>({
    {"kadomatsu"_L1, NAME("Kadomatsu")},
    {"kagamimochi"_L1, NAME("Kagami Mochi")},
    {"daruma"_L1, NAME("Daruma")},
    {"firework"_L1, NAME("Firework")},
});
constexpr auto machines = std::to_array<BuiltInCharacter>({
    {"gear"_L1, NAME("Gear")},
    {"locomotive"_L1, NAME("Locomotive")},
    {"piston"_L1, NAME("Piston")},
    {"cradle"_L1, NAME("Newton's Cradle")},
});

#undef NAME

constexpr auto roster = std::to_array<BuiltInGroup>({
    {"original"_L1, original},
    {"ai"_L1, ai},
    {"dinosaur"_L1, dinosaur},
    {"fish"_L1, fish},
    {"space"_L1, space},
    {"solarsystem"_L1, solarSystem},
    {"spacecrew"_L1, spaceCrew},
    {"royal"_L1, royal},
    {"pet"_L1, pet},
    {"robot"_L1, robot},
    {"custom"_L1, custom},
    {"seasonal"_L1, seasonal},
    {"winter"_L1, winter},
    {"newyear"_L1, newYear},
    {"machines"_L1, machines},
});

/// Built-in characters as their files have them, then the other files.
QList<CharacterChoice> allChoices(const QList<CustomCharacterFile>& files)
{
    QHash<QString, CustomCharacterFile> byId;
    for (const CustomCharacterFile& file : files)
        byId.insert(file.id, file);
    QList<CharacterChoice> choices;
    for (const BuiltInGroup& group : roster) {
        for (const BuiltInCharacter& character : group.characters) {
            const auto file = byId.constFind(character.id);
            if (file == byId.cend())
                choices.append({.id = character.id, .name = Texts::tr(character.name)});
            else
                choices.append({.id = character.id, .name = file->name, .file = *file});
        }
    }
    for (const CustomCharacterFile& file : files) {
        if (!CustomCharacterFile::builtInIDs().contains(file.id))
            choices.append({.id = file.id, .name = file.name, .file = file});
    }
    return choices;
}

QString builtInCategory(const QString& id)
{
    for (const BuiltInGroup& group : roster) {
        if (std::ranges::any_of(group.characters,
                                [&](const auto& character) { return character.id == id; }))
            return group.category;
    }
    return {};
}

} // namespace

std::span<const BuiltInGroup> CharacterCatalog::builtInGroups()
{
    return roster;
}

const QStringList& CharacterCatalog::hiddenIDs()
{
    static const QStringList ids{u"cursor"_s,   u"antigravity"_s, u"copilot"_s,
                                 u"devin"_s,    u"grok"_s,        u"ollama"_s,
                                 u"opencode"_s, u"openrouter"_s,  u"zai"_s};
    return ids;
}

QString CharacterCatalog::categoryID(const QString& id, const std::optional<QString>& fromFile,
                                     const CharacterCategoryFile& categories)
{
    if (fromFile && categories.contains(*fromFile))
        return CharacterCategoryFile::normalizedID(*fromFile);
    const QString builtIn = builtInCategory(id);
    return builtIn.isEmpty() ? officialCategory : builtIn;
}

QList<CatalogGroup> CharacterCatalog::groups(const QList<CustomCharacterFile>& files,
                                             const CharacterCategoryFile& categories)
{
    QHash<QString, QList<CharacterChoice>> byCategory;
    for (const CharacterChoice& choice : allChoices(files)) {
        const std::optional<QString> fromFile
            = choice.file ? choice.file->categoryID : std::nullopt;
        if (!hiddenIDs().contains(choice.id))
            byCategory[categoryID(choice.id, fromFile, categories)].append(choice);
    }
    QList<CatalogGroup> groups;
    for (const CharacterCategory& category : categories.categories) {
        const auto found = byCategory.constFind(CharacterCategoryFile::normalizedID(category.id));
        if (found != byCategory.cend())
            groups.append({.name = category.name, .characters = *found});
    }
    return groups;
}
