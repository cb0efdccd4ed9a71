#pragma once

#include "usage/ServiceUsage.h"
#include "usage/UsageDisplayMode.h"

#include <QObject>
#include <QPoint>
#include <QTimer>

#include <chrono>
#include <functional>

class StatusItem;

/// The status item's menu, clicks and texts, and the wait for a bar that shows it. Its picture is
/// the character driver's matter.
class StatusItemControl : public QObject {
    Q_OBJECT

public:
    /// What the user can ask of the program there.
    struct Actions {
        std::function<void(std::optional<QPoint> anchor)> toggle; // the panel
        std::function<void()> open; // the panel
        std::function<void()> refresh;
        std::function<void()> settings;
        std::function<void()> quit;
    };

    /// `item` must outlive this.
    StatusItemControl(StatusItem& item, Actions actions);

    /// Makes the menu and listens to clicks.
    void configure();
    /// Says the tightest limit of `services` in the tooltip and to screen readers.
    void showTexts(const QList<ServiceUsage>& services, UsageDisplayMode mode);
    /// Calls `onNoHost` if no bar shows the item within `patience`.
    void awaitHost(std::chrono::milliseconds patience);
    [[nodiscard]] bool isShown() const;

    std::function<void()> onNoHost;

private:
    void choose(const QString& entry);

    StatusItem& m_item;
    Actions m_actions;
    QTimer m_hostTimer;
};
