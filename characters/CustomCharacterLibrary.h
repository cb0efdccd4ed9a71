#pragma once

#include "characters/CharacterCategories.h"
#include "characters/CustomCharacterFile.h"

#include <QHash>
#include <QObject>

/// The character files: those that came with the program and the user's own.
///
/// Everything is read on first use; only `reloadLocal` looks at the user's folder again. A single
/// character of the program's is read by itself, since most users see three of the seventy-five.
/// Main thread only.
class CustomCharacterLibrary : public QObject {
    Q_OBJECT

public:
    static constexpr QLatin1StringView categoryFilename{"CharacterCategories.json"};

    /// The user's characters lie in `localDirectory`, the program's own below `resources`. Neither
    /// need exist.
    CustomCharacterLibrary(QString localDirectory, const QString& resources);

    /// The valid characters among the files of `folder` whose names end in ".json", by file name.
    /// What cannot be used is passed over.
    [[nodiscard]] static QList<CustomCharacterFile> load(const QString& folder);
    /// One record per id: a local one takes the place of a shipped one, a later one that of an
    /// earlier. By name, then id.
    [[nodiscard]] static QList<CustomCharacterFile> merge(const QList<CustomCharacterFile>& shipped,
                                                          const QList<CustomCharacterFile>& local);

    [[nodiscard]] QString localDirectory() const { return m_localDirectory; }
    [[nodiscard]] const QList<CustomCharacterFile>& bundledCharacters() const;
    [[nodiscard]] const QList<CustomCharacterFile>& localCharacters() const;
    [[nodiscard]] const QList<CustomCharacterFile>& officialCharacters() const;
    [[nodiscard]] const CharacterCategoryFile& categoryFile() const;

    /// The character with exactly this id, as its file has it.
    [[nodiscard]] std::optional<CustomCharacterFile> character(const QString& id) const;
    /// The artwork of that character, ready to play; kept, since it is asked for at every picture.
    [[nodiscard]] std::optional<CharacterArt> art(const QString& id) const;

    /// What became of a file that the user chose.
    struct Import {
        std::optional<CustomCharacterFile> character; // absent when there is an error
        QString error; // what is wrong, and in a second line why, where there is more to say
    };

    /// Reads a file that the user chose. Changes nothing.
    [[nodiscard]] static Import read(const QString& path);
    /// Puts a valid `character` into the user's folder, in the place of the one with its id, and
    /// calls `reloadLocal`. False when it could not be written.
    bool add(const CustomCharacterFile& character);

    /// Looks at the user's folder again.
    void reloadLocal();

signals:
    /// The user's characters were read again; they need not have changed.
    void charactersChanged();

private:
    [[nodiscard]] CharacterCategoryFile loadCategories() const;
    [[nodiscard]] QString localPath(const QString& id) const;

    QString m_localDirectory;
    QString m_resources;
    mutable std::optional<QList<CustomCharacterFile>> m_bundled;
    mutable std::optional<QList<CustomCharacterFile>> m_local;
    mutable std::optional<QList<CustomCharacterFile>> m_official;
    mutable std::optional<CharacterCategoryFile> m_categories;
    mutable QHash<QString, std::optional<CharacterArt>> m_art; // by id
};
