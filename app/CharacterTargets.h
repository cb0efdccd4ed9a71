#pragma once

#include <QList>
#include <QString>

class ProviderRegistry;

/// A place that can have a character of its own.
struct CharacterTarget {
    QString id; // the slot in `CharacterChoices`
    QString label;
    QString badge; // a short label in upper case

    bool operator==(const CharacterTarget&) const = default;
};

/// All places in order: the menu bar, the tool tabs and the card of every row that is offered.
[[nodiscard]] QList<CharacterTarget> characterTargets(const ProviderRegistry& registry);
