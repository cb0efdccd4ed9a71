#include "app/AppDelegate.h"
#include "app/AppUpdater.h"
#include "app/CommandLine.h"
#include "app/Feedback.h"
#include "app/LoginCommand.h"
#include "app/TerminalCommands.h"
#include "platform/CrashReports.h"
#include "platform/PreferenceStore.h"
#include "platform/QuitSignals.h"
#include "platform/linux/AutostartEntry.h"
#include "platform/linux/BusInstance.h"
#include "platform/linux/CalendarApplication.h"
#include "platform/linux/DesktopCalendarStore.h"
#include "platform/linux/DesktopClipboard.h"
#include "platform/linux/DesktopNotifier.h"
#include "platform/linux/IcsCalendarStore.h"
#include "platform/linux/LinuxAppearance.h"
#include "platform/linux/OpenWith.h"
#include "platform/linux/PackageKitUpdates.h"
#include "platform/linux/ProcCounters.h"
#include "platform/linux/SecretServiceStore.h"
#include "platform/linux/TrayStatusItem.h"
#include "today/ShelfPictures.h"
#include "usage/ClaudeSetup.h"
#include "usage/KeychainStore.h"
#include "usage/ProviderRegistry.h"

#include <QApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QTranslator>

#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using Command = CommandLine::Command;

constexpr int outputErrorExitCode = 74; // as sysexits.h has it

class Texts {
    Q_DECLARE_TR_FUNCTIONS(Main)
};

/// The adapters and stores of one run.
struct Session {
    explicit Session(const CommandLine& commandLine)
        : line(commandLine)
        , paths(ApplicationPaths::find(commandLine.demo))
        , preferences(paths.preferencesFile)
        , registry(preferences, paths.supportDirectory, commandLine.demo)
        , keychain(secrets)
        , claudeSetup({
              .settings = ClaudeSetup::settingsPath(),
              .supportDirectory = paths.supportDirectory,
              .bundledBridge = paths.helpers + "/vexlo-claude-bridge"_L1,
          })
        , instance(commandLine.demo)
    {
        registry.offer(commandLine.providers);
        // The provider script keeps its snapshots where we read them.
        qputenv("VEXLO_SUPPORT_DIR", QFile::encodeName(paths.supportDirectory));
    }

    [[nodiscard]] TerminalSession terminal()
    {
        return {line, paths, preferences, registry, keychain};
    }

    CommandLine line;
    ApplicationPaths paths;
    PreferenceStore preferences;
    ProviderRegistry registry;
    SecretServiceStore secrets;
    KeychainStore keychain;
    ClaudeSetup claudeSetup;
    BusInstance instance;
};

/// English as spoken on this system, and the user's language over it where we have it.
struct Translations {
    Translations()
    {
        if (english.load(u":/translations/vexlo_en.qm"_s))
            QCoreApplication::installTranslator(&english);
        if (local.load(QLocale::system(), u"vexlo"_s, u"_"_s, u":/translations"_s))
            QCoreApplication::installTranslator(&local);
    }

    QTranslator english;
    QTranslator local;
};

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY")
        || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

bool needsDisplay(const CommandLine& line)
{
    return line.error.isEmpty()
        && (line.command == Command::start || line.command == Command::toggle
            || line.command == Command::settings);
}

/// The desktop's side of the program with a display.
struct Desktop {
    explicit Desktop(const PreferenceStore& preferences)
        : calendarStore(calendarFolders(preferences))
    {
    }

    TrayStatusItem statusItem{u"vexlo"_s};
    LinuxAppearance appearance;
    DesktopCalendarStore calendarStore;
    DesktopClipboard clipboard{pictureTypes(), ClipboardShelf::privateTypes()};
    ProcCounters counters;
    DesktopNotifier notifier;
    AutostartEntry loginItem;
    PackageKitUpdates updates{{}};
    AppUpdater updater{updates};
    OpenWith opener;
    CalendarApplication calendarApplication;
    CrashReports crashReports;
};

InstanceActions actionsOf(AppDelegate& delegate)
{
    return {
        .toggle = [&delegate] { delegate.togglePanel(); },
        .show = [&delegate] { delegate.showPanel(); },
        .refresh = [&delegate] { delegate.refreshNow(); },
        .quit = [&delegate] { delegate.quit(); },
        .showTab = [&delegate](const QString& tab) { delegate.showTab(tab); },
        .settings = [&delegate](const QString& pane) { delegate.showSettings(pane); },
        .addTask = [&delegate](const QString& text) { return delegate.addTask(text); },
    };
}

/// The program with its status item and panel, until it is quit.
int runApplication(Session& session)
{
    QApplication::setQuitOnLastWindowClosed(false);
    Desktop desktop(session.preferences);
    if (!session.line.demo)
        desktop.crashReports.install(BuildInfo::current().versionString());
    AppDelegate delegate({
        .preferences = session.preferences,
        .registry = session.registry,
        .keychain = session.keychain,
        .statusItem = desktop.statusItem,
        .appearance = desktop.appearance,
        .claudeSetup = session.claudeSetup,
        .calendarStore = desktop.calendarStore,
        .clipboard = desktop.clipboard,
        .counters = desktop.counters,
        .notifier = desktop.notifier,
        .loginItem = desktop.loginItem,
        .updater = desktop.updater,
        .opener = desktop.opener,
        .crashReports = desktop.crashReports,
        .paths = session.paths,
        .isDemo = session.line.demo,
    });
    delegate.onOpenCalendar = [&desktop] { desktop.calendarApplication.open(); };
    const RunningInstance::Claim claim = session.instance.claim(actionsOf(delegate));
    if (claim == RunningInstance::Claim::taken)
        return session.instance.send(RunningInstance::Request::toggle) ? 0 : 1;

    const Cancellation asked;
    const QuitSignals quitting(asked);
    QSocketNotifier notifier(asked.descriptor(), QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &delegate, [&notifier, &delegate] {
        notifier.setEnabled(false);
        delegate.quit();
    });
    if (::isatty(STDOUT_FILENO) != 0 && !session.line.background)
        printOut(
            Texts::tr("Vexlo is in your desktop's status bar. Click its character, or run it with "
                      "--toggle.")
            + u'\n');
    delegate.applicationDidFinishLaunching({session.line.background, session.line.welcome});
    if (session.line.command == Command::toggle)
        delegate.showPanel();
    else if (session.line.command == Command::settings)
        delegate.showSettings(session.line.pane);
    if (!session.line.snapshotFolder.isEmpty())
        delegate.settings().snapshotCharacterSettings(
            session.line.snapshotFolder, [&delegate, &session](bool isGood) {
                if (!isGood)
                    printError(Texts::tr("vexlo: the pictures could not be written to %1")
                                   .arg(session.line.snapshotFolder)
                               + u'\n');
                delegate.quit();
            });
    return QApplication::exec();
}

/// Puts a task on the list of the running program, or else into its file.
int addTask(const Session& session, RunningInstance& instance)
{
    if (const std::optional<bool> isAdded
        = instance.send(RunningInstance::Request::addTask, session.line.task)) {
        if (!*isAdded)
            printError(Texts::tr("The task is empty, or the list is full.") + u'\n');
        return *isAdded ? 0 : 1;
    }
    NotesStore notes(session.paths.supportDirectory + "/notes.json"_L1);
    if (!notes.add(session.line.task))
        printError(Texts::tr("The task is empty, or the list is full.") + u'\n');
    else if (!notes.isSaved())
        printError(Texts::tr("The task could not be saved.") + u'\n');
    else
        return 0;
    return 1;
}

int runInTerminal(Session& session, const QString& program)
{
    TerminalSession terminal = session.terminal();
    switch (session.line.command) {
    case Command::status:
        return runStatus(terminal);
    case Command::connectClaude:
    case Command::disconnectClaude:
        return runClaude(terminal, session.claudeSetup);
    case Command::addTask:
        return addTask(session, session.instance);
    case Command::enableLogin:
    case Command::disableLogin: {
        AutostartEntry loginItem;
        return runLogin(loginItem, session.line.command == Command::enableLogin);
    }
    case Command::quit:
        if (session.instance.send(RunningInstance::Request::quit))
            return 0;
        printError(Texts::tr("Vexlo is not running.") + u'\n');
        return 1;
    default:
        return runWithoutDisplay(terminal, program);
    }
}

int run(const CommandLine& line, const QString& program)
{
    if (!line.error.isEmpty()) {
        printError("vexlo: "_L1 + line.error + u'\n'
                   + Texts::tr("%1 --help explains every option.").arg(program) + u'\n');
        return CommandLine::usageErrorExitCode;
    }
    if (line.command == Command::help) {
        printOut(CommandLine::helpText());
        return 0;
    }
    if (line.command == Command::version) {
        printOut("Vexlo "_L1 + QCoreApplication::applicationVersion() + u'\n');
        return 0;
    }
    Session session(line);
    if (!QCoreApplication::instance()->inherits("QApplication"))
        return runInTerminal(session, program);
    if (line.command == Command::toggle && session.instance.send(RunningInstance::Request::toggle))
        return 0;
    if (line.command == Command::settings
        && session.instance.send(RunningInstance::Request::settings, line.pane))
        return 0;
    return runApplication(session);
}

} // namespace

int main(int argc, char** argv)
{
    // Qt's own tracing of the bus would print keys as they come from the secret store.
    qunsetenv("QDBUS_DEBUG");

    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const CommandLine line = CommandLine::parse(arguments);
    const bool isGraphical = needsDisplay(line) && hasDisplay();
    const bool hasOwnChoice = !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
    // X11 first, also where it is a guest of Wayland: it lets the panel stand where it belongs. The
    // last one stands for a display that is named but cannot be reached.
    if (isGraphical && !hasOwnChoice)
        qputenv("QT_QPA_PLATFORM", "xcb;wayland;offscreen");

    std::unique_ptr<QCoreApplication> application;
    if (isGraphical)
        application = std::make_unique<QApplication>(argc, argv);
    else
        application = std::make_unique<QCoreApplication>(argc, argv);
    if (isGraphical && !hasOwnChoice)
        qunsetenv("QT_QPA_PLATFORM"); // no business of the programs that we open
    QCoreApplication::setApplicationName(u"vexlo"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(VEXLO_VERSION));
    const Translations translations;
    if (isGraphical && !hasOwnChoice && QGuiApplication::platformName() == "offscreen"_L1) {
        printError(
            Texts::tr("Vexlo cannot reach the display that DISPLAY or WAYLAND_DISPLAY names. "
                      "vexlo --status works without one.")
            + u'\n');
        return 1;
    }
    const int exitCode = run(line, QString::fromLocal8Bit(argc > 0 ? argv[0] : "vexlo"));
    // A report that is lost on its way must not look like one that says all is well.
    if (std::ferror(stdout) != 0) {
        printError("vexlo: "_L1 + Texts::tr("the output could not be written") + u'\n');
        return outputErrorExitCode;
    }
    return exitCode;
}
