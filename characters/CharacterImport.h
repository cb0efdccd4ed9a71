#pragma once

#include "characters/CharacterCatalog.h"
#include "characters/CustomCharacterLibrary.h"

#include <QStringList>

/// What becomes of a character that is to be imported while one like it is there.
enum class ImportAnswer { replace, keepBoth, skip };

/// A file that the user chose for import.
struct ImportCandidate {
    QString path;
    std::optional<CustomCharacterFile> character; // absent when it is refused
    QString error; // why it is refused; empty for a good one
    std::optional<CharacterChoice> twin; // has the same id, or the same name as it is shown
    ImportAnswer answer = ImportAnswer::replace; // counts only when there is a twin

    /// Whether it goes in as things stand.
    [[nodiscard]] bool isWanted() const;
    /// The character as it goes in: with the twin's id to take its place, with one of its own
    /// beside it. For a good one only.
    [[nodiscard]] CustomCharacterFile imported() const;
};

/// Reads `paths`, each file once. Twins are looked for among all that can be picked. A character
/// that shares its id is its twin's newer version and replaces it until the user says otherwise;
/// one that shares the name alone goes beside it.
[[nodiscard]] QList<ImportCandidate> importCandidates(const QStringList& paths,
                                                      const CustomCharacterLibrary& library);
