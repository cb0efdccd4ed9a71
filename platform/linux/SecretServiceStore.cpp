#include "platform/linux/SecretServiceStore.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace SecretService {

using Attributes = QMap<QString, QString>;
using Paths = QList<QDBusObjectPath>;

/// One secret as it goes over the bus.
struct Secret {
    QDBusObjectPath session;
    QByteArray parameters; // of the encryption, of which a plain session has none
    QByteArray value;
    QString contentType;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Secret& secret)
{
    argument.beginStructure();
    argument << secret.session << secret.parameters << secret.value << secret.contentType;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Secret& secret)
{
    argument.beginStructure();
    argument >> secret.session >> secret.parameters >> secret.value >> secret.contentType;
    argument.endStructure();
    return argument;
}

} // namespace SecretService

namespace {

using namespace SecretService;

constexpr auto busName = "org.freedesktop.secrets"_L1;
constexpr auto rootPath = "/org/freedesktop/secrets"_L1;
constexpr auto noObject = "/"_L1; // the service's way to say "none"

namespace Interface {
constexpr auto service = "org.freedesktop.Secret.Service"_L1;
constexpr auto collection = "org.freedesktop.Secret.Collection"_L1;
constexpr auto item = "org.freedesktop.Secret.Item"_L1;
constexpr auto prompt = "org.freedesktop.Secret.Prompt"_L1;
constexpr auto session = "org.freedesktop.Secret.Session"_L1;
} // namespace Interface

namespace Property {
constexpr auto collectionLabel = "org.freedesktop.Secret.Collection.Label"_L1;
constexpr auto itemLabel = "org.freedesktop.Secret.Item.Label"_L1;
constexpr auto itemAttributes = "org.freedesktop.Secret.Item.Attributes"_L1;
} // namespace Property

/// The items at one address.
struct FoundItems {
    Paths unlocked;
    Paths locked;
};

/// Waits in its own thread for the answer to one prompt.
class PromptAnswer final : public QObject {
    Q_OBJECT

public:
    /// The prompt's result. Absent when the user refused or nothing came within `limit`.
    std::optional<QVariant> wait(std::chrono::milliseconds limit)
    {
        QTimer::singleShot(limit, &m_loop, &QEventLoop::quit);
        m_loop.exec();
        return m_result;
    }

public slots:
    void completed(bool dismissed, const QDBusVariant& result)
    {
        if (!dismissed)
            m_result = result.variant();
        m_loop.quit();
    }

    void giveUp() { m_loop.quit(); }

private:
    QEventLoop m_loop;
    std::optional<QVariant> m_result;
};

/// The service's methods, for the length of one operation and in one thread.
class Client {
public:
    Client(const QDBusConnection& bus, std::chrono::milliseconds callLimit,
           std::chrono::milliseconds promptLimit)
        : m_bus(bus)
        , m_callLimit(callLimit)
        , m_promptLimit(promptLimit)
    {
    }

    /// The session is asked for anew by each operation: it would not outlive the service.
    ~Client()
    {
        if (m_session.isEmpty())
            return;
        QDBusMessage close = message(m_session, Interface::session, u"Close"_s, {});
        close.setAutoStartService(false);
        m_bus.call(close, QDBus::NoBlock);
    }

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    [[nodiscard]] std::optional<FoundItems> search(const Attributes& attributes) const
    {
        const auto answer = call(rootPath, Interface::service, u"SearchItems"_s,
                                 {QVariant::fromValue(attributes)}, "aoao"_L1);
        if (!answer)
            return std::nullopt;
        return FoundItems{
            .unlocked = qdbus_cast<Paths>(answer->at(0)),
            .locked = qdbus_cast<Paths>(answer->at(1)),
        };
    }

    /// What the first of the unlocked `items` keeps.
    std::optional<QByteArray> read(const Paths& items)
    {
        if (items.isEmpty() || !openSession())
            return std::nullopt;
        const auto answer = call(rootPath, Interface::service, u"GetSecrets"_s,
                                 {QVariant::fromValue(items), sessionPath()}, "a{o(oayays)}"_L1);
        if (!answer)
            return std::nullopt;
        const auto secrets = qdbus_cast<QMap<QDBusObjectPath, Secret>>(answer->first());
        if (secrets.isEmpty())
            return std::nullopt;
        return secrets.first().value;
    }

    /// The new item in `collection`, or nothing.
    std::optional<QString> create(const QString& collection, const Attributes& attributes,
                                  const QString& label, const QByteArray& value)
    {
        if (!openSession())
            return std::nullopt;
        const QVariantMap properties{
            {Property::itemLabel, label},
            {Property::itemAttributes, QVariant::fromValue(attributes)},
        };
        const Secret secret{
            .session = QDBusObjectPath(m_session),
            .value = value,
            .contentType = u"text/plain"_s,
        };
        return created(call(collection, Interface::collection, u"CreateItem"_s,
                            {properties, QVariant::fromValue(secret), true}, "oo"_L1));
    }

    bool remove(const Paths& items) const
    {
        return std::ranges::all_of(items, [this](const QDBusObjectPath& item) {
            const auto answer = call(item.path(), Interface::item, u"Delete"_s, {}, "o"_L1);
            return answer && ask(path(answer->first()));
        });
    }

    /// Asks the user, but only if one of `objects` is locked. False when that is refused.
    bool unlock(const Paths& objects) const
    {
        if (objects.isEmpty())
            return true;
        const auto answer = call(rootPath, Interface::service, u"Unlock"_s,
                                 {QVariant::fromValue(objects)}, "aoo"_L1);
        return answer && ask(path(answer->last()));
    }

    /// The collection for new secrets, unlocked, and made when a fresh account has none yet.
    std::optional<QString> openDefaultCollection() const
    {
        const auto answer
            = call(rootPath, Interface::service, u"ReadAlias"_s, {u"default"_s}, "o"_L1);
        if (!answer)
            return std::nullopt;
        const QString collection = path(answer->first());
        if (collection == noObject) {
            const QVariantMap properties{
                {Property::collectionLabel,
                 QCoreApplication::translate("SecretServiceStore", "Default keyring")},
            };
            return created(call(rootPath, Interface::service, u"CreateCollection"_s,
                                {properties, u"default"_s}, "oo"_L1));
        }
        if (!unlock({QDBusObjectPath(collection)}))
            return std::nullopt;
        return collection;
    }

private:
    static QString path(const QVariant& object) { return object.value<QDBusObjectPath>().path(); }

    [[nodiscard]] QVariant sessionPath() const
    {
        return QVariant::fromValue(QDBusObjectPath(m_session));
    }

    static QDBusMessage message(const QString& object, const QString& interface,
                                const QString& method, const QVariantList& arguments)
    {
        QDBusMessage call = QDBusMessage::createMethodCall(busName, object, interface, method);
        call.setArguments(arguments);
        return call;
    }

    /// The answer's arguments. Absent after an error, without an answer in time, and when they are
    /// not of `signature`.
    [[nodiscard]] std::optional<QVariantList> call(const QString& object, const QString& interface,
                                                   const QString& method,
                                                   const QVariantList& arguments,
                                                   QLatin1StringView signature) const
    {
        const QDBusMessage answer = m_bus.call(message(object, interface, method, arguments),
                                               QDBus::Block, static_cast<int>(m_callLimit.count()));
        if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != signature)
            return std::nullopt;
        return answer.arguments();
    }

    bool openSession()
    {
        const auto answer
            = call(rootPath, Interface::service, u"OpenSession"_s,
                   {u"plain"_s, QVariant::fromValue(QDBusVariant(QString()))}, "vo"_L1);
        if (answer)
            m_session = path(answer->last());
        return answer.has_value();
    }

    /// The object that a call made, whose answer is either that or a prompt that leads to it.
    [[nodiscard]] std::optional<QString> created(const std::optional<QVariantList>& answer) const
    {
        if (!answer)
            return std::nullopt;
        if (const QString object = path(answer->first()); object != noObject)
            return object;
        const std::optional<QVariant> result = ask(path(answer->last()));
        if (!result)
            return std::nullopt;
        const QString object = path(*result);
        return object.isEmpty() || object == noObject ? std::nullopt : std::optional(object);
    }

    /// Has the service show its `prompt`, if there is one, and waits for the user.
    ///
    /// A prompt that nobody answers is left alone: GNOME Keyring 42 aborts when told to dismiss it.
    [[nodiscard]] std::optional<QVariant> ask(const QString& prompt) const
    {
        if (prompt == noObject)
            return QVariant();
        PromptAnswer answer;
        const QDBusServiceWatcher watcher(busName, m_bus, QDBusServiceWatcher::WatchForOwnerChange);
        QObject::connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, &answer,
                         &PromptAnswer::giveUp);
        QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &answer,
                         &PromptAnswer::giveUp);
        QDBusConnection bus = m_bus;
        if (!bus.connect(busName, prompt, Interface::prompt, u"Completed"_s, &answer,
                         SLOT(completed(bool, QDBusVariant)))
            || !call(prompt, Interface::prompt, u"Prompt"_s, {QString()}, ""_L1))
            return std::nullopt;
        return answer.wait(m_promptLimit);
    }

    QDBusConnection m_bus;
    std::chrono::milliseconds m_callLimit;
    std::chrono::milliseconds m_promptLimit;
    QString m_session;
};

Attributes address(const QString& service, const QString& account)
{
    return {{u"service"_s, service}, {u"account"_s, account}};
}

} // namespace

SecretServiceStore::SecretServiceStore(QDBusConnection bus, std::chrono::milliseconds callLimit,
                                       std::chrono::milliseconds promptLimit)
    : m_bus(std::move(bus))
    , m_callLimit(callLimit)
    , m_promptLimit(promptLimit)
{
    qDBusRegisterMetaType<Attributes>();
    qDBusRegisterMetaType<Secret>();
}

SecretReading SecretServiceStore::read(const QString& service, const QString& account) const
{
    Client client(m_bus, m_callLimit, m_promptLimit);
    const std::optional<FoundItems> found = client.search(address(service, account));
    if (!found)
        return {.obstacle = SecretObstacle::unreachable};
    if (found->unlocked.isEmpty())
        return {.obstacle
                = found->locked.isEmpty() ? SecretObstacle::none : SecretObstacle::locked};
    const std::optional<QByteArray> secret = client.read(found->unlocked);
    return {.secret = secret,
            .obstacle = secret ? SecretObstacle::none : SecretObstacle::unreachable};
}

bool SecretServiceStore::setSecret(const QString& service, const QString& account,
                                   const QString& label, const QByteArray& secret)
{
    const Attributes attributes = address(service, account);
    Client client(m_bus, m_callLimit, m_promptLimit);
    std::optional<FoundItems> found = client.search(attributes);
    if (!found || !client.unlock(found->locked))
        return false;
    const std::optional<QString> collection = client.openDefaultCollection();
    if (!collection)
        return false;
    const std::optional<QString> item = client.create(*collection, attributes, label, secret);
    if (!item)
        return false;

    // The service replaces within one collection. What an earlier default collection or another
    // program has at this address would still be found, and read in place of the new secret.
    found = client.search(attributes);
    return found && found->unlocked.removeAll(QDBusObjectPath(*item)) > 0
        && client.remove(found->unlocked);
}

bool SecretServiceStore::removeSecret(const QString& service, const QString& account)
{
    const Client client(m_bus, m_callLimit, m_promptLimit);
    const std::optional<FoundItems> found = client.search(address(service, account));
    return found && client.unlock(found->locked) && client.remove(found->unlocked + found->locked);
}

#include "SecretServiceStore.moc"
