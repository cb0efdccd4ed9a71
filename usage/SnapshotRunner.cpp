#include "usage/SnapshotRunner.h"

#include "platform/ChildProcess.h"
#include "usage/KeychainStore.h"
#include "usage/ProviderRegistry.h"
#include "usage/SnapshotFiles.h"

#include <QCoreApplication>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

class Texts {
    Q_DECLARE_TR_FUNCTIONS(SnapshotRunner)
};

/// Whether the script knows of a login besides the key in the keyring.
bool hasOtherLogin(const QString& providerId)
{
    return providerId == "copilot"_L1;
}

} // namespace

bool SnapshotRunner::isAvailable() const
{
    return QFileInfo(script).isFile();
}

std::optional<QByteArray> SnapshotRunner::run(const QString& providerId,
                                              const std::optional<QString>& key,
                                              const Cancellation* cancellation) const
{
    QStringList arguments{script, providerId};
    if (key)
        arguments.append(u"--key-stdin"_s);
    const QDeadlineTimer deadline(timeout);
    ChildProcess child({.program = interpreter, .arguments = arguments}, cancellation);
    if (!child.isRunning())
        return std::nullopt;
    if (key)
        child.write(key->toUtf8() + '\n');
    child.closeInput();

    QByteArray output;
    ChildProcess::Event event{};
    do {
        event = child.wait(output, deadline);
    } while (event == ChildProcess::Event::output && output.size() <= largestOutput);
    const bool isWhole = event == ChildProcess::Event::endOfOutput;
    // One that has closed its output has nothing left to do but go.
    child.end(isWhole ? ChildProcess::terminationPatience : std::chrono::milliseconds(0));
    return isWhole ? std::optional(output) : std::nullopt;
}

std::optional<ServiceUsage> providerUsage(const SnapshotRunner& runner,
                                          const KeychainStore& keychain,
                                          const QString& supportDirectory,
                                          const ProviderDefinition& provider,
                                          const Cancellation* cancellation)
{
    SecretObstacle obstacle{};
    const std::optional<QString> key = keychain.key(provider.id, &obstacle);
    if (obstacle == SecretObstacle::locked
        || (obstacle == SecretObstacle::unreachable && !hasOtherLogin(provider.id))) {
        ServiceUsage saved = savedSnapshotUsage(supportDirectory, provider);
        saved.error = obstacle == SecretObstacle::locked
            ? Texts::tr("Your keyring is locked")
            : Texts::tr("Your keyring cannot be reached");
        return saved;
    }
    const std::optional<QByteArray> output = runner.run(provider.id, key, cancellation);
    return output ? std::optional(snapshotRunUsage(supportDirectory, provider, *output))
                  : std::nullopt;
}

ServiceUsage snapshotRunUsage(const QString& supportDirectory, const ProviderDefinition& provider,
                              const QByteArray& output)
{
    const ServiceUsage fresh = snapshotUsage(provider.id, provider.name, output);
    return fresh.windows.isEmpty() ? savedSnapshotUsage(supportDirectory, provider) : fresh;
}
