#pragma once

#include "app/AboutPane.h"
#include "app/AccountsPane.h"
#include "app/CharacterPane.h"
#include "app/GeneralPane.h"
#include "app/SettingsDraft.h"
#include "characters/PixelTheme.h"

#include <QTimer>
#include <QWidget>

#include <chrono>

class PreferenceStore;
class ProviderRegistry;
class QButtonGroup;
class QPushButton;
class QScrollArea;
class QStackedWidget;
class ThemePane;

/// The Settings window: everything is tried out in the open panel first, and kept with Save alone.
///
/// Closing it by whatever means drops what was not saved.
class SettingsWindow : public QWidget {
    Q_OBJECT

public:
    /// What the panes show and work with; everything outlives the window.
    struct Facilities {
        PreferenceStore& preferences;
        ProviderRegistry& registry;
        CustomCharacterLibrary& library;
        AddressOpener& opener;
        LoginItem& loginItem;
        AccountsPane::Facilities accounts;
        AboutPane::Facilities about;
        std::function<PixelTheme()> loadTheme; // with the saved choices
        bool isDemo = false; // what is the user's own stays untouched
    };

    static constexpr std::chrono::milliseconds savedFeedback{1200};

    explicit SettingsWindow(const Facilities& facilities);

    /// Shows the window on `screen` beside `panel`, with the pane called `pane` ("general",
    /// "theme", "character", "about" or "accounts"), or the last one. The drafts start anew unless
    /// it is open already.
    void showSettings(const QString& pane, const QRect& panel, const QScreen* screen);
    void setColors(const Palette& palette);
    /// Moves the characters to this moment of their clock.
    void animate(double seconds, bool reducedMotion);
    /// Brings the texts about accounts up to date.
    void refreshAccountStatus();
    void reloadCharacters();
    /// Says in About that the program crashed before this start.
    void tellOfCrash(const QString& path) { m_about->tellOfCrash(path); }

    [[nodiscard]] const SettingsDraft& draft() const { return m_draft; }
    [[nodiscard]] std::optional<MascotState> lowLimitPreview() const;
    [[nodiscard]] CharacterPane& characterPane() { return *m_character; }

    std::function<void()> onPreview; // the draft or the low-limit preview changed
    std::function<void()> onSaved;
    std::function<void()> onShown;
    std::function<void()> onClosed;
    std::function<void()> onConnectClaude;
    std::function<void()> onShowWelcome;
    std::function<void(const QString& id)> onKeyStored;

protected:
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void addPane(const QString& id, const QString& title, const QStringList& icon,
                 SettingsPane* pane);
    QWidget* makeFooter();
    void layOut();
    void resetSettingsDraft();
    void previewSettings();
    void saveSettings();
    void showSavedFeedback();
    void pressReturn();
    void selectSettingsPane(int index);
    void placeBeside(const QRect& panel, const QScreen* screen);
    [[nodiscard]] int paneIndex(const QString& id) const;

    Facilities m_facilities;
    SettingsDraft m_draft;
    PixelTheme m_theme; // with the draft's choices
    Palette m_palette;
    QList<SettingsPane*> m_panes;
    QStringList m_paneIds;
    QButtonGroup* m_sidebar;
    QStackedWidget* m_stack;
    QPushButton* m_save;
    GeneralPane* m_general;
    ThemePane* m_themePane;
    CharacterPane* m_character;
    AboutPane* m_about;
    AccountsPane* m_accounts;
    QTimer m_feedbackTimer;
};
