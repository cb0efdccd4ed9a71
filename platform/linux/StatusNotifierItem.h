#pragma once

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QImage>
#include <QObject>

#include <functional>

namespace StatusNotifier {

/// A picture as it goes over the bus.
struct Pixmap {
    int width = 0;
    int height = 0;
    QByteArray bytes; // rows from the top; a pixel is alpha, red, green, blue, not premultiplied

    bool operator==(const Pixmap&) const = default;
};

using Pixmaps = QList<Pixmap>;

struct ToolTip {
    QString iconName;
    Pixmaps icon;
    QString title;
    QString text; // with the few tags of the tool tip's markup

    bool operator==(const ToolTip&) const = default;
};

[[nodiscard]] Pixmap pixmapOf(const QImage& image);

QDBusArgument& operator<<(QDBusArgument& argument, const Pixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, Pixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& toolTip);

} // namespace StatusNotifier

/// The status item as an object on the session bus, read and called by the desktop's panel.
///
/// The names of properties, methods and signals are the protocol's. Export it with all three.
class StatusNotifierItem final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category CONSTANT)
    Q_PROPERTY(QString Id READ id CONSTANT)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(int WindowId READ windowId CONSTANT)
    Q_PROPERTY(QString IconName READ noName CONSTANT)
    Q_PROPERTY(QString IconThemePath READ noName CONSTANT)
    Q_PROPERTY(StatusNotifier::Pixmaps IconPixmap READ icon)
    Q_PROPERTY(QString OverlayIconName READ noName CONSTANT)
    Q_PROPERTY(StatusNotifier::Pixmaps OverlayIconPixmap READ noPixmaps CONSTANT)
    Q_PROPERTY(QString AttentionIconName READ noName CONSTANT)
    Q_PROPERTY(StatusNotifier::Pixmaps AttentionIconPixmap READ noPixmaps CONSTANT)
    Q_PROPERTY(StatusNotifier::ToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)

public:
    /// `id` is the program's name for the desktop; `menuPath` the object that serves the menu.
    StatusNotifierItem(QString id, const QString& menuPath);

    void setImages(const QList<QImage>& images);
    void setTitle(const QString& title);
    void setToolTip(const QString& title, const QString& text);

    /// Called from the event loop, after the panel has its answer, with the place that it gave and
    /// the focus token that came before.
    std::function<void(QPoint place, const QString& focusToken)> onActivated;

    // The properties.
    [[nodiscard]] QString category() const { return QStringLiteral("ApplicationStatus"); }
    [[nodiscard]] QString id() const { return m_id; }
    [[nodiscard]] QString title() const { return m_title; }
    [[nodiscard]] QString status() const { return QStringLiteral("Active"); }
    [[nodiscard]] int windowId() const { return 0; }
    [[nodiscard]] QString noName() const { return {}; }
    [[nodiscard]] StatusNotifier::Pixmaps icon() const { return m_icon; }
    [[nodiscard]] StatusNotifier::Pixmaps noPixmaps() const { return {}; }
    [[nodiscard]] StatusNotifier::ToolTip toolTip() const { return m_toolTip; }
    [[nodiscard]] bool itemIsMenu() const { return false; }
    [[nodiscard]] QDBusObjectPath menu() const { return m_menuPath; }

public slots:
    void Activate(int x, int y);
    void SecondaryActivate(int x, int y);

    /// Comes only from panels that cannot show our menu. A click is all that they can give.
    void ContextMenu(int x, int y);

    /// Nothing here scrolls.
    void Scroll(int delta, const QString& orientation);

    /// Comes before the click that it belongs to.
    void ProvideXdgActivationToken(const QString& token);

signals:
    void NewTitle();
    void NewIcon();
    void NewToolTip();
    void NewMenu();
    void NewStatus(const QString& status);

private:
    QString m_id;
    QDBusObjectPath m_menuPath;
    QString m_title;
    StatusNotifier::Pixmaps m_icon;
    StatusNotifier::ToolTip m_toolTip;
    QString m_focusToken;
};
