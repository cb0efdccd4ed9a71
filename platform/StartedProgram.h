#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <sys/types.h>

/// What is to be started, and with what.
struct ProgramCommand {
    QString program; // a path
    QStringList arguments;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
};

/// A program that was started, or not.
struct StartedProgram {
    /// What still ties it to us.
    enum class Ties {
        ownGroup, // a process group of its own, which can be ended as a whole
        ownSession, // none: what ends our session or terminal does not end it
    };

    static constexpr int nowhere = -1; // in place of a descriptor

    pid_t processId = 0; // 0 when it did not start; else to be waited for by the caller
    int error = 0; // the system's error number when it did not start
};

/// Starts `command` with the descriptors `input` and `output` as its standard ones, the standard
/// error going nowhere, and nothing else of ours: no descriptors, no signal handling.
[[nodiscard]] StartedProgram startProgram(const ProgramCommand& command, StartedProgram::Ties ties,
                                          int input = StartedProgram::nowhere,
                                          int output = StartedProgram::nowhere);
