#include "platform/linux/CalendarApplication.h"

#include <QProcess>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

void CalendarApplication::open()
{
    auto* query = new QProcess(this);
    connect(query, &QProcess::finished, this, [query] {
        const QString entry = QString::fromLocal8Bit(query->readAllStandardOutput()).trimmed();
        if (!entry.isEmpty())
            launch(entry);
        query->deleteLater();
    });
    connect(query, &QProcess::errorOccurred, query, &QObject::deleteLater);
    query->start(u"xdg-mime"_s, {u"query"_s, u"default"_s, u"text/calendar"_s});
}

void CalendarApplication::launch(const QString& desktopEntry)
{
    const QString file = QStandardPaths::locate(QStandardPaths::ApplicationsLocation, desktopEntry);
    // The desktop's own launcher knows about D-Bus activation and the fields of the entry.
    if (!file.isEmpty() && !QProcess::startDetached(u"gio"_s, {u"launch"_s, file}))
        QProcess::startDetached(u"gtk-launch"_s, {desktopEntry});
}
