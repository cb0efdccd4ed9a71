#include "platform/linux/TrayPlace.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QList<QPoint> possiblePlaces(QPoint given, const QList<TrayScreen>& screens)
{
    QList<QPoint> places;
    for (const TrayScreen& screen : screens) {
        const QPoint corner = screen.geometry.topLeft();
        if (screen.geometry.contains(given))
            places << given;
        if (const QPoint point = corner + (given - corner) / screen.ratio;
            screen.geometry.contains(point))
            places << point;
    }
    return places;
}

} // namespace

bool panelsTellPlaces(const QString& platform, const QProcessEnvironment& environment)
{
    if (platform != "xcb"_L1)
        return false;
    if (environment.value(u"WAYLAND_DISPLAY"_s).isEmpty())
        return true;
    const QStringList desktops = environment.value(u"XDG_CURRENT_DESKTOP"_s).split(u':');
    return desktops.contains("GNOME"_L1) || desktops.contains("KDE"_L1);
}

std::optional<QPoint> clickPlace(QPoint given, QPoint pointer, const QList<TrayScreen>& screens)
{
    const QList<QPoint> places = possiblePlaces(given, screens);
    if (given.isNull() || places.isEmpty())
        return std::nullopt;
    return *std::ranges::min_element(
        places, {}, [pointer](QPoint place) { return (place - pointer).manhattanLength(); });
}
