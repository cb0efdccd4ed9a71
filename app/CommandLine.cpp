#include "app/CommandLine.h"

#include <QCoreApplication>

#include <algorithm>
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

struct CommandOption {
    QLatin1StringView name;
    Command command;
};

constexpr std::array commandOptions{
    CommandOption{"--toggle"_L1, Command::toggle},
    CommandOption{"--quit"_L1, Command::quit},
    CommandOption{"--status"_L1, Command::status},
    CommandOption{"--connect-claude"_L1, Command::connectClaude},
    CommandOption{"--disconnect-claude"_L1, Command::disconnectClaude},
    CommandOption{"--add-task"_L1, Command::addTask},
    CommandOption{"--settings"_L1, Command::settings},
    CommandOption{"--enable-login"_L1, Command::enableLogin},
    CommandOption{"--disable-login"_L1, Command::disableLogin},
    CommandOption{"--help"_L1, Command::help},
    CommandOption{"-h"_L1, Command::help},
    CommandOption{"--version"_L1, Command::version},
    CommandOption{"-v"_L1, Command::version},
};

std::optional<Command> commandOption(const QString& name)
{
    const auto option = std::ranges::find(commandOptions, name, &CommandOption::name);
    return option == commandOptions.end() ? std::nullopt : std::optional(option->command);
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

/// Reads the arguments one by one into a command line, up to the first that makes no sense.
class Parser {
public:
    explicit Parser(const QStringList& arguments)
        : m_arguments(arguments)
    {
    }

    CommandLine parse()
    {
        while (m_line.error.isEmpty() && m_next < m_arguments.size())
            takeArgument(m_arguments[m_next++]);
        if (m_line.error.isEmpty())
            m_line.error = conflict(m_line);
        return m_line;
    }

private:
    void takeArgument(const QString& argument)
    {
        const QString name = argument.section(u'=', 0, 0);
        if (const std::optional<Command> command = commandOption(name))
            takeCommand(*command, argument);
        else if (argument == "--refresh"_L1)
            m_line.refresh = true;
        else if (argument == "--background"_L1)
            m_line.background = true;
        else if (argument == "--demo"_L1)
            m_line.demo = true;
        else if (argument == "--welcome"_L1)
            m_line.welcome = true;
        else if (argument == "--snapshot-character-settings"_L1)
            m_line.snapshotFolder = u"build"_s;
        else if (name == "--providers"_L1)
            m_line.providers = value(argument).split(u',', Qt::SkipEmptyParts);
        else if (!argument.startsWith(u'-'))
            m_line.error = Texts::tr("unexpected argument \"%1\"").arg(argument);
        else if (const std::optional<int> values = qtOptionValues(argument))
            m_next += *values;
        else
            m_line.error = Texts::tr("unknown option %1").arg(argument);
    }

    void takeCommand(Command command, const QString& argument)
    {
        if (m_line.command != Command::start && m_line.command != command) {
            m_line.error = Texts::tr("%1 does not go with what stands before it").arg(argument);
            return;
        }
        m_line.command = command;
        if (command == Command::addTask)
            m_line.task = value(argument);
        else if (command == Command::status)
            takeStatusForm(argument);
        else if (command == Command::settings)
            takePane(argument);
        else if (argument.contains(u'='))
            m_line.error = Texts::tr("unknown option %1").arg(argument);
    }

    void takePane(const QString& argument)
    {
        const bool hasPane = argument.contains(u'=')
            || (m_next < m_arguments.size() && !m_arguments[m_next].startsWith(u'-'));
        if (!hasPane)
            return;
        m_line.pane = value(argument);
        static const QStringList panes{u"general"_s, u"theme"_s, u"character"_s, u"about"_s,
                                       u"accounts"_s};
        if (!panes.contains(m_line.pane))
            m_line.error = Texts::tr("the panes of the settings are %1").arg(panes.join(u", "_s));
    }

    void takeStatusForm(const QString& argument)
    {
        const QString form = argument.section(u'=', 1);
        m_line.json = form == "json"_L1;
        if (argument.contains(u'=') && !m_line.json && form != "text"_L1)
            m_line.error = Texts::tr("--status is text or json, not \"%1\"").arg(form);
    }

    /// What belongs to an option: the rest after "=", or else the next argument.
    QString value(const QString& argument)
    {
        if (argument.contains(u'='))
            return argument.section(u'=', 1);
        if (m_next < m_arguments.size())
            return m_arguments[m_next++];
        m_line.error = Texts::tr("%1 needs something after it").arg(argument);
        return {};
    }

    const QStringList& m_arguments;
    qsizetype m_next = 0;
    CommandLine m_line;
};

} // namespace

CommandLine CommandLine::parse(const QStringList& arguments)
{
    return Parser(arguments).parse();
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
  --settings [PANE]     open the settings: general, theme, character, about or
                        accounts
  --add-task TEXT       put a task on the list of notes
  --enable-login        start Vexlo when you log in
  --disable-login       no longer start it then
  --providers LIST      for this run, offer further services: all, or the names
                        of some with commas between them: copilot, ollama,
                        openrouter, zai
  --welcome             show the welcome again
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
