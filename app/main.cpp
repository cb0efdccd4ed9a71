#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/TerminalCommands.h"
#include "platform/PreferenceStore.h"
#include "platform/QuitSignals.h"
#include "platform/linux/BusInstance.h"
#include "platform/linux/LinuxAppearance.h"
#include "platform/linux/SecretServiceStore.h"
#include "platform/linux/TrayStatusItem.h"
#include "usage/ClaudeSetup.h"
#include "usage/KeychainStore.h"
#include "usage/ProviderRegistry.h"

#include <QApplication>
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
        && (line.command == Command::start || line.command == Command::toggle);
}

/// The program with its status item and panel, until it is quit.
int runApplication(Session& session)
{
    QApplication::setQuitOnLastWindowClosed(false);
    TrayStatusItem statusItem(u"vexlo"_s);
    LinuxAppearance appearance;
    AppDelegate delegate({
        .preferences = session.preferences,
        .registry = session.registry,
        .keychain = session.keychain,
        .statusItem = statusItem,
        .appearance = appearance,
        .claudeSetup = session.claudeSetup,
        .paths = session.paths,
        .isDemo = session.line.demo,
    });
    const RunningInstance::Claim claim = session.instance.claim({
        .toggle = [&delegate] { delegate.togglePanel(); },
        .show = [&delegate] { delegate.showPanel(); },
        .refresh = [&delegate] { delegate.refreshNow(); },
        .quit = [&delegate] { delegate.quit(); },
    });
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
    delegate.applicationDidFinishLaunching(session.line.background);
    if (session.line.command == Command::toggle)
        delegate.showPanel();
    return QApplication::exec();
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
