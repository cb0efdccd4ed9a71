#include "platform/linux/BusInstance.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

constexpr auto interfaceName = "dev.gridwell.Vexlo"_L1;
constexpr auto objectPath = "/dev/gridwell/Vexlo"_L1;
constexpr int answerPatience = 5000; // ms

class VexloAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "dev.gridwell.Vexlo")

public:
    VexloAdaptor(QObject* parent, InstanceActions actions)
        : QDBusAbstractAdaptor(parent)
        , m_actions(std::move(actions))
    {
    }

public slots:
    void Toggle() { m_actions.toggle(); }
    void Show(const QString& tab) { m_actions.showTab(tab); }
    void Settings(const QString& pane) { m_actions.settings(pane); }
    bool AddTask(const QString& text) { return m_actions.addTask(text); }
    void Refresh() { m_actions.refresh(); }
    void Quit() { m_actions.quit(); }

private:
    InstanceActions m_actions;
};

/// What desktops call on a program that is started from their menus.
class ApplicationAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ApplicationAdaptor(QObject* parent, InstanceActions actions)
        : QDBusAbstractAdaptor(parent)
        , m_actions(std::move(actions))
    {
    }

public slots:
    void Activate(const QVariantMap&) { m_actions.show(); }
    void Open(const QStringList&, const QVariantMap&) { m_actions.show(); }
    void ActivateAction(const QString& name, const QVariantList&, const QVariantMap&)
    {
        if (name == "refresh"_L1)
            m_actions.refresh();
        else if (name == "settings"_L1)
            m_actions.settings({});
    }

private:
    InstanceActions m_actions;
};

QString methodName(RunningInstance::Request request)
{
    switch (request) {
    case RunningInstance::Request::toggle:
        return u"Toggle"_s;
    case RunningInstance::Request::quit:
        return u"Quit"_s;
    case RunningInstance::Request::settings:
        return u"Settings"_s;
    case RunningInstance::Request::addTask:
        break;
    }
    return u"AddTask"_s;
}

} // namespace

BusInstance::BusInstance(bool demo, const QDBusConnection& bus)
    : m_name(demo ? u"dev.gridwell.Vexlo.Demo"_s : u"dev.gridwell.Vexlo"_s)
    , m_bus(bus)
{
}

BusInstance::~BusInstance()
{
    if (m_object)
        m_bus.unregisterService(m_name);
}

RunningInstance::Claim BusInstance::claim(const InstanceActions& actions)
{
    if (!m_bus.isConnected())
        return Claim::impossible;
    // The object first: whoever sees the name may call at once.
    auto object = std::make_unique<QObject>();
    new VexloAdaptor(object.get(), actions);
    new ApplicationAdaptor(object.get(), actions);
    m_bus.registerObject(objectPath, object.get(), QDBusConnection::ExportAdaptors);
    if (!m_bus.registerService(m_name))
        return Claim::taken;
    m_object = std::move(object);
    return Claim::first;
}

std::optional<bool> BusInstance::send(Request request, const QString& argument)
{
    if (!m_bus.isConnected() || !m_bus.interface()->isServiceRegistered(m_name))
        return std::nullopt;
    QDBusMessage call
        = QDBusMessage::createMethodCall(m_name, objectPath, interfaceName, methodName(request));
    call.setAutoStartService(false);
    if (request == Request::settings || request == Request::addTask)
        call << argument;
    // A message that is only sent may be lost when we end before it has left.
    const QDBusMessage answer = m_bus.call(call, QDBus::Block, answerPatience);
    if (answer.type() == QDBusMessage::ReplyMessage)
        return answer.arguments().value(0, true).toBool();
    // One that quits may be gone before its answer is.
    if (request == Request::quit && !m_bus.interface()->isServiceRegistered(m_name))
        return true;
    return std::nullopt;
}

#include "BusInstance.moc"
