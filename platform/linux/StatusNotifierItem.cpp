#include "platform/linux/StatusNotifierItem.h"

#include <QDBusMetaType>
#include <QtEndian>

#include <utility>

namespace StatusNotifier {

Pixmap pixmapOf(const QImage& image)
{
    const QImage straight = image.convertToFormat(QImage::Format_ARGB32);
    Pixmap pixmap{.width = straight.width(), .height = straight.height()};
    const qsizetype rowBytes = qsizetype(pixmap.width) * qsizetype(sizeof(quint32));
    pixmap.bytes.resize(rowBytes * pixmap.height);
    for (int row = 0; row < pixmap.height; ++row)
        qToBigEndian<quint32>(straight.constScanLine(row), pixmap.width,
                              pixmap.bytes.data() + row * rowBytes);
    return pixmap;
}

QDBusArgument& operator<<(QDBusArgument& argument, const Pixmap& pixmap)
{
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.bytes;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Pixmap& pixmap)
{
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.bytes;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& toolTip)
{
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.icon << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& toolTip)
{
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.icon >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

} // namespace StatusNotifier

StatusNotifierItem::StatusNotifierItem(QString id, const QString& menuPath)
    : m_id(std::move(id))
    , m_menuPath(menuPath)
{
    qDBusRegisterMetaType<StatusNotifier::Pixmap>();
    qDBusRegisterMetaType<StatusNotifier::Pixmaps>();
    qDBusRegisterMetaType<StatusNotifier::ToolTip>();
}

void StatusNotifierItem::setImages(const QList<QImage>& images)
{
    StatusNotifier::Pixmaps icon;
    for (const QImage& image : images)
        icon << StatusNotifier::pixmapOf(image);
    if (std::exchange(m_icon, icon) != icon)
        emit NewIcon();
}

void StatusNotifierItem::setTitle(const QString& title)
{
    if (std::exchange(m_title, title) != title)
        emit NewTitle();
}

void StatusNotifierItem::setToolTip(const QString& title, const QString& text)
{
    const StatusNotifier::ToolTip toolTip{.title = title, .text = text.toHtmlEscaped()};
    if (std::exchange(m_toolTip, toolTip) != toolTip)
        emit NewToolTip();
}

void StatusNotifierItem::Activate(int x, int y)
{
    // What follows may take a while or open a dialog, and the panel waits for its answer.
    QMetaObject::invokeMethod(
        this,
        [this, place = QPoint(x, y), token = std::exchange(m_focusToken, {})] {
            if (onActivated)
                onActivated(place, token);
        },
        Qt::QueuedConnection);
}

void StatusNotifierItem::SecondaryActivate(int x, int y)
{
    Activate(x, y);
}

void StatusNotifierItem::ContextMenu(int x, int y)
{
    Activate(x, y);
}

void StatusNotifierItem::Scroll(int /*delta*/, const QString& /*orientation*/) { }

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token)
{
    m_focusToken = token;
}
