#pragma once

#include <QImage>
#include <QList>
#include <QPoint>
#include <QString>

#include <functional>
#include <optional>

/// One line of the status item's menu.
struct StatusMenuEntry {
    QString id; // unique within the menu; not used for a separator
    QString label; // as the user reads it, without any mark for a shortcut key
    bool isEnabled = true;
    bool isSeparator = false;

    bool operator==(const StatusMenuEntry&) const = default;
};

/// A click on the status item.
struct StatusActivation {
    /// Where on the screen it was, in Qt's coordinates. Absent when the desktop does not tell,
    /// tells nothing useful, or when the keyboard was used.
    std::optional<QPoint> place;
    /// The desktop's permission to take the focus, for a window that is opened now. Often empty.
    QString focusToken;
};

/// The program's picture in the desktop's status bar, with its menu.
///
/// Main thread only. What is set before a bar exists is shown as soon as one does.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    /// One picture in several sizes: 22 and 44 pixels are wanted. An equal picture costs nothing.
    virtual void setImages(const QList<QImage>& images) = 0;

    /// What a screen reader says.
    virtual void setTitle(const QString& title) = 0;

    /// Plain text.
    virtual void setToolTip(const QString& title, const QString& text) = 0;

    virtual void setMenu(const QList<StatusMenuEntry>& entries) = 0;

    /// Whether some bar shows the item now.
    [[nodiscard]] virtual bool isShown() const = 0;

    /// Called for a left or a middle click alike.
    std::function<void(const StatusActivation&)> onActivated;

    /// Called with the id of the menu entry that the user chose.
    std::function<void(const QString& id)> onMenuEntry;

    /// Called after `isShown` has changed.
    std::function<void()> onShownChanged;
};
