#include "app/CommandLine.h"

#include <QCoreApplication>

#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

class Texts {
    Q_DECLARE_TR_FUNCTIONS(CommandLine)
};

using Command = CommandLine::Command;

/// How many arguments one of Qt's own options takes with it, 0 or 1. Absent for any other option.
/// They may be written with one dash or two, and with "=" before the value.
std::optional<int> qtOptionValues(const QString& argument)
{
    static const std::array valued{
        "platform"_L1,
        "platformpluginpath"_L1,
        "platformtheme"_L1,
        "plugin"_L1,
        "qwindowgeometry"_L1,
        "qwindowicon"_L1,
        "qwindowtitle"_L1,
        "session"_L1,
        "style"_L1,
        "stylesheet"_L1,
        "display"_L1,
        "geometry"_L1,
        "icon"_L1,
        "title"_L1,
        "fontengine"_L1,
    };
    static const std::array plain{"reverse"_L1, "widgetcount"_L1, "qmljsdebugger"_L1,
                                  "nograb"_L1,  "dograb"_L1,      "sync"_L1};
    const qsizetype dashes = argument.startsWith("--"_L1) ? 2 : 1;
    const QString name = argument.mid(dashes).section(u'=', 0, 0);
    if (std::find(plain.begin(), plain.end(), name) != plain.end())
        return 0;
    if (std::find(valued.begin(), valued.end(), name) != valued.end())
        return argument.contains(u'=') ? 0 : 1;
    return std::nullopt;
}

std::optional<Command> commandOption(const QString& argument)
{
    if (argument == "--status"_L1 || argument.startsWith("--status="_L1))
        return Command::status;
    if (argument == "--toggle"_L1)
        return Command::toggle;
    if (argument == "--quit"_L1)
        return Command::quit;
    if (argument == "--connect-claude"_L1)
        return Command::connectClaude;
    if (argument == "--disconnect-claude"_L1)
        return Command::disconnectClaude;
    if (argument == "--help"_L1 || argument == "-h"_L1)
        return Command::help;
    if (argument == "--version"_L1 || argument == "-v"_L1)
        return Command::version;
    return std::nullopt;
}

QString conflict(const CommandLine& line)
{
    const bool connects
        = line.command == Command::connectClaude || line.command == Command::disconnectClaude;
    if (line.refresh && line.command != Command::status)
        return Texts::tr("--refresh goes with --status");
    if (line.background && line.command != Command::start)
        return Texts::tr("--background goes with no command");
    if (line.demo && connects)
        return Texts::tr("--demo shows made-up figures and connects nothing");
    return {};
}

} // namespace

CommandLine CommandLine::parse(const QStringList& arguments)
{
    CommandLine line;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (const std::optional<Command> command = commandOption(argument)) {
            if (line.command != Command::start && line.command != *command) {
                line.error = Texts::tr("%1 does not go with what stands before it").arg(argument);
                return line;
            }
            line.command = *command;
            if (argument == "--status=json"_L1) {
                line.json = true;
            } else if (argument.startsWith("--status="_L1) && argument != "--status=text"_L1) {
                line.error = Texts::tr("--status is text or json, not \"%1\"").arg(argument.mid(9));
                return line;
            }
        } else if (argument == "--refresh"_L1) {
            line.refresh = true;
        } else if (argument == "--background"_L1) {
            line.background = true;
        } else if (argument == "--demo"_L1) {
            line.demo = true;
        } else if (const std::optional<int> values
                   = argument.startsWith(u'-') ? qtOptionValues(argument) : std::nullopt) {
            i += *values;
        } else {
            line.error = argument.startsWith(u'-')
                ? Texts::tr("unknown option %1").arg(argument)
                : Texts::tr("unexpected argument \"%1\"").arg(argument);
            return line;
        }
    }
    line.error = conflict(line);
    return line;
}

QString CommandLine::helpText()
{
    return Texts::tr(R"(Usage: vexlo [OPTION]...
Shows how much of your AI assistants' allowance is left, as a character in the
desktop's status bar and a panel behind it.

  --toggle              open or close the panel of the running Vexlo, or start it
                        with the panel open: for a keyboard shortcut
  --quit                end the running Vexlo
  --background          open nothing when no bar shows the character, as at login
  --status[=text|json]  print what is known and end: one line per service with
                        its limits, when they reset and how old the figures
                        are; json prints one JSON object instead
  --refresh             with --status: ask Codex and the other providers first
  --connect-claude      let Claude Code report its limits: adds a status line
                        bridge to its settings, after backing them up; a status
                        line of your own keeps its output
  --disconnect-claude   put back the status line you had before connecting and
                        stop showing Claude usage
  --demo                show made-up figures; touches none of your files
  -h, --help            print this and end
  -v, --version         print the version and end

Where there is no display, Vexlo asks the services, prints their status and ends;
while nothing is connected it shows made-up figures and says how to connect.
Qt's own options are accepted too.

Exit code of --status: 0 fine, 1 some limit has 10 % or less left, 2 some limit
is used up, 3 nothing is known. Of the rest: 0 done, 1 failed. 64 is a command
line that makes no sense, 74 an output that could not be written.
)");
}
