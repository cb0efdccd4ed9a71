#pragma once

#include "characters/CharacterCategories.h"
#include "characters/CustomCharacterFile.h"

#include <span>

/// One character that can be picked.
struct CharacterChoice {
    QString id;
    QString name; // as shown
    std::optional<CustomCharacterFile> file; // where its artwork comes from, if from a file

    bool operator==(const CharacterChoice&) const = default;
};

/// A group of the picker.
struct CatalogGroup {
    QString name; // of the category, as shown
    QList<CharacterChoice> characters;

    bool operator==(const CatalogGroup&) const = default;
};

/// The characters that a user can pick, grouped.
namespace CharacterCatalog {

/// A character that the program knows by name.
struct BuiltInCharacter {
    QLatin1StringView id;
    const char* name; // untranslated
};

/// A group of them.
struct BuiltInGroup {
    QLatin1StringView category; // its id
    std::span<const BuiltInCharacter> characters;
};

/// All that the program knows by name, in order.
[[nodiscard]] std::span<const BuiltInGroup> builtInGroups();

/// Characters that stand for their services on cards, and are not offered.
[[nodiscard]] const QStringList& hiddenIDs();

/// The category under which `id` is listed: what its file says, if that is one of `categories`; its
/// built-in group's; else "official".
[[nodiscard]] QString categoryID(const QString& id, const std::optional<QString>& fromFile,
                                 const CharacterCategoryFile& categories);

/// The catalog as shown, in the order of `categories`, without empty groups: the built-in
/// characters and those of `files`. A built-in one with a file appears once, as the file has it;
/// characters that the program does not know by name follow in the order of `files`.
[[nodiscard]] QList<CatalogGroup> groups(const QList<CustomCharacterFile>& files,
                                         const CharacterCategoryFile& categories);

} // namespace CharacterCatalog
