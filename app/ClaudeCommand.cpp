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

/// For a card that may not be shown, or not be gone, after the next start.
QString unsavedText()
{
    return Texts::tr("Vexlo's own preferences could not be written.");
}

} // namespace

ClaudeOutcome connectClaude(ClaudeSetup& setup, ProviderRegistry& registry)
{
    try {
        QString message = setup.connect();
        if (!registry.setEnabled(claudeId, true))
            message += u' ' + unsavedText();
        return {true, Texts::tr("Claude Code connected"), message};
    } catch (const ClaudeSetup::Failure& failure) {
        return {false, Texts::tr("Connection failed"), failure.text()};
    }
}

ClaudeOutcome disconnectClaude(ClaudeSetup& setup, ProviderRegistry& registry)
{
    try {
        QString message = setup.disconnect();
        if (!registry.removeSwitch(claudeId))
            message += u' ' + unsavedText();
        return {true, Texts::tr("Claude Code disconnected"), message};
    } catch (const ClaudeSetup::Failure& failure) {
        return {false, Texts::tr("Disconnect failed"), failure.text()};
    }
}
