#include "platform/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <thread>

using namespace std::chrono_literals;

namespace {

constexpr qsizetype readStep = 64 << 10;
constexpr auto exitCheckInterval = 2ms;
// For the kernel to take killed processes apart. Some inits are slow to take note of the dead,
// which look alive from here until then: not to be waited for.
constexpr auto killPatience = 20ms;

struct Pipe {
    Descriptor readEnd;
    Descriptor writeEnd;
};

std::optional<Pipe> makePipe()
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return std::nullopt;
    return Pipe{Descriptor(ends[0]), Descriptor(ends[1])};
}

void makeNonBlocking(const Descriptor& descriptor)
{
    ::fcntl(descriptor.value(), F_SETFL, ::fcntl(descriptor.value(), F_GETFL) | O_NONBLOCK);
}

} // namespace

ChildProcess::ChildProcess(const ProgramCommand& command, const Cancellation* cancellation)
    : m_cancellation(cancellation)
{
    // Writing to a child that is gone must be an error, not the end of us.
    [[maybe_unused]] static const auto ignored = std::signal(SIGPIPE, SIG_IGN);

    std::optional<Pipe> input = makePipe();
    std::optional<Pipe> output = makePipe();
    int error = errno;
    if (input && output) {
        const StartedProgram started
            = startProgram(command, StartedProgram::Ties::ownGroup, input->readEnd.value(),
                           output->writeEnd.value());
        m_leader = started.processId;
        error = started.error;
    }
    if (m_leader == 0) {
        m_startError = QString::fromLocal8Bit(std::strerror(error));
        return;
    }
    m_input = std::move(input->writeEnd);
    m_output = std::move(output->readEnd);
    makeNonBlocking(m_input);
    makeNonBlocking(m_output);
}

ChildProcess::~ChildProcess()
{
    end();
}

void ChildProcess::handInputOver()
{
    while (m_input.isOpen() && !m_unwritten.isEmpty()) {
        const ssize_t count
            = ::write(m_input.value(), m_unwritten.constData(), size_t(m_unwritten.size()));
        if (count > 0) {
            m_unwritten.remove(0, count);
        } else if (count < 0 && errno == EAGAIN) {
            return;
        } else if (count == 0 || errno != EINTR) {
            m_input.reset(); // the child has closed its end
        }
    }
    if (m_closesInput)
        m_input.reset();
}

ChildProcess::Event ChildProcess::wait(QByteArray& output, QDeadlineTimer deadline)
{
    while (m_output.isOpen()) {
        handInputOver();
        const bool hasInput = m_input.isOpen() && !m_unwritten.isEmpty();
        // `poll` passes over negative descriptors.
        std::array<pollfd, 3> waits{{
            {.fd = m_output.value(), .events = POLLIN, .revents = 0},
            {.fd = m_cancellation ? m_cancellation->descriptor() : -1,
             .events = POLLIN,
             .revents = 0},
            {.fd = hasInput ? m_input.value() : -1, .events = POLLOUT, .revents = 0},
        }};
        // A flood of output must not outrun the deadline.
        if (deadline.hasExpired())
            return Event::timeout;
        const int ready = ::poll(waits.data(), waits.size(),
                                 int(std::min<qint64>(deadline.remainingTime(), 60'000)));
        if (ready < 0 && errno != EINTR)
            return Event::timeout;
        if (ready <= 0)
            continue;
        if (waits[1].revents != 0)
            return Event::cancelled;
        if (waits[0].revents == 0)
            continue;

        const qsizetype before = output.size();
        output.resize(before + readStep);
        const ssize_t count = ::read(m_output.value(), output.data() + before, size_t(readStep));
        output.resize(before + std::max<ssize_t>(count, 0));
        if (count > 0)
            return Event::output;
        if (count == 0 || (errno != EAGAIN && errno != EINTR))
            m_output.reset();
    }
    return Event::endOfOutput;
}

bool ChildProcess::leaderHasExited() const
{
    // Without reaping it: its number stays ours until the whole group is gone.
    siginfo_t info{};
    return ::waitid(P_PID, id_t(m_leader), &info, WEXITED | WNOHANG | WNOWAIT) != 0
        || info.si_pid == m_leader;
}

/// Waits until the leader has gone and drops what the group still says. False when time is up.
bool ChildProcess::leavesBefore(QDeadlineTimer deadline)
{
    const Cancellation* cancellation = std::exchange(m_cancellation, nullptr);
    QByteArray dropped;
    while (wait(dropped, deadline) == Event::output && !leaderHasExited())
        dropped.clear();
    m_cancellation = cancellation;
    while (!leaderHasExited()) {
        if (deadline.hasExpired())
            return false;
        std::this_thread::sleep_for(exitCheckInterval);
    }
    return true;
}

void ChildProcess::end(std::chrono::milliseconds patience)
{
    if (m_leader == 0)
        return;
    m_unwritten.clear();
    m_input.reset();
    if (patience == 0ms || !leavesBefore(QDeadlineTimer(patience))) {
        ::kill(-m_leader, SIGTERM);
        leavesBefore(QDeadlineTimer(terminationPatience));
    }
    // The leader may have left others behind, with our pipe in their hands.
    ::kill(-m_leader, SIGKILL);
    m_output.reset();
    reap();
}

void ChildProcess::reap()
{
    while (::waitpid(m_leader, nullptr, 0) < 0 && errno == EINTR) { }
    // The others are init's to reap: gone is gone for us, but the caller is promised an empty
    // group.
    const QDeadlineTimer deadline(killPatience);
    while (::kill(-m_leader, 0) == 0 && !deadline.hasExpired())
        std::this_thread::sleep_for(exitCheckInterval);
    m_leader = 0;
}
