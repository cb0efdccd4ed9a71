#include "app/AppDelegate.h"

#include "app/FirstRun.h"
#include "app/PreferenceMigration.h"
#include "characters/CharacterMotion.h"
#include "characters/CharacterSpeech.h"
#include "characters/SpriteImages.h"
#include "characters/ThemeFile.h"
#include "platform/CrashReports.h"
#include "platform/DesktopAppearance.h"
#include "platform/LoginItem.h"
#include "platform/Notifier.h"
#include "platform/PreferenceStore.h"
#include "today/NotesCardView.h"
#include "usage/ClaudeSetup.h"
#include "usage/ContextCache.h"
#include "usage/ProviderRegistry.h"

#include <QCoreApplication>
#include <QScreen>

using namespace Qt::StringLiterals;

namespace {

const QString calendarId = u"calendar"_s;
const QString notesId = u"notes"_s;
const QString welcomeKey = u"welcomeDone"_s;
constexpr qreal warningPictureSize = 48; // points

} // namespace

AppDelegate::AppDelegate(const Facilities& facilities)
    : m_facilities(facilities)
    , m_library(facilities.paths.supportDirectory + "/StudioCharacters"_L1,
                facilities.paths.resources)
    , m_speechFont(facilities.paths.resources)
    , m_notes(facilities.paths.supportDirectory + "/notes.json"_L1)
    , m_panel(new UsagePanelView)
    , m_driver(facilities.preferences, facilities.statusItem, *m_panel)
    , m_usage(facilities.registry, facilities.keychain, facilities.paths, facilities.isDemo)
    , m_calendar(facilities.calendarStore, facilities.preferences, facilities.isDemo)
    , m_tabs({facilities.preferences, facilities.counters, facilities.clipboard,
              facilities.paths.supportDirectory + "/ClipboardRecent"_L1, facilities.isDemo},
             m_window)
    , m_settings(settingsFacilities())
    , m_warnings(facilities.preferences, facilities.notifier)
    , m_statusItem(facilities.statusItem, statusItemActions())
{
    m_usage.onChange = [this] { usageChanged(); };
    onQuit = [] { QCoreApplication::quit(); };
    onOpenCalendar = [] {};
}

AppDelegate::~AppDelegate()
{
    // It says so to the others while they are there.
    m_window.hide();
}

void AppDelegate::applicationDidFinishLaunching(const Launch& launch)
{
    connect(&m_library, &CustomCharacterLibrary::charactersChanged, this, [this] {
        loadTheme();
        refreshPanel();
        m_settings.reloadCharacters();
    });
    migratePreferences(m_facilities.preferences);
    configurePanel();
    m_statusItem.configure();
    configureSettings();
    if (!m_facilities.isDemo)
        removeOldContextCache(m_facilities.paths.supportDirectory);
    m_usage.readSaved();
    m_usage.fetchSnapshotProviders();
    m_calendar.onChange = [this] { refreshCalendar(); };
    refreshCalendar();
    m_tabs.takeFirstSample();
    checkWarnings();
    updateAnimationTimers();

    connect(&m_refreshTimer, &QTimer::timeout, this, &AppDelegate::refresh);
    m_refreshTimer.start(refreshInterval);
    m_usage.fetchCodex();
    if (!m_facilities.isDemo) {
        m_facilities.loginItem.mend();
        m_usage.runAside([&setup = m_facilities.claudeSetup] {
            try {
                setup.refreshIfConnected();
            } catch (const ClaudeSetup::Failure&) {
                // Nobody asked for it now; Settings tells when asked to connect.
            }
        });
    }
    welcomeNewcomer(launch);
    m_statusItem.onNoHost = [this] { openWithoutHost(); };
    if (!launch.background)
        m_statusItem.awaitHost(hostPatience);
}

void AppDelegate::configurePanel()
{
    m_window.addPage(ToolTabs::usageTab, m_panel);
    m_window.offerSettings();
    m_window.onShown = [this] { updateAnimationTimers(); };
    m_window.onClosed = [this] { updateAnimationTimers(); };
    m_window.onRefresh = [this] { refreshNow(); };
    m_window.onSettings = [this] { showSettings(); };
    m_window.onQuit = [this] { quit(); };
    m_window.onWindowClosed = [this] {
        if (!m_statusItem.isShown())
            quit();
    };
    m_tabs.onTabChange = [this] {
        updatePopoverBehavior();
        refreshPanel();
    };
    m_panel->onCalendarNavigate = [this](Date month, std::optional<Date> selected) {
        m_calendar.navigate(month, selected);
        refreshCalendar();
    };
    m_panel->onOpenCalendar = [this] { onOpenCalendar(); };
    m_facilities.appearance.onChange = [this] { applyAppearance(); };
    m_driver.onStep = [this](double seconds) { moveCharacters(seconds); };
    m_panel->setSpeechFont(&m_speechFont);
    loadTheme();
    applyAppearance();
}

StatusItemControl::Actions AppDelegate::statusItemActions()
{
    return {.toggle = [this](std::optional<QPoint> anchor) { togglePanel(anchor); },
            .open = [this] { showPanel(); },
            .refresh = [this] { refreshNow(); },
            .settings = [this] { showSettings(); },
            .quit = [this] { quit(); }};
}

SettingsControl::Facilities AppDelegate::settingsFacilities()
{
    const auto usage = [this](const QString& id) { return m_usage.usageByID().value(id); };
    return {
        .settings
        = {.preferences = m_facilities.preferences,
           .registry = m_facilities.registry,
           .library = m_library,
           .opener = m_facilities.opener,
           .loginItem = m_facilities.loginItem,
           .accounts
           = {m_facilities.registry, m_facilities.keychain, m_facilities.claudeSetup, usage},
           .about = {m_facilities.updater, m_facilities.opener, m_facilities.crashReports},
           .loadTheme = [this] { return savedTheme(); },
           .isDemo = m_facilities.isDemo},
        .claudeSetup = m_facilities.claudeSetup,
        .appearance = m_facilities.appearance,
        .speechFont = m_speechFont,
        .hasCalendar
        = [this] { return m_facilities.calendarStore.status() == CalendarAccess::full; },
    };
}

void AppDelegate::configureSettings()
{
    m_settings.onPreview = [this] { previewSettings(); };
    m_settings.onSaved = [this] { settingsSaved(); };
    m_settings.onVisibility = [this](bool) {
        updatePopoverBehavior();
        updateAnimationTimers();
    };
    m_settings.onKeyStored = [this](const QString& id) {
        m_facilities.registry.setEnabled(id, true);
        m_usage.fetchSnapshotProviders();
        refreshPanel();
    };
    m_facilities.notifier.onActivated = [this](const QString&) { showPanel(); };
    m_warnings.picture = [this](const QString& id) { return warningPicture(id); };
    if (m_facilities.isDemo)
        return;
    if (const auto crash = m_facilities.crashReports.crashSinceLastStart(m_facilities.preferences))
        m_settings.tellOfCrash(*crash);
}

void AppDelegate::welcomeNewcomer(const Launch& launch)
{
    const FirstRun state = firstRun(m_facilities.preferences);
    if (launch.welcome) {
        m_settings.showWelcome();
    } else if (state != FirstRun::welcomed && !m_facilities.isDemo && !launch.background) {
        m_facilities.preferences.setBoolean(welcomeKey, true);
        if (state == FirstRun::newcomer)
            m_settings.showWelcome();
    }
}

void AppDelegate::applyAppearance()
{
    const Appearance appearance = m_facilities.appearance.current();
    const Palette palette = paletteFor(appearance.scheme, appearance.accent);
    m_panel->setColors(palette);
    m_window.setColors(palette);
    m_tabs.setColors(palette);
    m_settings.setColors(palette);
    if (m_notesCard)
        m_notesCard->setColors(palette);
    m_driver.setReducedMotion(appearance.reducesMotion);
}

PixelTheme AppDelegate::savedTheme()
{
    return PixelTheme::loadSelected(m_facilities.preferences, themeRoots(m_facilities.paths),
                                    [this](const QString& id) { return m_library.art(id); });
}

void AppDelegate::loadTheme()
{
    m_theme = savedTheme();
    m_panel->setTheme(&m_theme);
    m_driver.setTheme(&m_theme);
    m_tabs.setTheme(&m_theme);
    if (m_notesCard) {
        m_notesCard->setTheme(&m_theme);
        m_notesCard->setCharacter(m_theme.choices.character(notesId));
    }
}

void AppDelegate::previewSettings()
{
    loadTheme();
    const SettingsWindow* window = m_settings.window();
    if (window) {
        m_theme.choices = window->draft().choices;
        m_driver.setSpeedDraft(window->draft().animationSpeed);
        if (m_notesCard)
            m_notesCard->setCharacter(m_theme.choices.character(notesId));
    } else {
        m_driver.setSpeedDraft({});
    }
    m_panel->setLowLimitPreview(window ? window->lowLimitPreview() : std::nullopt);
    refreshPanel();
}

void AppDelegate::settingsSaved()
{
    m_tabs.reloadName();
    previewSettings();
    refreshCalendar();
    m_usage.fetchCodex();
    m_usage.fetchSnapshotProviders();
}

void AppDelegate::updateMotion()
{
    const bool isReduced = m_facilities.appearance.current().reducesMotion;
    const SettingsWindow* window = m_settings.window();
    m_lively = !isReduced
        && (window ? window->draft().lively : CharacterMotion::isLively(m_facilities.preferences));
    m_tabCharacters = window
        ? window->draft().tabCharacters
        : m_facilities.preferences.boolean(u"tabCharactersEnabled"_s).value_or(true);
    m_panel->setLively(m_lively);
}

void AppDelegate::makeNotesCard()
{
    if (m_notesCard)
        return;
    m_notesCard = new NotesCardView(m_notes);
    m_notesCard->onResized = [this] {
        m_panel->updateGeometry();
        m_window.fitContent();
    };
    m_panel->setNotesCard(m_notesCard);
    const Appearance appearance = m_facilities.appearance.current();
    m_notesCard->setColors(paletteFor(appearance.scheme, appearance.accent));
    m_notesCard->setTheme(&m_theme);
    m_notesCard->setCharacter(m_theme.choices.character(notesId));
}

void AppDelegate::refresh()
{
    m_usage.readClaude();
    usageChanged();
    m_usage.fetchCodex();
    if (++m_pollCount % providerPolls == 0)
        m_usage.fetchSnapshotProviders();
    refreshCalendar();
}

void AppDelegate::refreshNow()
{
    m_usage.readClaude();
    CharacterSpeech::nextLine(m_facilities.preferences);
    m_tabs.sampleNow();
    refreshCalendar();
    usageChanged();
    m_driver.restartSpeech();
    m_usage.fetchCodex();
    m_usage.fetchSnapshotProviders();
}

void AppDelegate::refreshCalendar()
{
    if (m_facilities.registry.isEnabled(calendarId)) {
        m_calendar.askCalendarAccess();
        if (const std::optional<ServiceUsage> record = m_calendar.usage())
            m_usage.store(*record);
        m_panel->setSpokenCalendar(m_calendar.spoken());
    } else {
        m_calendar.close();
    }
    refreshPanel();
}

void AppDelegate::usageChanged()
{
    refreshPanel();
    m_settings.refreshAccountStatus();
    checkWarnings();
}

void AppDelegate::checkWarnings()
{
    QStringList visibleIDs;
    for (const ServiceUsage& service : m_usage.shown())
        visibleIDs.append(service.id);
    if (!m_facilities.isDemo)
        m_warnings.checkWarnings(visibleIDs, m_usage.usageByID());
}

QImage AppDelegate::warningPicture(const QString& id) const
{
    const CharacterPicture picture{.character = m_theme.choices.character(id),
                                   .color = m_theme.characterColor(id),
                                   .size = warningPictureSize,
                                   .pixelRatio = 2};
    return lowLimitImage(m_theme, picture, MascotState::tired);
}

std::optional<qsizetype> AppDelegate::notesPlace() const
{
    if (!m_facilities.registry.isEnabled(notesId))
        return std::nullopt;
    qsizetype place = 0;
    const QList<ServiceUsage> services = m_usage.shown();
    for (const ProviderDefinition& row : m_facilities.registry.visible()) {
        if (row.id == notesId)
            break;
        place += std::ranges::find(services, row.id, &ServiceUsage::id) != services.end();
    }
    return place;
}

void AppDelegate::refreshPanel()
{
    const SettingsWindow* window = m_settings.window();
    updateMotion();
    m_panel->setDisplayMode(savedDisplayMode(m_facilities.preferences));
    m_panel->setLowLimitLooks(window ? window->draft().looks
                                     : CharacterLowLimit(m_facilities.preferences).looks());
    m_panel->setSpeech(CharacterSpeech::isEnabled(m_facilities.preferences),
                       CharacterSpeech::rotation(m_facilities.preferences));
    m_panel->setServices(m_usage.shown());
    m_panel->setNotesPlace(notesPlace());
    if (m_window.isVisible()) {
        fillPanel();
        m_window.fitContent();
        m_driver.continueSpeech();
    }
    m_driver.updateStillImages();
    m_statusItem.showTexts(m_usage.shown(), savedDisplayMode(m_facilities.preferences));
}

void AppDelegate::fillPanel()
{
    if (notesPlace())
        makeNotesCard();
    m_tabs.prepare();
    const bool matches
        = m_facilities.preferences.boolean(u"systemColorMatchesTheme"_s).value_or(false);
    const SettingsWindow* window = m_settings.window();
    const Appearance appearance = m_facilities.appearance.current();
    m_tabs.setAccent((window ? window->draft().systemMatchesAccent : matches)
                         ? paletteFor(appearance.scheme, appearance.accent).accent
                         : m_theme.color(ToolTabs::systemTab));
    m_panel->showCards();
}

void AppDelegate::moveCharacters(double seconds)
{
    if (m_window.isVisible())
        m_tabs.updateTabCharacter(seconds, m_lively, m_tabCharacters);
    if (m_notesCard && m_notesCard->isVisible()) {
        m_notesCard->setLively(m_lively);
        m_notesCard->setAnimationTime(seconds);
    }
    m_settings.animate(seconds, m_facilities.appearance.current().reducesMotion);
}

void AppDelegate::updateAnimationTimers()
{
    m_tabs.setShown(m_window.isVisible());
    m_driver.updateAnimationTimers(m_window.isVisible() || m_settings.isOpen());
}

void AppDelegate::updatePopoverBehavior()
{
    m_window.setTransient(!m_settings.isOpen() && m_tabs.selected() != ToolTabs::clipboardTab);
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
    if (!m_settings.isOpen())
        loadTheme();
    updatePopoverBehavior();
    m_calendar.showToday();
    refreshCalendar();
    applyAppearance();
    fillPanel();
    m_window.scrollToTop();
    m_driver.restartSpeech();
    m_window.showPopover(anchor);
}

void AppDelegate::showTab(const QString& id)
{
    showPanel();
    m_tabs.select(id);
}

void AppDelegate::showSettings(const QString& pane)
{
    if (!m_window.isVisible())
        showPanel();
    m_window.setTransient(false); // it stays while the Settings take the keyboard
    m_settings.showSettings(pane, m_window.geometry(), m_window.screen());
}

bool AppDelegate::addTask(const QString& text)
{
    return m_notes.add(text);
}

void AppDelegate::openWithoutHost()
{
    if (m_window.isVisible())
        return;
    m_settings.setTrayHint(
        tr("Your desktop shows no status icons yet: GNOME needs its AppIndicator "
           "extension, other desktops a status tray in their bar."));
    refreshPanel();
    fillPanel();
    m_window.showAsWindow(tr("Your desktop shows no status icons, so Vexlo opens as a window."));
}

void AppDelegate::quit()
{
    m_usage.cancel();
    onQuit();
}
