#include "platform/linux/CalendarSources.h"

#include <QDBusObjectPath>
#include <QHash>
#include <QMap>

using namespace Qt::StringLiterals;

namespace {

constexpr auto sourceInterface = "org.gnome.evolution.dataserver.Source"_L1;

struct Source {
    bool isCalendar = false;
    bool isEnabled = true;
    QString parent;
};

/// `data` is a key file: groups in brackets, keys with their values below.
Source source(const QString& data)
{
    Source source;
    QStringView group;
    for (QStringView line : QStringView(data).split(u'\n')) {
        line = line.trimmed();
        if (line.startsWith(u'[')) {
            group = line;
            source.isCalendar = source.isCalendar || line == "[Calendar]"_L1;
        } else if (group == "[Data Source]"_L1) {
            if (line.startsWith("Enabled="_L1))
                source.isEnabled = line != "Enabled=false"_L1;
            else if (line.startsWith("Parent="_L1))
                source.parent = line.mid(7).toString();
        }
    }
    return source;
}

bool isEnabled(const QString& id, const QMap<QString, Source>& sources)
{
    QSet<QString> seen; // whoever writes a circle gets an end
    for (QString next = id; sources.contains(next) && !seen.contains(next);
         next = sources.value(next).parent) {
        if (!sources.value(next).isEnabled)
            return false;
        seen.insert(next);
    }
    return true;
}

} // namespace

CalendarSources calendarSources(const QDBusArgument& objects)
{
    CalendarSources result;
    QMap<QString, Source> sources; // sorted, so that the order stays
    objects.beginMap();
    while (!objects.atEnd()) {
        QDBusObjectPath path;
        QMap<QString, QVariantMap> interfaces;
        objects.beginMapEntry();
        objects >> path >> interfaces;
        objects.endMapEntry();
        const QVariantMap properties = interfaces.value(sourceInterface);
        result.paths.insert(path.path());
        sources.insert(properties.value(u"UID"_s).toString(),
                       source(properties.value(u"Data"_s).toString()));
    }
    objects.endMap();
    for (auto next = sources.cbegin(); next != sources.cend(); ++next) {
        if (next->isCalendar && isEnabled(next.key(), sources))
            result.calendars.append(next.key());
    }
    return result;
}
