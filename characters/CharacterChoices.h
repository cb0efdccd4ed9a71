#pragma once

#include <QColor>
#include <QHash>
#include <QString>

class PreferenceStore;

/// Which character the user wants in which place, and in which colours.
///
/// A place ("slot") is "menu", "system", "clipboard" or a card's id. A value, read once, so that
/// drawing asks no preferences; Settings changes a copy to show a draft.
struct CharacterChoices {
    QHash<QString, QString> characters; // by slot, where one was chosen
    QHash<QString, QString> colorModes; // by slot: "character", "theme" or "custom"
    QHash<QString, QColor> customColors; // by slot, for the mode "custom"
    QHash<QString, QColor> palette; // by card id or role ("system")

    /// The saved choices. Colours that cannot be read are left out.
    [[nodiscard]] static CharacterChoices saved(const PreferenceStore& preferences);

    /// Makes these the saved choices: what is not among them goes back to its default.
    void save(PreferenceStore& preferences) const;

    /// The id of the character in `slot`: the chosen one, else the slot's own.
    [[nodiscard]] QString character(const QString& slot) const;
    /// The id of the character that `slot` shows until the user chooses: a card's own id, mostly.
    [[nodiscard]] static QString fallback(const QString& slot);

    bool operator==(const CharacterChoices&) const = default;
};
