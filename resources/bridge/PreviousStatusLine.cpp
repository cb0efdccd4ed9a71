#include "resources/bridge/PreviousStatusLine.h"

#include "resources/bridge/IgnoredSignal.h"
#include "resources/bridge/InstalledNames.h"
#include "resources/bridge/OwnedDescriptor.h"
#include "resources/bridge/StatusLineSnapshot.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr auto markName = "VEXLO_STATUS_LINE"; // the process that runs the previous status line

constexpr auto programNames = {InstalledName::bridge, InstalledName::olderBridge};

/// `text` without what a shell quotes with.
std::string unquoted(std::string_view text)
{
    std::string plain;
    for (const char character : text) {
        if (character != '\'' && character != '"' && character != '\\')
            plain += character;
    }
    return plain;
}

/// Whether `command` names one of our programs. The folder's own name has to do for its path, which
/// may be written "~/…" or lead through a link.
bool namesBridge(std::string_view command, const std::string& supportFolder)
{
    const std::string folder = supportFolder.substr(supportFolder.rfind('/') + 1);
    const std::string plain = unquoted(command);
    for (const std::string program : programNames) {
        if (plain.find(unquoted(folder + '/' + program)) != std::string::npos)
            return true;
    }
    return false;
}

/// A file without a name that holds `bytes` and is read from its start. Negative on failure.
int anonymousFile(std::string_view bytes)
{
    const IgnoredSignal fileTooLarge(SIGXFSZ); // a limit that the user has set is a failed write
    int file = memfd_create("status-line-input", 0);
    if (file < 0) {
        char name[] = "/tmp/vexlo-input-XXXXXX";
        file = mkstemp(name);
        if (file >= 0)
            unlink(name);
    }
    if (file >= 0 && writeAll(file, bytes) && lseek(file, 0, SEEK_SET) == 0)
        return file;
    if (file >= 0)
        close(file);
    return -1;
}

/// Hands `input` and what follows it over to a pipe, from a process of its own that nobody has to
/// wait for. Gives the pipe's other end, negative on failure.
int fedPipe(const Input& input, std::chrono::steady_clock::time_point deadline)
{
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        if (fork() != 0)
            _exit(0);
        close(ends[0]);
        close(STDOUT_FILENO); // whoever reads our output waits for its end
        signal(SIGPIPE, SIG_DFL);
        Input next = input;
        while (writeAll(ends[1], next.bytes) && !next.hasEnded
               && std::chrono::steady_clock::now() < deadline)
            next = readInput(STDIN_FILENO, deadline, 1);
        _exit(0);
    }
    close(ends[1]);
    if (child > 0 && waitpid(child, nullptr, 0) == child)
        return ends[0];
    close(ends[0]);
    return -1;
}

/// The process that the mark names, which became the previous status line.
pid_t markedProcess()
{
    const char* mark = std::getenv(markName);
    pid_t process = 0;
    if (mark)
        std::from_chars(mark, mark + std::strlen(mark), process);
    return process;
}

} // namespace

std::optional<std::string> previousCommand(std::string_view saved, const std::string& supportFolder)
{
    const auto statusLine = StatusLineSnapshot::parse(saved, saved.size());
    if (!statusLine || statusLine->value("type", StatusLineSnapshot::Json()) != "command")
        return std::nullopt;
    const auto command = statusLine->find("command");
    if (command == statusLine->end() || !command->is_string())
        return std::nullopt;
    const auto& text = command->get_ref<const std::string&>();
    // A command line ends at a zero byte, which would leave another command than the saved one.
    if (text.empty() || text.find('\0') != std::string::npos || namesBridge(text, supportFolder))
        return std::nullopt;
    return text;
}

bool isWithinPrevious()
{
    // The variable may live on in what a status line once started.
    const pid_t process = markedProcess();
    return process > 0 && (kill(process, 0) == 0 || errno == EPERM);
}

void become(const std::string& command, const Input& input,
            std::chrono::steady_clock::time_point deadline)
{
    int file = input.hasEnded ? anonymousFile(input.bytes) : -1;
    if (file < 0)
        file = fedPipe(input, deadline);
    if (file < 0)
        return;
    if (file != STDIN_FILENO) {
        const bool isInput = dup2(file, STDIN_FILENO) == STDIN_FILENO;
        close(file);
        if (!isInput)
            return;
    }
    setenv(markName, std::to_string(getpid()).c_str(), 1);
    execl("/bin/sh", "/bin/sh", "-c", command.c_str(), nullptr);
}
