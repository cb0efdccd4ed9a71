#pragma once

#include <QString>
#include <QStringList>

/// What the user asked for when starting the program.
struct CommandLine {
    enum class Command {
        start,
        toggle,
        quit,
        status,
        connectClaude,
        disconnectClaude,
        addTask,
        settings,
        enableLogin,
        disableLogin,
        help,
        version,
    };

    /// The exit code for a command line that makes no sense, as sysexits.h has it.
    static constexpr int usageErrorExitCode = 64;

    Command command = Command::start;
    bool json = false; // the status as JSON
    bool refresh = false; // read the sources before telling the status
    bool background = false; // open nothing unasked, as at login
    bool demo = false; // made-up figures and a place of its own
    QString task; // of `addTask`, as given
    QString pane; // of `settings`; empty for the last one
    QString snapshotFolder; // where to draw pictures of the Character settings; empty for not
    bool welcome = false; // shows the welcome whether or not it was shown before
    QStringList providers; // further ones to offer, ids or "all"
    QString error; // empty, or what is wrong with the arguments

    /// Reads `arguments`, the program's own name not among them. Options of Qt's own pass.
    [[nodiscard]] static CommandLine parse(const QStringList& arguments);

    /// What `--help` prints: every option and every exit code.
    [[nodiscard]] static QString helpText();
};
