#pragma once

#include "platform/StatusItem.h"

#include <QAbstractNativeEventFilter>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <functional>
#include <optional>

/// The status item in a tray of the old kind, which X11 windows dock into.
///
/// Costs next to nothing until it is enabled, and shows nothing without an X11 display or a
/// QApplication. A tray that comes or goes is noticed by the display's own messages, without a
/// timer.
class XEmbedTray final : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    /// Docks into a tray as soon as there is one, or leaves it.
    void setEnabled(bool enabled);

    void setImages(const QList<QImage>& images);
    void setToolTip(const QString& text);
    void setMenu(const QList<StatusMenuEntry>& entries);

    [[nodiscard]] bool isShown() const { return m_icon.has_value(); }

    std::function<void(std::optional<QPoint> place)> onActivated;
    std::function<void(const QString& id)> onMenuEntry;
    std::function<void()> onShownChanged;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void look();
    void dock();
    void fillMenu();
    void activated(QSystemTrayIcon::ActivationReason reason);

    bool m_isEnabled = false;
    bool m_isLooking = false;
    QList<QImage> m_images;
    QString m_toolTip;
    QList<StatusMenuEntry> m_entries;
    std::optional<QMenu> m_menu; // outlives the icon that shows it
    std::optional<QSystemTrayIcon> m_icon; // while docked
};
