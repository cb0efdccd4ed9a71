#include "characters/CustomCharacterLibrary.h"

#include "platform/Files.h"

#include <QDir>
#include <QMap>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The names of the character files in `folder`, sorted. Only the lower-case ending counts.
QStringList characterFiles(const QString& folder)
{
    // No name filter: that would bring regular expressions into every start.
    QStringList names = QDir(folder).entryList(QDir::Files | QDir::Hidden);
    names.removeIf([](const QString& name) {
        return !name.endsWith(".json"_L1) || name == CustomCharacterLibrary::categoryFilename;
    });
    std::ranges::sort(names);
    return names;
}

std::optional<CustomCharacterFile> validCharacter(const QString& path)
{
    const auto character
        = CustomCharacterFile::fromJson(readFile(path, CustomCharacterFile::largestFile).contents);
    return character && character->isValid() ? character : std::nullopt;
}

/// Where the character `id` of the program's own lies: its file is called after it.
QString bundledPath(const QString& folder, const QString& id)
{
    return folder + u'/' + id + u".json"_s;
}

} // namespace

CustomCharacterLibrary::CustomCharacterLibrary(QString localDirectory, const QString& resources)
    : m_localDirectory(std::move(localDirectory))
    , m_resources(resources)
{
}

QList<CustomCharacterFile> CustomCharacterLibrary::load(const QString& folder)
{
    QList<CustomCharacterFile> characters;
    for (const QString& name : characterFiles(folder)) {
        if (auto character = validCharacter(folder + u'/' + name))
            characters.append(std::move(*character));
    }
    return characters;
}

QList<CustomCharacterFile> CustomCharacterLibrary::merge(const QList<CustomCharacterFile>& shipped,
                                                         const QList<CustomCharacterFile>& local)
{
    QMap<QString, CustomCharacterFile> byId;
    for (const QList<CustomCharacterFile>* list : {&shipped, &local}) {
        for (const CustomCharacterFile& character : *list)
            byId.insert(character.id, character);
    }
    QList<CustomCharacterFile> merged = byId.values();
    std::ranges::stable_sort(merged, {}, &CustomCharacterFile::name); // ids are sorted already
    return merged;
}

const QList<CustomCharacterFile>& CustomCharacterLibrary::bundledCharacters() const
{
    if (!m_bundled)
        m_bundled = load(m_resources + u"/OfficialCharacters"_s);
    return *m_bundled;
}

const QList<CustomCharacterFile>& CustomCharacterLibrary::localCharacters() const
{
    if (!m_local)
        m_local = load(m_localDirectory);
    return *m_local;
}

const QList<CustomCharacterFile>& CustomCharacterLibrary::officialCharacters() const
{
    if (!m_official)
        m_official = merge(bundledCharacters(), localCharacters());
    return *m_official;
}

const CharacterCategoryFile& CustomCharacterLibrary::categoryFile() const
{
    if (!m_categories)
        m_categories = loadCategories();
    return *m_categories;
}

CharacterCategoryFile CustomCharacterLibrary::loadCategories() const
{
    for (const QString& folder : {m_localDirectory, m_resources}) {
        if (const auto file = CharacterCategoryFile::load(folder + u'/' + categoryFilename))
            return *file;
    }
    return CharacterCategoryFile::defaults();
}

std::optional<CustomCharacterFile> CustomCharacterLibrary::character(const QString& id) const
{
    const QList<CustomCharacterFile>& local = localCharacters();
    // As in `merge`, the last one with an id counts.
    const auto own = std::find_if(local.rbegin(), local.rend(),
                                  [&](const auto& character) { return character.id == id; });
    if (own != local.rend())
        return *own;
    if (!CustomCharacterFile::builtInIDs().contains(id)) // nothing else may become part of a path
        return std::nullopt;
    const auto shipped = validCharacter(bundledPath(m_resources + u"/OfficialCharacters"_s, id));
    return shipped && shipped->id == id ? shipped : std::nullopt;
}

std::optional<CharacterArt> CustomCharacterLibrary::art(const QString& id) const
{
    const auto kept = m_art.constFind(id);
    if (kept != m_art.cend())
        return *kept;
    std::optional<CharacterArt> art;
    if (const auto found = character(id))
        art = found->art();
    m_art.insert(id, art);
    return art;
}

CustomCharacterLibrary::Import CustomCharacterLibrary::read(const QString& path)
{
    const QString notOne
        = tr("This is not a valid Vexlo character file. Export a character from Vexlo Studio.");
    const ReadResult file = readFile(path, CustomCharacterFile::largestFile);
    if (file.status == ReadStatus::unfit)
        return {.error = notOne + u'\n' + tr("It is larger than 256 KB, or no file at all.")};
    if (file.status != ReadStatus::read)
        return {.error = notOne + u'\n' + tr("It could not be read.")};
    auto character = CustomCharacterFile::fromJson(file.contents);
    if (!character)
        return {.error = notOne + u'\n' + tr("A value is missing or of another kind.")};
    if (const QString fault = character->fault(); !fault.isEmpty())
        return {.error = notOne + u'\n' + fault};
    return {.character = std::move(character)};
}

QString CustomCharacterLibrary::localPath(const QString& id) const
{
    // The user may have named the file otherwise; a second one with the same id would be in its
    // way.
    const QStringList names = characterFiles(m_localDirectory);
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        const QString path = m_localDirectory + u'/' + *name;
        if (const auto character = validCharacter(path); character && character->id == id)
            return path;
    }
    return m_localDirectory + u'/' + id + u".json"_s;
}

bool CustomCharacterLibrary::add(const CustomCharacterFile& character)
{
    if (!character.isValid() || !makePrivateFolder(m_localDirectory)
        || replaceFile(localPath(character.id), character.toJson()) != ReplaceStatus::replaced)
        return false;
    reloadLocal();
    return true;
}

void CustomCharacterLibrary::reloadLocal()
{
    m_local.reset();
    m_official.reset();
    m_categories.reset();
    m_art.clear();
    emit charactersChanged();
}
