#include "app/LoginCommand.h"

#include "app/TerminalCommands.h"
#include "platform/LoginItem.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

class Texts {
    Q_DECLARE_TR_FUNCTIONS(LoginCommand)
};

LoginOutcome failure(const QString& description)
{
    return {false, Texts::tr("Launch at Login failed: %1").arg(description)};
}

} // namespace

LoginOutcome enableLogin(LoginItem& item)
{
    if (const std::optional<QString> error = item.enable())
        return failure(*error);
    const bool isEnabled = item.status() == LoginItem::Status::enabled;
    return {true,
            isEnabled ? Texts::tr("Launch at Login: enabled")
                      : Texts::tr("Launch at Login: pending approval")};
}

LoginOutcome disableLogin(LoginItem& item)
{
    if (const std::optional<QString> error = item.disable())
        return failure(*error);
    return {true, Texts::tr("Launch at Login: disabled")};
}

int runLogin(LoginItem& item, bool enables)
{
    const LoginOutcome outcome = enables ? enableLogin(item) : disableLogin(item);
    if (outcome.succeeded)
        printOut(outcome.text + u'\n');
    else
        printError(outcome.text + u'\n');
    return outcome.succeeded ? 0 : 1;
}
