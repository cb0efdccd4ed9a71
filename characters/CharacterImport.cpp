#include "characters/CharacterImport.h"

#include <QFileInfo>
#include <QUuid>

namespace {

/// All that can be picked, and the hidden ones, since a file may draw these too.
QList<CharacterChoice> knownCharacters(const CustomCharacterLibrary& library)
{
    QList<CharacterChoice> known;
    for (const CustomCharacterFile& file : library.officialCharacters())
        known.append({.id = file.id, .name = file.name, .file = file});
    return known;
}

std::optional<CharacterChoice> twinOf(const CustomCharacterFile& character,
                                      const QList<CharacterChoice>& known)
{
    std::optional<CharacterChoice> namesake;
    for (const CharacterChoice& choice : known) {
        if (choice.id == character.id)
            return choice;
        if (choice.name.compare(character.name, Qt::CaseInsensitive) == 0)
            namesake = choice;
    }
    return namesake;
}

QString canonical(const QString& path)
{
    const QString found = QFileInfo(path).canonicalFilePath();
    return found.isEmpty() ? path : found;
}

} // namespace

bool ImportCandidate::isWanted() const
{
    return character && !(twin && answer == ImportAnswer::skip);
}

CustomCharacterFile ImportCandidate::imported() const
{
    CustomCharacterFile result = *character;
    if (!twin)
        return result;
    if (answer == ImportAnswer::replace)
        result.id = twin->id;
    else if (result.id == twin->id)
        result.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return result;
}

QList<ImportCandidate> importCandidates(const QStringList& paths,
                                        const CustomCharacterLibrary& library)
{
    QList<CharacterChoice> known = knownCharacters(library);
    QList<ImportCandidate> candidates;
    QStringList seen;
    for (const QString& path : paths) {
        if (seen.contains(canonical(path)))
            continue;
        seen.append(canonical(path));
        CustomCharacterLibrary::Import file = CustomCharacterLibrary::read(path);
        ImportCandidate candidate{.path = path, .error = file.error};
        if (file.character) {
            candidate.twin = twinOf(*file.character, known);
            const bool isNewer = candidate.twin && candidate.twin->id == file.character->id;
            candidate.answer = isNewer ? ImportAnswer::replace : ImportAnswer::keepBoth;
            known.append({file.character->id, file.character->name, file.character});
            candidate.character = std::move(file.character);
        }
        candidates.append(std::move(candidate));
    }
    return candidates;
}
