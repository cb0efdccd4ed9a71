#pragma once

#include <QObject>

/// The user's calendar application: the one that opens calendar files.
class CalendarApplication final : public QObject {
    Q_OBJECT

public:
    /// Starts it, or brings it to the front as far as it does that by itself. Asks the desktop
    /// which one it is and returns at once; where there is none nothing happens.
    void open();

private:
    static void launch(const QString& desktopEntry);
};
