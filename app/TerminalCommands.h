#pragma once

#include "app/CommandLine.h"
#include "platform/ApplicationPaths.h"

class ClaudeSetup;
class KeychainStore;
class PreferenceStore;
class ProviderRegistry;

/// What the commands that print and end work with.
struct TerminalSession {
    CommandLine line;
    ApplicationPaths paths;
    PreferenceStore& preferences;
    ProviderRegistry& registry;
    KeychainStore& keychain;
};

/// Prints `text` to standard output, or to standard error.
void printOut(const QString& text);
void printError(const QString& text);

/// `--status`: prints what is known. Gives its exit code.
[[nodiscard]] int runStatus(TerminalSession& session);

/// Started without a display: the status, or for a newcomer what it will look like and how to
/// connect, as an advice to copy for the program called `program`. Gives 0, or what a signal makes.
[[nodiscard]] int runWithoutDisplay(TerminalSession& session, const QString& program);

/// `--connect-claude` and `--disconnect-claude`. Gives 0 or 1.
[[nodiscard]] int runClaude(TerminalSession& session, ClaudeSetup& setup);
