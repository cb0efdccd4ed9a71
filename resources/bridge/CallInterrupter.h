#pragma once

#include <chrono>
#include <csignal>
#include <ctime>

/// Makes the system calls that block this thread at or after `from` fail with EINTR, again and
/// again until its own end, so that none is missed between a look at the clock and the call.
///
/// A timer of its own and a real-time signal: an alarm set before the program was started, and
/// what stands for SIGALRM, remain as they are for the status line that may follow.
class CallInterrupter {
public:
    explicit CallInterrupter(std::chrono::steady_clock::time_point from);
    ~CallInterrupter();
    CallInterrupter(const CallInterrupter&) = delete;
    CallInterrupter& operator=(const CallInterrupter&) = delete;

    /// False when the system gave no timer: nothing will be interrupted.
    [[nodiscard]] bool isArmed() const { return m_isArmed; }

private:
    timer_t m_timer = {};
    struct sigaction m_actionBefore = {};
    sigset_t m_maskBefore = {};
    bool m_isArmed = false;
};
