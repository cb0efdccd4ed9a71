#pragma once

#include "platform/StatusItem.h"
#include "platform/linux/DBusMenu.h"
#include "platform/linux/StatusNotifierItem.h"
#include "platform/linux/XEmbedTray.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

/// The status item in whatever the desktop has: a panel that asks for items over the session bus,
/// else a tray of the old X11 kind.
///
/// A panel is used whenever it comes, the first time or again. Nothing here waits for another
/// program, and a missing bus only leaves the old trays.
class TrayStatusItem final : public QObject, public StatusItem {
    Q_OBJECT

public:
    /// `id` is the program's name for the desktop. One item to a connection: its objects have fixed
    /// paths.
    explicit TrayStatusItem(const QString& id,
                            const QDBusConnection& bus = QDBusConnection::sessionBus());
    ~TrayStatusItem() override;

    void setImages(const QList<QImage>& images) override;
    void setTitle(const QString& title) override;
    void setToolTip(const QString& title, const QString& text) override;
    void setMenu(const QList<StatusMenuEntry>& entries) override;
    [[nodiscard]] bool isShown() const override { return m_isShown; }

private slots:
    void askForPanel();

private:
    void forwardCallbacks();
    void connectToBus();
    void claimName();
    void registerItem();
    void setPanel(bool hasPanel);
    void updateShown();

    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher; // of the desktop's list of items
    QString m_name; // of this item on the bus
    StatusNotifierItem m_item;
    DBusMenu m_menu;
    XEmbedTray m_oldTray;
    bool m_hasPanel = false;
    bool m_isShown = false;
};
