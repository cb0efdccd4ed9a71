#include "app/ClaudeCommand.h"

#include "usage/ClaudeSetup.h"
#include "usage/ProviderRegistry.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

class Texts {
    Q_DECLARE_TR_FUNCTIONS(ClaudeCommand)
};

const QString claudeId = u"claude"_s;

} // namespace

ClaudeOutcome connectClaude(ClaudeSetup& setup, ProviderRegistry& registry)
{
    try {
        const QString message = setup.connect();
        registry.setEnabled(claudeId, true);
        return {true, Texts::tr("Claude Code connected"), message};
    } catch (const ClaudeSetup::Failure& failure) {
        return {false, Texts::tr("Connection failed"), failure.text()};
    }
}

ClaudeOutcome disconnectClaude(ClaudeSetup& setup, ProviderRegistry& registry)
{
    try {
        const QString message = setup.disconnect();
        registry.removeSwitch(claudeId);
        return {true, Texts::tr("Claude Code disconnected"), message};
    } catch (const ClaudeSetup::Failure& failure) {
        return {false, Texts::tr("Disconnect failed"), failure.text()};
    }
}
