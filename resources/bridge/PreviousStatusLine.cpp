#include "resources/bridge/PreviousStatusLine.h"

#include "resources/bridge/OwnedDescriptor.h"
#include "resources/bridge/InstalledNames.h"
#include "resources/bridge/StatusLineSnapshot.h"

#include <cstdlib>

#include <sys/mman.h>

namespace {

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

void become(const std::string& command, std::string_view input)
{
    const int file = anonymousFile(input);
    if (file < 0)
        return;
    if (file != STDIN_FILENO) {
        const bool isInput = dup2(file, STDIN_FILENO) == STDIN_FILENO;
        close(file);
        if (!isInput)
            return;
    }
    execl("/bin/sh", "/bin/sh", "-c", command.c_str(), nullptr);
}
