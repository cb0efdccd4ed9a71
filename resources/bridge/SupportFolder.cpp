#include "resources/bridge/SupportFolder.h"

#include "resources/bridge/CallInterrupter.h"
#include "resources/bridge/OwnedDescriptor.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Nobody else has it open: it is made and renamed under the lock alone.
constexpr auto temporaryName = ".claude-usage.tmp";

/// Holds back the signals that Claude Code cancels a run with. They end the process afterwards.
class EndingSignalsHeld {
public:
    EndingSignalsHeld()
    {
        sigset_t ending;
        sigemptyset(&ending);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP})
            sigaddset(&ending, signal);
        sigprocmask(SIG_BLOCK, &ending, &m_before);
    }
    ~EndingSignalsHeld() { sigprocmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before;
};

} // namespace

std::string SupportFolder::ofThisProgram()
{
    std::array<char, PATH_MAX> program;
    const ssize_t size = readlink("/proc/self/exe", program.data(), program.size());
    if (size <= 0)
        return {};
    // A replaced program reads "… (deleted)", which is part of the file's name, not the folder's.
    const std::string_view path(program.data(), static_cast<std::size_t>(size));
    return std::string(path.substr(0, path.rfind('/')));
}

SupportFolder::SupportFolder(std::string path)
    : m_path(std::move(path))
    , m_descriptor(open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
}

SupportFolder::~SupportFolder()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

bool SupportFolder::lock(MonotonicTime deadline) const
{
    if (flock(m_descriptor, LOCK_EX | LOCK_NB) == 0)
        return true;
    if (errno != EWOULDBLOCK)
        return false;
    // Waiting in the kernel gets the lock in turn; a loop of attempts would leave it to chance.
    const CallInterrupter interrupter(deadline);
    while (interrupter.isArmed() && std::chrono::steady_clock::now() < deadline) {
        if (flock(m_descriptor, LOCK_EX) == 0)
            return true;
        if (errno != EINTR)
            return false;
    }
    return false;
}

bool SupportFolder::contains(const char* name) const
{
    struct stat status;
    return fstatat(m_descriptor, name, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

std::optional<std::string> SupportFolder::read(const char* name, std::size_t byteLimit) const
{
    // A pipe without a writer would block here, and a terminal would become ours.
    const OwnedDescriptor file(openat(m_descriptor, name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status;
    if (fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)
        || static_cast<std::size_t>(status.st_size) > byteLimit)
        return std::nullopt;
    std::string contents(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t done = 0;
    while (done < contents.size()) {
        const ssize_t count = ::read(file.number(), contents.data() + done, contents.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    contents.resize(done);
    return contents;
}

bool SupportFolder::replace(const char* name, std::string_view contents) const
{
    const EndingSignalsHeld held;
    unlinkat(m_descriptor, temporaryName, 0); // left by a bridge that was killed
    OwnedDescriptor file(openat(m_descriptor, temporaryName,
                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file.number() < 0)
        return false;
    if (writeAll(file.number(), contents) && file.close()
        && renameat(m_descriptor, temporaryName, m_descriptor, name) == 0)
        return true;
    unlinkat(m_descriptor, temporaryName, 0);
    return false;
}
