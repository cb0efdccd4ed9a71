#include "platform/linux/TrayStatusItem.h"

#include "platform/linux/TrayPlace.h"

#include <QCoreApplication>
#include <QCursor>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QScreen>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr auto itemPath = "/StatusNotifierItem"_L1;
constexpr auto menuPath = "/MenuBar"_L1;
constexpr int nameTries = 8;

/// The desktop's list of items.
namespace List {
constexpr auto name = "org.kde.StatusNotifierWatcher"_L1;
constexpr auto path = "/StatusNotifierWatcher"_L1;
constexpr auto interface = "org.kde.StatusNotifierWatcher"_L1;
} // namespace List

/// A call of what already runs: nothing is started for it.
QDBusMessage listCall(const QString& interface, const QString& method,
                      const QVariantList& arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(List::name, List::path, interface, method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return call;
}

std::optional<QPoint> placeOnScreen(QPoint given)
{
    if (!panelsTellPlaces(QGuiApplication::platformName(),
                          QProcessEnvironment::systemEnvironment()))
        return std::nullopt;
    QList<TrayScreen> screens;
    for (const QScreen* screen : QGuiApplication::screens())
        screens.append({.geometry = screen->geometry(), .ratio = screen->devicePixelRatio()});
    return clickPlace(given, QCursor::pos(), screens);
}

} // namespace

TrayStatusItem::TrayStatusItem(const QString& id, const QDBusConnection& bus)
    : m_bus(bus)
    , m_watcher(List::name, bus, QDBusServiceWatcher::WatchForOwnerChange)
    , m_item(id, menuPath)
{
    forwardCallbacks();
    if (m_bus.isConnected())
        connectToBus();
    else
        m_oldTray.setEnabled(true);
}

TrayStatusItem::~TrayStatusItem()
{
    m_bus.unregisterObject(itemPath);
    m_bus.unregisterObject(menuPath);
    // The sign for panels that the item is gone.
    if (m_name.startsWith(u"org."))
        m_bus.unregisterService(m_name);
}

void TrayStatusItem::forwardCallbacks()
{
    m_item.onActivated = [this](QPoint place, const QString& focusToken) {
        if (onActivated)
            onActivated({.place = placeOnScreen(place), .focusToken = focusToken});
    };
    m_oldTray.onActivated = [this](std::optional<QPoint> place) {
        if (onActivated)
            onActivated({.place = place});
    };
    m_menu.onEntry = m_oldTray.onMenuEntry = [this](const QString& id) {
        if (onMenuEntry)
            onMenuEntry(id);
    };
    m_oldTray.onShownChanged = [this] { updateShown(); };
}

void TrayStatusItem::connectToBus()
{
    constexpr auto contents = QDBusConnection::ExportAllProperties | QDBusConnection::ExportAllSlots
        | QDBusConnection::ExportAllSignals;
    m_bus.registerObject(itemPath, &m_item, contents);
    m_bus.registerObject(menuPath, &m_menu, contents);
    claimName();

    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                if (owner.isEmpty())
                    setPanel(false);
                else
                    registerItem();
            });
    for (const QString& signal :
         {u"StatusNotifierHostRegistered"_s, u"StatusNotifierHostUnregistered"_s})
        m_bus.connect(List::name, List::path, List::interface, signal, this, SLOT(askForPanel()));
    registerItem();
}

/// A sandbox may forbid every name; the connection's own serves too.
void TrayStatusItem::claimName()
{
    const QString prefix
        = u"org.kde.StatusNotifierItem-%1-"_s.arg(QCoreApplication::applicationPid());
    for (int number = 1; number <= nameTries; ++number) {
        m_name = prefix + QString::number(number);
        if (m_bus.registerService(m_name))
            return;
    }
    m_name = m_bus.baseService();
}

void TrayStatusItem::registerItem()
{
    const QDBusPendingCall call
        = m_bus.asyncCall(listCall(List::interface, u"RegisterStatusNotifierItem"_s, {m_name}));
    auto* answer = new QDBusPendingCallWatcher(call, this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        if (answer->isError())
            setPanel(false);
        else
            askForPanel();
    });
}

/// The list of items may be there without anything that shows them.
void TrayStatusItem::askForPanel()
{
    const QDBusPendingCall call = m_bus.asyncCall(
        listCall(u"org.freedesktop.DBus.Properties"_s, u"Get"_s,
                 {QString(List::interface), u"IsStatusNotifierHostRegistered"_s}));
    auto* answer = new QDBusPendingCallWatcher(call, this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        setPanel(!reply.isError() && reply.value().variant().toBool());
    });
}

void TrayStatusItem::setPanel(bool hasPanel)
{
    m_hasPanel = hasPanel;
    m_oldTray.setEnabled(!hasPanel);
    updateShown();
}

void TrayStatusItem::updateShown()
{
    const bool isShownNow = m_hasPanel || m_oldTray.isShown();
    if (std::exchange(m_isShown, isShownNow) != isShownNow && onShownChanged)
        onShownChanged();
}

void TrayStatusItem::setImages(const QList<QImage>& images)
{
    m_item.setImages(images);
    m_oldTray.setImages(images);
}

void TrayStatusItem::setTitle(const QString& title)
{
    m_item.setTitle(title);
}

void TrayStatusItem::setToolTip(const QString& title, const QString& text)
{
    m_item.setToolTip(title, text);
    m_oldTray.setToolTip(text.isEmpty() ? title : title + u'\n' + text);
}

void TrayStatusItem::setMenu(const QList<StatusMenuEntry>& entries)
{
    m_menu.setEntries(entries);
    m_oldTray.setMenu(entries);
}
