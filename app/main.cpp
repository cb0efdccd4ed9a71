#include "app/ClaudeCommand.h"
#include "app/CommandLine.h"
#include "app/StatusCommand.h"
#include "app/StatusReport.h"
#include "platform/ApplicationPaths.h"
#include "platform/Cancellation.h"
#include "platform/PreferenceStore.h"
#include "platform/QuitSignals.h"
#include "platform/linux/SecretServiceStore.h"
#include "usage/ClaudeSetup.h"
#include "usage/KeychainStore.h"
#include "usage/ProviderRegistry.h"
#include "usage/SnapshotRunner.h"

#include <QCoreApplication>
#include <QFile>
#include <QTranslator>

#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int signalExitCode = 128; // and the signal's number, as shells have it

class Texts {
    Q_DECLARE_TR_FUNCTIONS(Main)
};

void print(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

/// A line that stands on a terminal while it lives.
class ProgressLine {
public:
    explicit ProgressLine(const QString& text)
        : m_isShown(::isatty(STDERR_FILENO) != 0)
    {
        if (m_isShown)
            print(stderr, text);
    }
    ~ProgressLine()
    {
        if (m_isShown)
            print(stderr, u"\r\x1b[K"_s); // back to the line's start, clear it
    }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

private:
    bool m_isShown;
};

/// The adapters and stores that the commands work with.
struct Session {
    explicit Session(const CommandLine& commandLine)
        : line(commandLine)
        , paths(ApplicationPaths::find(commandLine.demo))
        , preferences(paths.preferencesFile)
        , registry(preferences, paths.supportDirectory, commandLine.demo)
    {
    }

    CommandLine line;
    ApplicationPaths paths;
    PreferenceStore preferences;
    ProviderRegistry registry;
    SecretServiceStore secrets;
};

/// The program as the user called it, so that an advice can be copied.
QString programName(const char* invocation)
{
    return QString::fromLocal8Bit(invocation);
}

struct Refreshed {
    QList<ServiceUsage> services;
    int signal = 0; // that cut it short
};

Refreshed refresh(Session& session)
{
    const Cancellation cancellation;
    const QuitSignals quitting(cancellation);
    const ProgressLine progress(Texts::tr("Reading your limits…"));
    const SnapshotRunner runner{.script = session.paths.resources + "/provider_snapshot.py"_L1};
    const KeychainStore keychain(session.secrets);
    const QList<ServiceUsage> services
        = refreshedStatus(session.registry, keychain, runner, cancellation);
    return {services, quitting.received()};
}

void printReport(Session& session, const QList<ServiceUsage>& services)
{
    if (session.line.json)
        print(stdout, QString::fromUtf8(statusJson(services)));
    else if (!services.isEmpty())
        print(stdout,
              statusReport(services, savedDisplayMode(session.preferences), QLocale::system()));
    else
        print(stdout, Texts::tr("Nothing is connected yet.") + u'\n');
}

int runStatus(Session& session)
{
    Refreshed status;
    if (session.line.demo)
        status.services = demoStatus(session.registry);
    else if (session.line.refresh)
        status = refresh(session);
    else
        status.services = savedStatus(session.registry);
    if (status.signal != 0)
        return signalExitCode + status.signal;
    printReport(session, status.services);
    return statusExitCode(status.services);
}

/// Starting without an option: the status, or for a newcomer what it will look like.
int runStart(Session& session, const QString& program)
{
    if (session.line.demo) {
        printReport(session, demoStatus(session.registry));
        return 0;
    }
    const Refreshed status = refresh(session);
    if (status.signal != 0)
        return signalExitCode + status.signal;
    printReport(session, status.services);
    if (status.services.isEmpty()) {
        print(stdout,
              Texts::tr(R"(
Claude Code: connect it with  %1 --connect-claude
Codex:       install it and log in with  codex login

This is how it looks then, with made-up figures (--demo):
)")
                  .arg(program));
        CommandLine demoLine;
        demoLine.demo = true;
        Session demo(demoLine);
        printReport(demo, demoStatus(demo.registry));
    }
    return 0;
}

int runClaude(Session& session)
{
    ClaudeSetup setup({
        .settings = ClaudeSetup::settingsPath(),
        .supportDirectory = session.paths.supportDirectory,
        .bundledBridge = session.paths.helpers + "/vexlo-claude-bridge"_L1,
    });
    const ClaudeOutcome outcome = session.line.command == CommandLine::Command::connectClaude
        ? connectClaude(setup, session.registry)
        : disconnectClaude(setup, session.registry);
    print(outcome.succeeded ? stdout : stderr, outcome.title + u'\n' + outcome.message + u'\n');
    return outcome.succeeded ? 0 : 1;
}

int run(const CommandLine& line, const QString& program)
{
    if (!line.error.isEmpty()) {
        print(stderr,
              "vexlo: "_L1 + line.error + u'\n'
                  + Texts::tr("%1 --help explains every option.").arg(program) + u'\n');
        return CommandLine::usageErrorExitCode;
    }
    switch (line.command) {
    case CommandLine::Command::help:
        print(stdout, CommandLine::helpText());
        return 0;
    case CommandLine::Command::version:
        print(stdout, "Vexlo "_L1 + QCoreApplication::applicationVersion() + u'\n');
        return 0;
    default:
        break;
    }
    Session session(line);
    switch (line.command) {
    case CommandLine::Command::status:
        return runStatus(session);
    case CommandLine::Command::connectClaude:
    case CommandLine::Command::disconnectClaude:
        return runClaude(session);
    default:
        return runStart(session, program);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QString program = programName(argc > 0 ? argv[0] : "vexlo");
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"vexlo"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(VEXLO_VERSION));

    // English as spoken on this system, and the user's language over it where we have it.
    QTranslator english;
    if (english.load(u":/translations/vexlo_en.qm"_s))
        QCoreApplication::installTranslator(&english);
    QTranslator local;
    if (local.load(QLocale::system(), u"vexlo"_s, u"_"_s, u":/translations"_s))
        QCoreApplication::installTranslator(&local);

    return run(CommandLine::parse(QCoreApplication::arguments().mid(1)), program);
}
