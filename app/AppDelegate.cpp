#include "app/AppDelegate.h"

#include "app/FirstRun.h"
#include "app/PreferenceMigration.h"
#include "characters/CharacterMotion.h"
#include "characters/CharacterSpeech.h"
#include "characters/ThemeFile.h"
#include "platform/DesktopAppearance.h"
#include "platform/PreferenceStore.h"
#include "platform/StatusItem.h"
#include "usage/ClaudeSetup.h"
#include "usage/ContextCache.h"
#include "usage/ProviderRegistry.h"
#include "usage/UsageTexts.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString usageTab = u"usage"_s;

namespace MenuId {
const QString open = u"open"_s;
const QString refresh = u"refresh"_s;
const QString quit = u"quit"_s;
} // namespace MenuId

} // namespace

AppDelegate::AppDelegate(const Facilities& facilities)
    : m_facilities(facilities)
    , m_library(facilities.paths.supportDirectory + "/StudioCharacters"_L1,
                facilities.paths.resources)
    , m_speechFont(facilities.paths.resources)
    , m_panel(new UsagePanelView)
    , m_driver(facilities.preferences, facilities.statusItem, *m_panel)
    , m_usage(facilities.registry, facilities.keychain, facilities.paths, facilities.isDemo)
{
    m_usage.onChange = [this] { refreshPanel(); };
    onQuit = [] { QCoreApplication::quit(); };
}

void AppDelegate::applicationDidFinishLaunching(bool background)
{
    connect(&m_library, &CustomCharacterLibrary::charactersChanged, this, [this] {
        loadTheme();
        refreshPanel();
    });
    migratePreferences(m_facilities.preferences);
    configurePanel();
    configureStatusItem();
    if (!m_facilities.isDemo)
        removeOldContextCache(m_facilities.paths.supportDirectory);
    m_usage.readSaved();
    m_usage.fetchSnapshotProviders();
    refreshPanel();
    updateAnimationTimers();

    connect(&m_refreshTimer, &QTimer::timeout, this, &AppDelegate::refresh);
    m_refreshTimer.start(refreshInterval);
    m_usage.fetchCodex();
    if (!m_facilities.isDemo) {
        m_usage.runAside([&setup = m_facilities.claudeSetup] {
            try {
                setup.refreshIfConnected();
            } catch (const ClaudeSetup::Failure&) {
                // Nobody asked for it now; Settings tells when asked to connect.
            }
        });
    }
    if (firstRun(m_facilities.preferences) == FirstRun::knownUser)
        m_facilities.preferences.setBoolean(u"welcomeDone"_s, true);
    if (!background) {
        m_hostTimer.setSingleShot(true);
        connect(&m_hostTimer, &QTimer::timeout, this, &AppDelegate::openWithoutHost);
        m_hostTimer.start(hostPatience);
    }
}

void AppDelegate::configurePanel()
{
    m_window.addPage(usageTab, m_panel);
    m_window.onShown = [this] { updateAnimationTimers(); };
    m_window.onClosed = [this] { updateAnimationTimers(); };
    m_window.onRefresh = [this] { refreshNow(); };
    m_window.onQuit = [this] { quit(); };
    m_window.onWindowClosed = [this] {
        if (!m_facilities.statusItem.isShown())
            quit();
    };
    m_facilities.appearance.onChange = [this] { applyAppearance(); };
    m_panel->setSpeechFont(&m_speechFont);
    loadTheme();
    applyAppearance();
}

void AppDelegate::configureStatusItem()
{
    StatusItem& item = m_facilities.statusItem;
    item.setMenu({{.id = MenuId::open, .label = tr("Open Vexlo")},
                  {.id = MenuId::refresh, .label = tr("Refresh now")},
                  {.isSeparator = true},
                  {.id = MenuId::quit, .label = tr("Quit")}});
    item.onActivated = [this](const StatusActivation& click) { togglePanel(click.place); };
    item.onMenuEntry = [this](const QString& id) {
        if (id == MenuId::open)
            showPanel();
        else if (id == MenuId::refresh)
            refreshNow();
        else if (id == MenuId::quit)
            quit();
    };
    item.onShownChanged = [this] {
        if (m_facilities.statusItem.isShown())
            m_hostTimer.stop();
    };
}

void AppDelegate::applyAppearance()
{
    const Appearance appearance = m_facilities.appearance.current();
    const Palette palette = paletteFor(appearance.scheme, appearance.accent);
    m_panel->setColors(palette);
    m_window.setColors(palette);
    m_driver.setReducedMotion(appearance.reducesMotion);
}

void AppDelegate::loadTheme()
{
    m_theme = PixelTheme::loadSelected(m_facilities.preferences, themeRoots(m_facilities.paths),
                                       [this](const QString& id) { return m_library.art(id); });
    m_panel->setTheme(&m_theme);
    m_driver.setTheme(&m_theme);
}

void AppDelegate::refresh()
{
    m_usage.readClaude();
    refreshPanel();
    m_usage.fetchCodex();
    if (++m_pollCount % providerPolls == 0)
        m_usage.fetchSnapshotProviders();
}

void AppDelegate::refreshNow()
{
    m_usage.readClaude();
    CharacterSpeech::nextLine(m_facilities.preferences);
    refreshPanel();
    m_driver.restartSpeech();
    m_usage.fetchCodex();
    m_usage.fetchSnapshotProviders();
}

void AppDelegate::refreshPanel()
{
    m_panel->setDisplayMode(savedDisplayMode(m_facilities.preferences));
    m_panel->setLowLimitLooks(CharacterLowLimit(m_facilities.preferences).looks());
    m_panel->setSpeech(CharacterSpeech::isEnabled(m_facilities.preferences),
                       CharacterSpeech::rotation(m_facilities.preferences));
    m_panel->setServices(m_usage.shown());
    if (m_window.isVisible()) {
        m_panel->showCards();
        m_window.fitContent();
        m_driver.continueSpeech();
    }
    m_driver.updateStillImages();
    updateStatusTexts();
}

void AppDelegate::updateStatusTexts()
{
    const QString tightest
        = tightestLimitText(m_usage.shown(), savedDisplayMode(m_facilities.preferences), QLocale());
    m_facilities.statusItem.setTitle(tightest.isEmpty() ? u"Vexlo"_s : "Vexlo: "_L1 + tightest);
    m_facilities.statusItem.setToolTip(
        u"Vexlo"_s, tightest.isEmpty() ? tr("No limits are known yet") : tightest);
}

void AppDelegate::updateAnimationTimers()
{
    m_driver.updateAnimationTimers(m_window.isVisible());
}

void AppDelegate::togglePanel(std::optional<QPoint> anchor)
{
    if (m_window.isVisible())
        m_window.close();
    else if (!m_window.wasJustHidden())
        showPanel(anchor);
}

void AppDelegate::showPanel(std::optional<QPoint> anchor)
{
    if (m_window.isVisible()) {
        m_window.raise();
        m_window.activateWindow();
        return;
    }
    loadTheme();
    applyAppearance();
    refreshPanel();
    m_panel->showCards();
    m_window.scrollToTop();
    m_driver.restartSpeech();
    m_window.showPopover(anchor);
}

void AppDelegate::openWithoutHost()
{
    if (m_facilities.statusItem.isShown() || m_window.isVisible())
        return;
    refreshPanel();
    m_panel->showCards();
    m_window.showAsWindow(tr("Your desktop shows no status icons, so Vexlo opens as a window."));
}

void AppDelegate::quit()
{
    m_usage.cancel();
    onQuit();
}
