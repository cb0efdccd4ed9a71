#pragma once

#include "app/CharacterTargets.h"
#include "app/SettingsPane.h"
#include "characters/AnimatedCharacter.h"

#include <QFileSystemWatcher>
#include <QList>
#include <QTimer>

#include <memory>
#include <vector>

class CharacterGridView;
class CharacterSlotView;
class ColorWell;
class CustomCharacterLibrary;
class AddressOpener;
class SegmentedControl;
class ToggleSwitch;

/// Which character stands where, in which colours, and how all of them move.
class CharacterPane final : public SettingsPane {
    Q_OBJECT

public:
    /// What the pane shows and works with; everything outlives it.
    struct Facilities {
        const PixelTheme& theme; // with the draft's choices
        CustomCharacterLibrary& library;
        AddressOpener& opener;
    };

    CharacterPane(SettingsDraft& draft, QList<CharacterTarget> targets,
                  const Facilities& facilities);

    void load() override;
    void setColors(const Palette& palette) override;
    /// Moves every character to this moment of their clock.
    void animate(double seconds, bool lively);
    /// Shows the library's characters anew.
    void reloadCharacters();
    /// The mood that all characters show; absent for their usual one. No draft: it ends with the
    /// window.
    [[nodiscard]] std::optional<MascotState> lowLimitPreview() const;
    void setLowLimitPreview(int step); // 0 normal, 1 tired, 2 exhausted
    void resetPreview();

    std::function<void()> onPreviewChange;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    struct Slot {
        CharacterSlotView* view;
        AnimatedCharacter character;
    };

    QWidget* makeTargets();
    QWidget* makeColorRow();
    QWidget* makeLibraryRow();
    void addMotionControls();
    void activate(const QString& target);
    void pick(const QString& character);
    void resetTarget(const QString& target);
    void loadColors();
    void import(const QStringList& paths);
    [[nodiscard]] QString nameOf(const QString& character) const;
    [[nodiscard]] CharacterAnimation animation() const;

    Facilities m_facilities;
    QList<CharacterTarget> m_targets;
    QString m_active; // the target that the next pick goes to
    std::vector<Slot> m_slotViews;
    CharacterGridView* m_grid;
    SegmentedControl* m_colorMode;
    ColorWell* m_customColor;
    ToggleSwitch* m_tired;
    ToggleSwitch* m_exhausted;
    SegmentedControl* m_speed;
    SegmentedControl* m_motion;
    SegmentedControl* m_preview;
    QHash<QString, QString> m_names; // by character, once the catalog was read
    Palette m_palette;
    double m_seconds = 0;
    bool m_isLively = false;
    std::unique_ptr<QFileSystemWatcher> m_folderWatch; // while the pane is seen
    QTimer m_reloadTimer; // several changes at once are one
};
