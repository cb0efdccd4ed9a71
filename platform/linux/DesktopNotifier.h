#pragma once

#include "platform/Notifier.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QObject>

#include <chrono>

/// Notices shown by the desktop's notification daemon.
///
/// There is no permission to ask for: where a daemon runs, or can be started by the bus, it shows
/// what it is given. Without one, and when it does not answer in time, a notice is lost.
class DesktopNotifier final : public QObject, public Notifier {
    Q_OBJECT

public:
    /// Talks over `bus`. A daemon that takes longer than `callLimit` for one call counts as absent.
    explicit DesktopNotifier(QDBusConnection bus = QDBusConnection::sessionBus(),
                             std::chrono::milliseconds callLimit = std::chrono::seconds(25));

    void post(const Notice& notice) override;

private slots:
    void actionInvoked(uint id, const QString& action);
    void activationToken(uint id, const QString& token);
    void notificationClosed(uint id, uint reason);

private:
    void notify(const Notice& notice, bool readsMarkup);

    QDBusConnection m_bus;
    std::chrono::milliseconds m_callLimit;
    QDBusServiceWatcher m_watcher;
    QHash<uint, QString> m_shown; // identifiers by the daemon's numbers
    QString m_focusToken; // for the click that is told next
};
