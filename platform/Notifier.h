#pragma once

#include <QImage>
#include <QString>

#include <functional>

/// A short message for the user, outside the program's own windows.
struct Notice {
    QString identifier; // a notice that is still shown gives way to a new one with its identifier
    QString title; // plain text, as the body
    QString body;
    QImage picture; // beside the text; may be null
};

/// The desktop's notices. Main thread only.
class Notifier {
public:
    virtual ~Notifier() = default;

    /// Shows `notice` if the user's desktop shows any, else does nothing. Never waits.
    virtual void post(const Notice& notice) = 0;

    /// Called when the user clicks a notice of ours. `focusToken` is the desktop's permission to
    /// take the focus, for a window that is opened now; often empty.
    std::function<void(const QString& focusToken)> onActivated;
};
