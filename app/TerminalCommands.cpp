#include "app/TerminalCommands.h"

#include "app/ClaudeCommand.h"
#include "app/StatusCommand.h"
#include "app/StatusReport.h"
#include "platform/Cancellation.h"
#include "platform/QuitSignals.h"
#include "usage/DemoUsage.h"
#include "usage/SnapshotRunner.h"

#include <QCoreApplication>

#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int signalExitCode = 128; // and the signal's number, as shells have it

class Texts {
    Q_DECLARE_TR_FUNCTIONS(TerminalCommands)
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
            printError(text);
    }
    ~ProgressLine()
    {
        if (m_isShown)
            printError(u"\r\x1b[K"_s); // back to the line's start, clear it
    }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

private:
    bool m_isShown;
};

struct Refreshed {
    QList<ServiceUsage> services;
    int signal = 0; // that cut it short
};

Refreshed refresh(TerminalSession& session)
{
    const Cancellation cancellation;
    const QuitSignals quitting(cancellation);
    const ProgressLine progress(Texts::tr("Reading your limits…"));
    const SnapshotRunner runner{.script = session.paths.resources + "/provider_snapshot.py"_L1};
    const QList<ServiceUsage> services
        = refreshedStatus(session.registry, session.keychain, runner, cancellation);
    return {services, quitting.received()};
}

void printReport(TerminalSession& session, const QList<ServiceUsage>& services)
{
    if (session.line.json)
        printOut(QString::fromUtf8(statusJson(services)));
    else if (!services.isEmpty())
        printOut(statusReport(services, savedDisplayMode(session.preferences), QLocale::system()));
    else
        printOut(Texts::tr("Nothing is connected yet.") + u'\n');
}

} // namespace

void printOut(const QString& text)
{
    print(stdout, text);
}

void printError(const QString& text)
{
    print(stderr, text);
}

int runStatus(TerminalSession& session)
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

int runWithoutDisplay(TerminalSession& session, const QString& program)
{
    Refreshed status;
    if (session.line.demo)
        status.services = demoStatus(session.registry);
    else
        status = refresh(session);
    if (status.signal != 0)
        return signalExitCode + status.signal;
    printReport(session, status.services);
    if (status.services.isEmpty()) {
        printOut(Texts::tr(R"(
Claude Code: connect it with  %1 --connect-claude
Codex:       install it and log in with  codex login

This is how it looks then, with made-up figures (--demo):
)")
                     .arg(program));
        printReport(session, Demo::all());
    }
    return 0;
}

int runClaude(TerminalSession& session, ClaudeSetup& setup)
{
    const ClaudeOutcome outcome = session.line.command == CommandLine::Command::connectClaude
        ? connectClaude(setup, session.registry)
        : disconnectClaude(setup, session.registry);
    const QString text = outcome.title + u'\n' + outcome.message + u'\n';
    if (outcome.succeeded)
        printOut(text);
    else
        printError(text);
    return outcome.succeeded ? 0 : 1;
}
