#include "platform/linux/DesktopNotifier.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr auto busName = "org.freedesktop.Notifications"_L1;
constexpr auto objectPath = "/org/freedesktop/Notifications"_L1;
constexpr auto clickAction = "default"_L1; // what a click anywhere on the notice does
constexpr int daemonsOwnTime = -1; // how long it is shown
constexpr uchar normalUrgency = 1;

} // namespace

namespace DesktopNotifierTypes {

/// A picture as the daemon takes it: 8 bits each of red, green, blue and alpha, not premultiplied.
struct Picture {
    QImage image;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Picture& picture)
{
    const QImage image = picture.image.convertToFormat(QImage::Format_RGBA8888);
    const QByteArray bytes(reinterpret_cast<const char*>(image.constBits()), image.sizeInBytes());
    argument.beginStructure();
    argument << image.width() << image.height() << int(image.bytesPerLine()) << true << 8 << 4
             << bytes;
    argument.endStructure();
    return argument;
}

/// Ours are only sent.
const QDBusArgument& operator>>(const QDBusArgument& argument, Picture&)
{
    return argument;
}

} // namespace DesktopNotifierTypes

using DesktopNotifierTypes::Picture;
Q_DECLARE_METATYPE(DesktopNotifierTypes::Picture)

DesktopNotifier::DesktopNotifier(QDBusConnection bus, std::chrono::milliseconds callLimit)
    : m_bus(std::move(bus))
    , m_callLimit(callLimit)
    , m_watcher(busName, m_bus, QDBusServiceWatcher::WatchForUnregistration)
{
    qDBusRegisterMetaType<Picture>();
    if (!m_bus.isConnected())
        return;
    // The next daemon counts from the start: its numbers are others' notices.
    connect(&m_watcher, &QDBusServiceWatcher::serviceUnregistered, this,
            [this] { m_shown.clear(); });
    const auto listen = [this](const QString& signal, const char* slot) {
        m_bus.connect(busName, objectPath, busName, signal, this, slot);
    };
    listen(u"ActionInvoked"_s, SLOT(actionInvoked(uint, QString)));
    listen(u"ActivationToken"_s, SLOT(activationToken(uint, QString)));
    listen(u"NotificationClosed"_s, SLOT(notificationClosed(uint, uint)));
}

void DesktopNotifier::post(const Notice& notice)
{
    if (!m_bus.isConnected())
        return;
    const QDBusMessage question
        = QDBusMessage::createMethodCall(busName, objectPath, busName, u"GetCapabilities"_s);
    auto* answer
        = new QDBusPendingCallWatcher(m_bus.asyncCall(question, int(m_callLimit.count())), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, notice] {
        answer->deleteLater();
        const QDBusPendingReply<QStringList> capabilities = *answer;
        if (capabilities.isValid())
            notify(notice, capabilities.value().contains("body-markup"_L1));
    });
}

void DesktopNotifier::notify(const Notice& notice, bool readsMarkup)
{
    QVariantMap hints{
        {u"urgency"_s, QVariant::fromValue(normalUrgency)},
        {u"desktop-entry"_s, u"dev.gridwell.Vexlo"_s},
    };
    if (!notice.picture.isNull())
        hints.insert(u"image-data"_s, QVariant::fromValue(Picture{notice.picture}));
    QDBusMessage call = QDBusMessage::createMethodCall(busName, objectPath, busName, u"Notify"_s);
    // The action's text stands on a button where the daemon knows no clicks on the notice itself.
    call << u"Vexlo"_s << m_shown.key(notice.identifier, 0) << QString() << notice.title
         << (readsMarkup ? notice.body.toHtmlEscaped() : notice.body)
         << QStringList{clickAction, tr("Open Vexlo")} << hints << daemonsOwnTime;
    auto* answer
        = new QDBusPendingCallWatcher(m_bus.asyncCall(call, int(m_callLimit.count())), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, answer, identifier = notice.identifier] {
                answer->deleteLater();
                const QDBusPendingReply<uint> id = *answer;
                if (id.isValid())
                    m_shown.insert(id.value(), identifier);
            });
}

void DesktopNotifier::actionInvoked(uint id, const QString& action)
{
    // From some daemons every program hears of every click.
    if (action != clickAction || !m_shown.contains(id))
        return;
    const QString token = std::exchange(m_focusToken, QString());
    if (onActivated)
        onActivated(token);
}

void DesktopNotifier::activationToken(uint id, const QString& token)
{
    if (m_shown.contains(id))
        m_focusToken = token;
}

void DesktopNotifier::notificationClosed(uint id, uint)
{
    m_shown.remove(id);
}
