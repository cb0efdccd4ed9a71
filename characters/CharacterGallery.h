#pragma once

#include "characters/AnimatedCharacter.h"
#include "characters/CharacterCatalog.h"
#include "platform/DesktopAppearance.h"

#include <QWidget>

#include <functional>
#include <vector>

class CharacterChoiceView;
class QLabel;

/// The grid's page: the groups' headings and tiles, of any height.
///
/// Only what is in sight is drawn, and anew only what changed.
class CharacterGallery : public QWidget {
    Q_OBJECT

public:
    explicit CharacterGallery(QWidget* parent = nullptr);

    void setGroups(const QList<CatalogGroup>& groups);
    void setTheme(const PixelTheme* theme);
    void setColors(const Palette& palette);
    void setSelected(const QString& id);
    void setBadges(const QHash<QString, QStringList>& badges);

    /// Shows only characters whose names contain `text`, or says that there are none.
    void filter(const QString& text);
    /// Takes the height that it needs in `width`, at least `leastHeight`; both in widget
    /// coordinates.
    void layOut(int width, int leastHeight);
    /// Draws what of the part `inSight` looks other than before.
    void refreshPictures(const CharacterAnimation& animation, const QRect& inSight);

    /// The tile with this id; null when there is none.
    [[nodiscard]] CharacterChoiceView* tile(const QString& id) const;
    /// The tile that Tab leads to: the selected one, else the first in sight; null without tiles.
    [[nodiscard]] CharacterChoiceView* tabStop() const;

    /// Called with the id of a character that the user picked.
    std::function<void(const QString& id)> onSelect;
    /// Called when a tile gets the keyboard.
    std::function<void(CharacterChoiceView& tile)> onFocus;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Tile {
        CharacterChoiceView* view;
        AnimatedCharacter character;
    };
    struct Group {
        QLabel* heading;
        std::vector<Tile> tiles;
        bool isShown = true;
    };

    void makeGroup(const CatalogGroup& group);
    [[nodiscard]] CharacterChoiceView* makeTile(const CharacterChoice& choice);
    void updateTabStop();
    template<typename Visit> void forEachTile(Visit visit);

    std::vector<Group> m_groups;
    QLabel* m_nothing; // says that nothing was found
    const PixelTheme* m_theme = nullptr;
    Palette m_palette;
    QString m_selected;
    QHash<QString, QStringList> m_badges;
};
