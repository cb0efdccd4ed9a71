#include "resources/bridge/CallInterrupter.h"

namespace {

constexpr std::chrono::nanoseconds repeatInterval = std::chrono::milliseconds(20);

timespec timeSpec(std::chrono::nanoseconds time)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    return {.tv_sec = static_cast<time_t>(seconds.count()),
            .tv_nsec = static_cast<long>((time - seconds).count())};
}

} // namespace

CallInterrupter::CallInterrupter(std::chrono::steady_clock::time_point from)
{
    const int signal = SIGRTMIN;
    sigevent event = {};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = signal;
    if (timer_create(CLOCK_MONOTONIC, &event, &m_timer) != 0)
        return;

    struct sigaction action = {};
    action.sa_handler = [](int) {}; // without SA_RESTART: the call shall fail
    sigaction(signal, &action, &m_actionBefore);
    sigset_t unblocked;
    sigemptyset(&unblocked);
    sigaddset(&unblocked, signal);
    sigprocmask(SIG_UNBLOCK, &unblocked, &m_maskBefore);

    const itimerspec times
        = {.it_interval = timeSpec(repeatInterval), .it_value = timeSpec(from.time_since_epoch())};
    m_isArmed = timer_settime(m_timer, TIMER_ABSTIME, &times, nullptr) == 0;
    if (!m_isArmed)
        timer_delete(m_timer);
}

CallInterrupter::~CallInterrupter()
{
    if (!m_isArmed)
        return;
    timer_delete(m_timer);
    sigprocmask(SIG_SETMASK, &m_maskBefore, nullptr);
    sigaction(SIGRTMIN, &m_actionBefore, nullptr);
}
