#pragma once

#include <QList>
#include <QPoint>
#include <QProcessEnvironment>
#include <QRect>
#include <QString>

#include <optional>

// What the place that a panel gives with a click on a status item is worth.

/// Whether panels tell a true place, in a session of `environment`, to a program on Qt's
/// `platform`.
///
/// A panel that is itself a Wayland program does not know where it stands. Those of GNOME and
/// Plasma are part of the shell, which does. A native Wayland window could not be moved to the
/// place.
[[nodiscard]] bool panelsTellPlaces(const QString& platform,
                                    const QProcessEnvironment& environment);

/// A screen as Qt counts it, and the display's pixels to one of Qt's points. Its top left corner is
/// the same in both.
struct TrayScreen {
    QRect geometry;
    qreal ratio = 1;
};

/// `given` in Qt's points. Panels give points or pixels, as their own scaling goes: what is nearer
/// to the `pointer` is taken. Absent for a place outside the screens, and for 0,0, which stands for
/// no place.
[[nodiscard]] std::optional<QPoint> clickPlace(QPoint given, QPoint pointer,
                                               const QList<TrayScreen>& screens);
