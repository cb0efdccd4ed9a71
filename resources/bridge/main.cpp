// The status line of Claude Code: notes the limits in Claude Code's input where the application
// reads them, then shows the status line that the user had before, or a line of its own.

#include "resources/bridge/IgnoredSignal.h"
#include "resources/bridge/InstalledNames.h"
#include "resources/bridge/PreviousStatusLine.h"
#include "resources/bridge/StandardInput.h"
#include "resources/bridge/StatusLineSnapshot.h"
#include "resources/bridge/SupportFolder.h"

#include <chrono>
#include <csignal>
#include <exception>

#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using StatusLineSnapshot::Json;

constexpr std::size_t mebibyte = 1024 * 1024; // bytes
constexpr std::size_t inputLimit = 16 * mebibyte; // what the previous status line gets of it
constexpr std::size_t parsedInputLimit = mebibyte;
constexpr std::size_t snapshotLimit = 4 * mebibyte;
constexpr std::size_t previousLimit = mebibyte;

// From the start of the process. A run shall be over within 2 s, whatever it meets.
constexpr auto inputDeadline = 1s;
constexpr auto lockDeadline = 1500ms;
constexpr auto passingDeadline = 2s;

double secondsSince1970()
{
    using namespace std::chrono;
    const auto now = floor<milliseconds>(system_clock::now().time_since_epoch());
    return duration<double>(now).count();
}

/// Merges `input` into the stored snapshot and gives the line that says what is left. Without the
/// lock, or when nothing can be written, the line still tells what the merge would have given.
std::string updateSnapshot(const SupportFolder& folder, const std::string& input,
                           MonotonicTime deadline)
{
    const auto session = StatusLineSnapshot::parse(input, parsedInputLimit);
    const bool isLocked = session && folder.lock(deadline);

    const std::string stored = folder.read(InstalledName::snapshot, snapshotLimit).value_or("");
    Json snapshot = StatusLineSnapshot::parse(stored, snapshotLimit).value_or(Json());
    const double now = secondsSince1970();
    // Disconnecting removes the installed bridge and the snapshot under the same lock. A bridge
    // still running then must not bring the snapshot back.
    if (session && StatusLineSnapshot::merge(snapshot, *session, now) && isLocked
        && folder.contains(InstalledName::bridge))
        folder.replace(InstalledName::snapshot, snapshot.dump() + '\n');
    return StatusLineSnapshot::statusLine(snapshot, now);
}

/// Gives the own line, or does not return.
std::string statusLine(MonotonicTime start)
{
    const Input input = readInput(STDIN_FILENO, start + inputDeadline, inputLimit);
    std::string line;
    std::optional<std::string> command;
    {
        const IgnoredSignal fileTooLarge(
            SIGXFSZ); // a limit that the user has set is a failed write
        const SupportFolder folder(SupportFolder::ofThisProgram());
        try {
            line = updateSnapshot(folder, input.bytes, start + lockDeadline);
        } catch (const std::exception&) {
            line = StatusLineSnapshot::statusLine({}, 0);
        }
        const auto saved = isWithinPrevious()
            ? std::nullopt
            : folder.read(InstalledName::previousStatusLine, previousLimit);
        if (saved)
            command = previousCommand(*saved, folder.path());
    }
    if (command)
        become(*command, input, start + passingDeadline);
    return line;
}

} // namespace

int main()
{
    const auto start = std::chrono::steady_clock::now();
    try {
        const std::string line = statusLine(start) + '\n';
        signal(SIGPIPE, SIG_IGN); // only now: the previous status line would inherit it
        // One attempt: nobody is helped by an error here.
        [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, line.data(), line.size());
    } catch (const std::exception&) {
        // Out of memory; a failing status line would be blanked, and so is one without text.
    }
    return 0;
}
