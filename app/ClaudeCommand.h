#pragma once

#include <QString>

class ClaudeSetup;
class ProviderRegistry;

/// What came of connecting or disconnecting Claude Code, as the user is told.
struct ClaudeOutcome {
    bool succeeded = false;
    QString title;
    QString message;
};

/// Connects Claude Code and switches its card on.
[[nodiscard]] ClaudeOutcome connectClaude(ClaudeSetup& setup, ProviderRegistry& registry);

/// Disconnects Claude Code and leaves its card to the default rule.
[[nodiscard]] ClaudeOutcome disconnectClaude(ClaudeSetup& setup, ProviderRegistry& registry);
