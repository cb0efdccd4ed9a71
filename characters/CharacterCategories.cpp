#include "characters/CharacterCategories.h"

#include "characters/JsonValues.h"
#include "platform/Characters.h"
#include "platform/Files.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QSet>

#include <algorithm>
#include <array>
#include <string_view>

using namespace Qt::StringLiterals;

namespace {

constexpr auto categoriesFormat = "vexlo-categories-1"_L1;

namespace Key {
constexpr auto categories = "categories"_L1;
constexpr auto format = "format"_L1;
constexpr auto id = "id"_L1;
constexpr auto name = "name"_L1;
} // namespace Key

class Texts {
    Q_DECLARE_TR_FUNCTIONS(CharacterCategories)
};

struct DefaultCategory {
    QLatin1StringView id;
    const char* name;
};

// Character files and preferences refer to these ids, so they stay, whatever the name says now.
constexpr std::array<DefaultCategory, 17> defaultCategories{{
    {"original"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Original")},
    {"ai"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "AI")},
    {"dinosaur"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Dinosaur")},
    {"fish"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Fish")},
    {"alien"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Alien")},
    {"space"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Cosmic")},
    {"solarsystem"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Solar System")},
    {"spacecrew"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Space Crew")},
    {"royal"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Royal")},
    {"pet"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Pet")},
    {"robot"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Robot")},
    {"custom"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Anime")},
    {"seasonal"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Halloween")},
    {"winter"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Christmas")},
    {"newyear"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "New Year")},
    {"machines"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Machines")},
    {"official"_L1, QT_TRANSLATE_NOOP("CharacterCategories", "Official")},
}};

std::optional<CharacterCategory> categoryIn(const QJsonValue& value)
{
    const QJsonObject object = value.toObject();
    const auto id = textIn(object.value(Key::id));
    const auto name = textIn(object.value(Key::name));
    if (!id || !name)
        return std::nullopt;
    return CharacterCategory{.id = CharacterCategoryFile::normalizedID(*id), .name = *name};
}

bool isValidName(const QString& name)
{
    const QString trimmed = name.trimmed();
    return !trimmed.isEmpty()
        && firstCharacters(trimmed, CharacterCategoryFile::longestName) == trimmed;
}

} // namespace

CharacterCategoryFile CharacterCategoryFile::defaults()
{
    CharacterCategoryFile file{.format = categoriesFormat};
    file.addMissingDefaults();
    return file;
}

std::optional<CharacterCategoryFile> CharacterCategoryFile::fromJson(const QByteArray& data)
{
    const QJsonObject object = QJsonDocument::fromJson(data).object();
    const auto format = textIn(object.value(Key::format));
    const auto categories = listIn<CharacterCategory>(object.value(Key::categories), categoryIn);
    if (!format || !categories)
        return std::nullopt;
    return CharacterCategoryFile{.format = *format, .categories = *categories};
}

std::optional<CharacterCategoryFile> CharacterCategoryFile::load(const QString& path)
{
    std::optional<CharacterCategoryFile> file = fromJson(readFile(path, largestFile).contents);
    if (!file)
        return std::nullopt;
    file->addMissingDefaults();
    return file->isValid() ? file : std::nullopt;
}

void CharacterCategoryFile::addMissingDefaults()
{
    for (const DefaultCategory& category : defaultCategories) {
        if (!contains(category.id))
            categories.append({.id = category.id, .name = Texts::tr(category.name)});
    }
}

bool CharacterCategoryFile::isValid() const
{
    QSet<QString> ids;
    for (const CharacterCategory& category : categories) {
        if (!validID(category.id) || !isValidName(category.name))
            return false;
        ids.insert(normalizedID(category.id));
    }
    return format == categoriesFormat && ids.size() == categories.size() && !categories.isEmpty()
        && categories.size() <= mostCategories;
}

bool CharacterCategoryFile::contains(const QString& id) const
{
    return std::ranges::any_of(categories, [wanted = normalizedID(id)](const auto& category) {
        return normalizedID(category.id) == wanted;
    });
}

bool CharacterCategoryFile::validID(const QString& id)
{
    const QString wanted = normalizedID(id);
    return isUuid(wanted) || std::ranges::any_of(defaultCategories, [&](const auto& category) {
               return category.id == wanted;
           });
}

QString CharacterCategoryFile::normalizedID(const QString& id)
{
    return id.trimmed().toLower();
}

bool isUuid(const QString& text)
{
    constexpr std::u16string_view form = u"00000000-0000-0000-0000-000000000000";
    return std::ranges::equal(text, form, [](QChar letter, char16_t wanted) {
        return wanted == u'-' ? letter == u'-'
                              : letter.unicode() < 0x80 && isxdigit(letter.unicode()) != 0;
    });
}
