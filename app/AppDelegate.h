#pragma once

#include "app/CharacterDriver.h"
#include "app/UsageCollector.h"
#include "characters/CustomCharacterLibrary.h"
#include "characters/PixelTheme.h"
#include "characters/SpeechFont.h"
#include "panel/PanelWindow.h"
#include "panel/UsagePanelView.h"
#include "platform/ApplicationPaths.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

class ClaudeSetup;
class DesktopAppearance;
class KeychainStore;
class PreferenceStore;
class ProviderRegistry;
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
        ApplicationPaths paths;
        bool isDemo = false; // made-up figures; nothing is read, written or started
    };

    static constexpr std::chrono::seconds refreshInterval{30};
    static constexpr int providerPolls = 10; // refreshes from one run of the providers to the next
    static constexpr std::chrono::seconds hostPatience{10};

    explicit AppDelegate(const Facilities& facilities);

    /// Starts everything. In the `background`, as at login, it opens nothing when no desktop bar
    /// shows the status item.
    void applicationDidFinishLaunching(bool background);

    void togglePanel(std::optional<QPoint> anchor = {});
    void showPanel(std::optional<QPoint> anchor = {});
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

    /// Ends the program; the event loop's `quit` by default.
    std::function<void()> onQuit;

private:
    void configurePanel();
    void configureStatusItem();
    void applyAppearance();
    void loadTheme();
    void refreshPanel();
    void updateStatusTexts();
    void updateAnimationTimers();
    void openWithoutHost();

    Facilities m_facilities;
    CustomCharacterLibrary m_library;
    SpeechFont m_speechFont;
    UsagePanelView* m_panel; // owned by the window
    PanelWindow m_window;
    PixelTheme m_theme;
    CharacterDriver m_driver;
    UsageCollector m_usage;
    QTimer m_refreshTimer;
    QTimer m_hostTimer;
    quint64 m_pollCount = 0;
};
