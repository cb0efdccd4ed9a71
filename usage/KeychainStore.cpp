#include "usage/KeychainStore.h"

#include "usage/ProviderRegistry.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

const QString account = u"vexlo"_s;

QString service(const QString& providerId)
{
    return "vexlo."_L1 + providerId;
}

} // namespace

std::optional<QString> KeychainStore::key(const QString& providerId, SecretObstacle* obstacle) const
{
    const SecretReading reading = m_secrets.read(service(providerId), account);
    if (obstacle)
        *obstacle = reading.obstacle;
    const QString key = QString::fromUtf8(reading.secret.value_or(QByteArray())).trimmed();
    return key.isEmpty() ? std::nullopt : std::optional(key);
}

bool KeychainStore::setKey(const QString& key, const QString& providerId)
{
    const QString trimmed = key.trimmed();
    if (trimmed.isEmpty())
        return false;
    const auto provider = ProviderRegistry::definition(providerId);
    const QString label = QCoreApplication::translate("KeychainStore", "Vexlo: key for %1")
                              .arg(provider ? provider->name : providerId);
    return m_secrets.setSecret(service(providerId), account, label, trimmed.toUtf8());
}

bool KeychainStore::removeKey(const QString& providerId)
{
    return m_secrets.removeSecret(service(providerId), account);
}
