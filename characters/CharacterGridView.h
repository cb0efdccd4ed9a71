#pragma once

#include "characters/AnimatedCharacter.h"
#include "characters/CharacterCatalog.h"
#include "platform/DesktopAppearance.h"

#include <QWidget>

#include <functional>

class CharacterChoiceView;
class CharacterGallery;
class CharacterSearchField;
class QScrollArea;

/// All characters that can be picked, in groups below a search field.
///
/// Scrolls by itself. Only what is in sight is drawn, and anew only what changed. Character files
/// can be dropped on it.
class CharacterGridView : public QWidget {
    Q_OBJECT

public:
    explicit CharacterGridView(QWidget* parent = nullptr);

    /// Shows these in place of what it showed. What is searched for, the place and the keyboard
    /// stay.
    void setGroups(const QList<CatalogGroup>& groups);
    /// `theme` draws the characters and must live until another is set.
    void setTheme(const PixelTheme* theme);
    void setColors(const Palette& palette);
    void setAnimation(const CharacterAnimation& animation);
    /// Marks the character with this id and brings it into sight; any other text marks none.
    void setSelected(const QString& id);
    /// Short labels on the tiles, by character id: the places that a character is in, say.
    void setBadges(const QHash<QString, QStringList>& badges);

    [[nodiscard]] QString selected() const { return m_selected; }
    [[nodiscard]] QSize sizeHint() const override;

    /// Called with the id of a character that the user picked.
    std::function<void(const QString& id)> onSelect;
    /// Called with the paths of character files that were dropped; nothing can be dropped without.
    std::function<void(const QStringList& paths)> onDropFiles;

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    bool event(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void filter();
    void layOut();
    void refreshPictures();
    void applyColors();
    void showDropTarget(bool isShown);
    bool searchKey(int key);
    void bringIntoSight(CharacterChoiceView* tile);

    CharacterSearchField* m_search;
    CharacterGallery* m_gallery;
    QScrollArea* m_scroll;
    QWidget* m_dropFrame;
    CharacterAnimation m_animation;
    Palette m_palette;
    QString m_selected;
};
