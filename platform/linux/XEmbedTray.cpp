#include "platform/linux/XEmbedTray.h"

#include <QApplication>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Numbers of the X11 protocol.
constexpr int destroyNotify = 17;
constexpr int clientMessage = 33;
constexpr int sentByClient = 0x80; // added to the number

bool hasTrays()
{
    return qobject_cast<QApplication*>(QCoreApplication::instance())
        && QGuiApplication::platformName() == "xcb"_L1;
}

QIcon iconOf(const QList<QImage>& images)
{
    QIcon icon;
    for (const QImage& image : images)
        icon.addPixmap(QPixmap::fromImage(image));
    return icon;
}

} // namespace

void XEmbedTray::setEnabled(bool enabled)
{
    if (m_isEnabled == enabled || !hasTrays())
        return;
    m_isEnabled = enabled;
    if (enabled)
        QCoreApplication::instance()->installNativeEventFilter(this);
    else
        QCoreApplication::instance()->removeNativeEventFilter(this);
    look();
}

void XEmbedTray::setImages(const QList<QImage>& images)
{
    if (std::exchange(m_images, images) == images)
        return;
    look();
    if (m_icon)
        m_icon->setIcon(iconOf(images));
}

void XEmbedTray::setToolTip(const QString& text)
{
    m_toolTip = text;
    if (m_icon)
        m_icon->setToolTip(text);
}

void XEmbedTray::setMenu(const QList<StatusMenuEntry>& entries)
{
    if (std::exchange(m_entries, entries) != entries && m_icon)
        fillMenu();
}

/// A new tray presents itself with a client message to the root window; one that ends destroys its
/// window. Which of these messages it was does not matter: looking is cheap.
bool XEmbedTray::nativeEventFilter(const QByteArray& eventType, void* message, qintptr* /*result*/)
{
    if (eventType != "xcb_generic_event_t" || m_isLooking)
        return false;
    const int number = *static_cast<const uchar*>(message) & ~sentByClient;
    if (number != clientMessage && number != destroyNotify)
        return false;
    m_isLooking = true;
    // Qt's own note of the tray is up to date only after this message.
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_isLooking = false;
            look();
        },
        Qt::QueuedConnection);
    return false;
}

void XEmbedTray::look()
{
    const bool wanted
        = m_isEnabled && !m_images.isEmpty() && QSystemTrayIcon::isSystemTrayAvailable();
    if (wanted == isShown())
        return;
    if (wanted)
        dock();
    else
        m_icon.reset();
    if (onShownChanged)
        onShownChanged();
}

void XEmbedTray::dock()
{
    m_menu.emplace();
    fillMenu();
    m_icon.emplace(iconOf(m_images));
    m_icon->setToolTip(m_toolTip);
    m_icon->setContextMenu(&*m_menu);
    connect(&*m_icon, &QSystemTrayIcon::activated, this, &XEmbedTray::activated);
    m_icon->show();
}

void XEmbedTray::fillMenu()
{
    m_menu->clear();
    for (const StatusMenuEntry& entry : m_entries) {
        if (entry.isSeparator) {
            m_menu->addSeparator();
            continue;
        }
        // A single ampersand would mark a shortcut key.
        QAction* action = m_menu->addAction(QString(entry.label).replace(u'&', "&&"_L1));
        action->setEnabled(entry.isEnabled);
        connect(
            action, &QAction::triggered, this,
            [this, id = entry.id] {
                if (onMenuEntry)
                    onMenuEntry(id);
            },
            Qt::QueuedConnection); // the menu may be filled anew by it
    }
}

void XEmbedTray::activated(QSystemTrayIcon::ActivationReason reason)
{
    if (!onActivated
        || (reason != QSystemTrayIcon::Trigger && reason != QSystemTrayIcon::MiddleClick))
        return;
    const QRect area = m_icon->geometry();
    onActivated(area.isEmpty() ? std::nullopt : std::optional(area.center()));
}
