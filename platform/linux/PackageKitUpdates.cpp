#include "platform/linux/PackageKitUpdates.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QObject>
#include <QTimer>

#include <algorithm>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr auto busName = "org.freedesktop.PackageKit"_L1;
constexpr auto rootPath = "/org/freedesktop/PackageKit"_L1;
constexpr auto transactionInterface = "org.freedesktop.PackageKit.Transaction"_L1;
constexpr quint64 noFilter = 0;
constexpr quint64 installedFilter = 1U << 2;
constexpr uint successExit = 1;

} // namespace

namespace PackageKitTypes {

struct Package {
    uint info = 0;
    QString id; // "name;version;architecture;origin"
    QString summary;

    [[nodiscard]] QString name() const { return id.section(u';', 0, 0); }
    [[nodiscard]] QString version() const { return id.section(u';', 1, 1); }
};

QDBusArgument& operator<<(QDBusArgument& argument, const Package& package)
{
    argument.beginStructure();
    argument << package.info << package.id << package.summary;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Package& package)
{
    argument.beginStructure();
    argument >> package.info >> package.id >> package.summary;
    argument.endStructure();
    return argument;
}

/// One question to the service, answered by signals of an object of its own.
class Transaction final : public QObject {
    Q_OBJECT

public:
    using Answer = std::optional<QList<Package>>; // absent when it failed

    Transaction(const QDBusConnection& bus, QString method, QVariantList arguments,
                std::function<void(const Answer&)> done)
        : m_bus(bus)
        , m_method(std::move(method))
        , m_arguments(std::move(arguments))
        , m_done(std::move(done))
    {
        const QDBusMessage create
            = QDBusMessage::createMethodCall(busName, rootPath, busName, u"CreateTransaction"_s);
        whenAnswered(create, [this](const QDBusPendingCall& call) {
            start(QDBusPendingReply<QDBusObjectPath>(call).value().path());
        });
    }

public slots:
    // The service tells of packages one by one or many at a time, as its version has it.
    void package(uint info, const QString& id, const QString& summary)
    {
        m_packages.append({info, id, summary});
    }
    void packages(const QDBusMessage& signal)
    {
        if (signal.signature() == "a(uss)"_L1)
            m_packages += qdbus_cast<QList<Package>>(signal.arguments().constFirst());
    }
    void finished(uint exit, uint)
    {
        m_done(exit == successExit ? Answer(m_packages) : std::nullopt);
    }

private:
    void start(const QString& path)
    {
        const auto listen = [&](const QString& signal, const char* slot) {
            m_bus.connect(busName, path, transactionInterface, signal, this, slot);
        };
        listen(u"Package"_s, SLOT(package(uint, QString, QString)));
        listen(u"Packages"_s, SLOT(packages(QDBusMessage)));
        listen(u"Finished"_s, SLOT(finished(uint, uint)));

        const auto call = [&](const QString& method) {
            return QDBusMessage::createMethodCall(busName, path, transactionInterface, method);
        };
        QDBusMessage hints = call(u"SetHints"_s);
        hints << QStringList{u"supports-plural-signals=true"_s, u"background=false"_s};
        m_bus.send(hints);
        QDBusMessage question = call(m_method);
        question.setArguments(m_arguments);
        whenAnswered(question, [](const QDBusPendingCall&) {});
    }

    void whenAnswered(const QDBusMessage& message,
                      const std::function<void(const QDBusPendingCall&)>& next)
    {
        auto* answer = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
        connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, next] {
            answer->deleteLater();
            if (answer->isError())
                m_done(std::nullopt);
            else
                next(*answer);
        });
    }

    QDBusConnection m_bus;
    QString m_method;
    QVariantList m_arguments;
    std::function<void(const Answer&)> m_done;
    QList<Package> m_packages;
};

} // namespace PackageKitTypes

using PackageKitTypes::Package;
using PackageKitTypes::Transaction;
Q_DECLARE_METATYPE(PackageKitTypes::Package)

/// One check from its beginning to its end, which `finished` is told.
class PackageKitUpdates::Check : public QObject {
public:
    Check(const Options& options, std::function<void(const UpdateCheck&)> finished)
        : m_bus(options.bus())
        , m_finished(std::move(finished))
    {
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this, [this] { end({}); });
        m_timer.start(options.timeLimit);
        ask(u"SearchFiles"_s, {installedFilter, QStringList{options.program}},
            [this](const QList<Package>& owners) { findUpdate(owners); });
    }

private:
    void findUpdate(const QList<Package>& owners)
    {
        if (owners.isEmpty()) {
            end({UpdateCheck::Result::notFromPackage, {}});
            return;
        }
        ask(u"GetUpdates"_s, {noFilter},
            [this, name = owners.constFirst().name()](const QList<Package>& updates) {
                const auto update = std::ranges::find(updates, name, &Package::name);
                if (update == updates.cend())
                    end({UpdateCheck::Result::upToDate, {}});
                else
                    end({UpdateCheck::Result::available, update->version()});
            });
    }

    void ask(const QString& method, const QVariantList& arguments,
             std::function<void(const QList<Package>&)> next)
    {
        // Its answer comes from within a signal of its own: it must not be gone before that ends.
        auto* transaction
            = new Transaction(m_bus, method, arguments,
                              [this, next = std::move(next)](const Transaction::Answer& packages) {
                                  if (packages)
                                      next(*packages);
                                  else
                                      end({});
                              });
        transaction->setParent(this);
    }

    void end(const UpdateCheck& outcome)
    {
        // Later, for the same reason; and once only, whatever else the service has to say.
        if (auto finished = std::exchange(m_finished, nullptr))
            QTimer::singleShot(0, this,
                               [finished = std::move(finished), outcome] { finished(outcome); });
    }

    QDBusConnection m_bus;
    std::function<void(const UpdateCheck&)> m_finished;
    QTimer m_timer;
};

PackageKitUpdates::PackageKitUpdates(Options options)
    : m_options(std::move(options))
{
    qDBusRegisterMetaType<Package>();
    qDBusRegisterMetaType<QList<Package>>();
}

PackageKitUpdates::~PackageKitUpdates() = default;

bool PackageKitUpdates::canCheck() const
{
    const QDBusConnection bus = m_options.bus();
    if (!bus.isConnected())
        return false;
    return bus.interface()->isServiceRegistered(busName)
        || bus.interface()->activatableServiceNames().value().contains(busName);
}

void PackageKitUpdates::check(std::function<void(const UpdateCheck&)> done)
{
    m_waiting.push_back(std::move(done));
    if (!m_check)
        m_check = std::make_unique<Check>(m_options, [this](const UpdateCheck& outcome) {
            m_check.release()->deleteLater();
            finish(outcome);
        });
}

void PackageKitUpdates::finish(const UpdateCheck& outcome)
{
    for (const auto& done : std::exchange(m_waiting, {}))
        done(outcome);
}

#include "PackageKitUpdates.moc"
