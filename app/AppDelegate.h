#pragma once

#include "app/CharacterDriver.h"
#include "app/LimitWarnings.h"
#include "app/SettingsControl.h"
#include "app/StatusItemControl.h"
#include "app/TodayCalendar.h"
#include "app/ToolTabs.h"
#include "app/UsageCollector.h"
#include "characters/CustomCharacterLibrary.h"
#include "characters/PixelTheme.h"
#include "characters/SpeechFont.h"
#include "panel/PanelWindow.h"
#include "panel/UsagePanelView.h"
#include "platform/ApplicationPaths.h"
#include "today/NotesStore.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

class AddressOpener;
class AppUpdater;
class CrashReports;
class DesktopAppearance;
class LoginItem;
class NotesCardView;
class StatusItem;

/// The application controller: owns the records of every service, the panel and the timers, and
/// decides when usage is read, shown and refreshed. Main thread only.
class AppDelegate : public QObject {
    Q_OBJECT

public:
    /// What the controller works with; everything outlives it.
    struct Facilities {
        PreferenceStore& preferences;
        ProviderRegistry& registry;
        KeychainStore& keychain;
        StatusItem& statusItem;
        DesktopAppearance& appearance;
        ClaudeSetup& claudeSetup;
        CalendarStore& calendarStore;
        ClipboardBoard& clipboard;
        const SystemCounters& counters;
        Notifier& notifier;
        LoginItem& loginItem;
        AppUpdater& updater;
        AddressOpener& opener;
        CrashReports& crashReports;
        ApplicationPaths paths;
        bool isDemo = false; // made-up figures; nothing is read, written or started
    };

    /// How the program was started.
    struct Launch {
        bool background = false; // as at login: opens nothing when no bar shows the status item
        bool welcome = false; // shows the welcome whether or not it was shown before
    };

    static constexpr std::chrono::seconds refreshInterval{30};
    static constexpr int providerPolls = 10; // refreshes from one run of the providers to the next
    static constexpr std::chrono::seconds hostPatience{10};

    explicit AppDelegate(const Facilities& facilities);
    ~AppDelegate() override;

    /// Starts everything.
    void applicationDidFinishLaunching(const Launch& launch);

    void togglePanel(std::optional<QPoint> anchor = {});
    void showPanel(std::optional<QPoint> anchor = {});
    /// Opens the panel on the tab `id`; on the one it has when there is no such tab.
    void showTab(const QString& id);
    /// Opens the Settings beside the panel.
    void showSettings(const QString& pane = {});
    /// Adds a task to the notes. False when there is no room, or nothing in `text`.
    bool addTask(const QString& text);
    /// Reads every source again now.
    void refreshNow();
    /// One tick of the refresh timer.
    void refresh();
    void quit();

    [[nodiscard]] const QHash<QString, ServiceUsage>& usageByID() const
    {
        return m_usage.usageByID();
    }
    [[nodiscard]] PanelWindow& panelWindow() { return m_window; }
    [[nodiscard]] CharacterDriver& driver() { return m_driver; }
    [[nodiscard]] SettingsControl& settings() { return m_settings; }
    [[nodiscard]] ToolTabs& tabs() { return m_tabs; }

    /// Ends the program; the event loop's `quit` by default.
    std::function<void()> onQuit;
    /// Opens the user's calendar application.
    std::function<void()> onOpenCalendar;

private:
    void configurePanel();
    [[nodiscard]] StatusItemControl::Actions statusItemActions();
    void configureSettings();
    [[nodiscard]] SettingsControl::Facilities settingsFacilities();
    void welcomeNewcomer(const Launch& launch);
    void applyAppearance();
    [[nodiscard]] PixelTheme savedTheme();
    void loadTheme();
    void previewSettings();
    void settingsSaved();
    void makeNotesCard();
    void refreshCalendar();
    void refreshPanel();
    void fillPanel();
    [[nodiscard]] std::optional<qsizetype> notesPlace() const;
    void usageChanged();
    void checkWarnings();
    [[nodiscard]] QImage warningPicture(const QString& id) const;
    void moveCharacters(double seconds);
    void updateMotion();
    void updateAnimationTimers();
    void updatePopoverBehavior();
    void openWithoutHost();

    Facilities m_facilities;
    CustomCharacterLibrary m_library;
    SpeechFont m_speechFont;
    PixelTheme m_theme;
    NotesStore m_notes;
    // What views show stands before them: the window goes first, with all that is in it.
    UsagePanelView* m_panel; // owned by the window
    NotesCardView* m_notesCard = nullptr; // owned by the panel
    CharacterDriver m_driver;
    UsageCollector m_usage;
    TodayCalendar m_calendar;
    ToolTabs m_tabs;
    PanelWindow m_window;
    SettingsControl m_settings;
    LimitWarnings m_warnings;
    StatusItemControl m_statusItem;
    QTimer m_refreshTimer;
    quint64 m_pollCount = 0;
    bool m_lively = false; // as chosen now; asked for at every step
    bool m_tabCharacters = true;
};
