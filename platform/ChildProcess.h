#pragma once

#include "platform/Cancellation.h"
#include "platform/Descriptor.h"
#include "platform/StartedProgram.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>

#include <chrono>
#include <optional>

/// A child in a process group of its own, with a pipe at its standard input and one at its output.
/// Its standard error goes nowhere.
///
/// Blocks the thread that waits for it: for workers. Nothing of its group is left once it has been
/// ended, which the destructor does too; a descendant that leaves the group is on its own.
class ChildProcess {
public:
    enum class Event {
        output, // bytes were appended
        endOfOutput,
        timeout,
        cancelled,
    };

    /// How long a group that was asked to go may take before it is killed.
    static constexpr std::chrono::milliseconds terminationPatience{300};

    /// Starts `command`. `isRunning` says whether that worked, `startError` why not.
    explicit ChildProcess(const ProgramCommand& command,
                          const Cancellation* cancellation = nullptr);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    [[nodiscard]] bool isRunning() const { return m_leader > 0; }
    [[nodiscard]] QString startError() const { return m_startError; }
    /// The process id, which is the group's too; 0 when it did not start or has been ended.
    [[nodiscard]] pid_t processId() const { return m_leader; }

    /// Queues `bytes` for the child. They are handed over during `wait`, so that a child that reads
    /// nothing stops nobody.
    void write(const QByteArray& bytes) { m_unwritten += bytes; }

    /// Closes the child's input as soon as everything queued has been handed over.
    void closeInput() { m_closesInput = true; }

    /// Waits for the next output and appends at most 64 KiB of it to `output`.
    Event wait(QByteArray& output, QDeadlineTimer deadline);

    /// Ends the whole group: closes its input, gives it `patience` to leave by itself, asks it to
    /// terminate, and kills what is left after `terminationPatience`.
    void end(std::chrono::milliseconds patience = std::chrono::milliseconds(0));

private:
    void handInputOver();
    bool leavesBefore(QDeadlineTimer deadline);
    bool leaderHasExited() const;
    void reap();

    const Cancellation* m_cancellation = nullptr;
    pid_t m_leader = 0;
    Descriptor m_input;
    Descriptor m_output;
    QByteArray m_unwritten;
    bool m_closesInput = false;
    QString m_startError;
};
