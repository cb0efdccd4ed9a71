#pragma once

#include "app/SettingsWindow.h"
#include "panel/WelcomeWindow.h"

#include <memory>

class DesktopAppearance;

/// Opens the Settings and the welcome when they are wanted, and lets the panel show what they try
/// out.
class SettingsControl : public QObject {
    Q_OBJECT

public:
    /// What the windows work with; everything outlives this.
    struct Facilities {
        SettingsWindow::Facilities settings;
        ClaudeSetup& claudeSetup;
        const DesktopAppearance& appearance;
        const SpeechFont& speechFont;
        std::function<bool()> hasCalendar; // whether the desktop has one to read
    };

    explicit SettingsControl(Facilities facilities);
    ~SettingsControl() override;

    /// Opens the Settings beside `panel`, which may be invalid.
    void showSettings(const QString& pane, const QRect& panel, const QScreen* screen);
    void showWelcome();
    /// Says in the welcome, while it is open, how to get a status bar to live in.
    void setTrayHint(const QString& text);
    /// Asks whether to connect or to disconnect Claude Code, and does it.
    void connectClaude();
    [[nodiscard]] bool isOpen() const;
    /// The window while it is open, else null.
    [[nodiscard]] SettingsWindow* window() const;
    /// The welcome while it is open, else null.
    [[nodiscard]] QWidget* welcome() const { return m_welcome ? m_welcome->window() : nullptr; }
    void setColors(const Palette& palette);
    /// Moves the characters of the open windows.
    void animate(double seconds, bool reducedMotion);
    void reloadCharacters();
    /// Brings the texts about accounts up to date, where they are seen.
    void refreshAccountStatus();
    void tellOfCrash(const QString& path) { m_crash = path; }
    /// Draws the Character pane in each of its moods into "settings-0.png" and on in `folder`, then
    /// calls `done` with whether all could be written.
    void snapshotCharacterSettings(const QString& folder,
                                   const std::function<void(bool isGood)>& done);

    std::function<void()> onPreview; // what is tried out has changed, or is no longer
    std::function<void()> onSaved; // also after Claude Code's connection and the welcome
    std::function<void(bool isOpen)> onVisibility;
    std::function<void(const QString& id)> onKeyStored;

private:
    SettingsWindow& made();
    void askAboutClaude(bool connects);
    void changeClaude(bool connects);
    [[nodiscard]] TodayChoice suggestedToday() const;
    [[nodiscard]] Palette palette() const;

    Facilities m_facilities;
    std::unique_ptr<SettingsWindow> m_window;
    std::unique_ptr<WelcomeController> m_welcome;
    QString m_crash; // path of a report to tell of; empty for none
};
