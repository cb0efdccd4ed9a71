#include "platform/QuitSignals.h"

#include "platform/Cancellation.h"

#include <atomic>
#include <csignal>

namespace {

// A signal handler gets no context.
std::atomic<const Cancellation*> cancelled = nullptr;
volatile std::sig_atomic_t lastSignal = 0;

constexpr int quitSignals[]{SIGINT, SIGTERM, SIGHUP};

void handle(int number)
{
    lastSignal = number;
    if (const Cancellation* cancellation = cancelled)
        cancellation->cancel();
}

} // namespace

QuitSignals::QuitSignals(const Cancellation& cancellation)
{
    lastSignal = 0;
    cancelled = &cancellation;
    for (const int number : quitSignals) {
        // What was ignored when we started, as nohup does it, stays ignored.
        if (std::signal(number, handle) == SIG_IGN)
            std::signal(number, SIG_IGN);
    }
}

QuitSignals::~QuitSignals()
{
    for (const int number : quitSignals) {
        if (std::signal(number, SIG_DFL) == SIG_IGN)
            std::signal(number, SIG_IGN);
    }
    cancelled = nullptr;
}

int QuitSignals::received() const
{
    return lastSignal;
}
