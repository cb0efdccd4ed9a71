#pragma once

#include "app/CharacterDriver.h"
#include "characters/CustomCharacterLibrary.h"
#include "characters/PixelTheme.h"
#include "characters/SpeechFont.h"
#include "panel/PanelWindow.h"
#include "panel/UsagePanelView.h"
#include "platform/ApplicationPaths.h"
#include "platform/Cancellation.h"
#include "usage/SnapshotRunner.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QThreadPool>
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
/// decides when usage is read, shown and refreshed.
///
/// All state belongs to the main thread. Reads that wait for others run on workers, one at a time
/// for each service, and hand their result back through the event loop.
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
    ~AppDelegate() override;

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

    [[nodiscard]] const QHash<QString, ServiceUsage>& usageByID() const { return m_usageByID; }
    [[nodiscard]] PanelWindow& panelWindow() { return m_window; }
    [[nodiscard]] CharacterDriver& driver() { return m_driver; }

    /// Ends the program; the event loop's `quit` by default.
    std::function<void()> onQuit;

private:
    void configurePanel();
    void configureStatusItem();
    void applyAppearance();
    void loadTheme();
    void readSavedUsage();
    void readClaudeUsage();
    void fetchCodex();
    void takeCodexDocument(const QByteArray& document, bool isFirstContact);
    void fetchSnapshotProviders();
    void refreshPanel();
    void updateStatusTexts();
    void updateAnimationTimers();
    void openWithoutHost();
    [[nodiscard]] QList<ServiceUsage> shownServices() const;

    Facilities m_facilities;
    CustomCharacterLibrary m_library;
    SpeechFont m_speechFont;
    UsagePanelView* m_panel; // owned by the window
    PanelWindow m_window;
    PixelTheme m_theme;
    CharacterDriver m_driver;
    QHash<QString, ServiceUsage> m_usageByID;
    QTimer m_refreshTimer;
    QTimer m_hostTimer;
    quint64 m_pollCount = 0;
    bool m_codexRunning = false;
    QSet<QString> m_snapshotRunning;
    SnapshotRunner m_runner;
    Cancellation m_cancellation; // of what the workers wait for
    QThreadPool m_workers;
};
