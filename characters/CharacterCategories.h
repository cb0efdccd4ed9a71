#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

/// One group of characters in the picker.
struct CharacterCategory {
    QString id; // lower case
    QString name; // as shown

    bool operator==(const CharacterCategory&) const = default;
};

/// The groups of characters, in the order in which they are shown: "CharacterCategories.json".
///
/// A JSON object with the members "format" and "categories", the latter a list of objects with "id"
/// and "name".
struct CharacterCategoryFile {
    static constexpr qint64 largestFile = 64'000; // bytes
    static constexpr qsizetype mostCategories = 64;
    static constexpr qsizetype longestName = 48; // characters as the user sees them

    QString format;
    QList<CharacterCategory> categories;

    /// The seventeen groups that there always are.
    [[nodiscard]] static CharacterCategoryFile defaults();
    /// The groups in `data`, ids trimmed and in lower case. Absent when it is no such object;
    /// whether it is any good, `isValid` tells.
    [[nodiscard]] static std::optional<CharacterCategoryFile> fromJson(const QByteArray& data);
    /// The file at `path` with the missing defaults added. Absent when it cannot be read, is too
    /// large or is not valid then.
    [[nodiscard]] static std::optional<CharacterCategoryFile> load(const QString& path);

    /// Appends every default group whose id is missing, in their order.
    void addMissingDefaults();
    [[nodiscard]] bool isValid() const;
    [[nodiscard]] bool contains(const QString& id) const;

    /// Whether a group may have this id, blanks around it and its case aside: a default's id or a
    /// UUID.
    [[nodiscard]] static bool validID(const QString& id);
    /// `id` as it is compared: trimmed, in lower case.
    [[nodiscard]] static QString normalizedID(const QString& id);

    bool operator==(const CharacterCategoryFile&) const = default;
};

/// Whether `text` is a UUID in its usual form of 36 characters, 8-4-4-4-12 hexadecimal digits.
[[nodiscard]] bool isUuid(const QString& text);
