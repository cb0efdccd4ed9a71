#include "platform/linux/DBusMenu.h"

#include <QDBusMetaType>
#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace DBusMenuTypes {

QDBusArgument& operator<<(QDBusArgument& argument, const Item& item)
{
    argument.beginStructure();
    argument << item.id << item.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Item& item)
{
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const Layout& layout)
{
    argument.beginStructure();
    argument << layout.id << layout.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const Layout& child : layout.children)
        argument << QDBusVariant(QVariant::fromValue(child));
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Layout& layout)
{
    argument.beginStructure();
    argument >> layout.id >> layout.properties;
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        layout.children << qdbus_cast<Layout>(child.variant());
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const Event& event)
{
    argument.beginStructure();
    argument << event.id << event.type << event.data << event.timestamp;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Event& event)
{
    argument.beginStructure();
    argument >> event.id >> event.type >> event.data >> event.timestamp;
    argument.endStructure();
    return argument;
}

} // namespace DBusMenuTypes

namespace {

constexpr int rootNumber = 0;

/// A single underscore would mark a shortcut key.
QString escapedLabel(QString label)
{
    return label.replace(u'_', "__"_L1);
}

QVariantMap entryProperties(const StatusMenuEntry& entry)
{
    if (entry.isSeparator)
        return {{u"type"_s, u"separator"_s}};
    QVariantMap properties{{u"label"_s, escapedLabel(entry.label)}};
    if (!entry.isEnabled)
        properties.insert(u"enabled"_s, false);
    return properties;
}

} // namespace

DBusMenu::DBusMenu()
    : m_keys{QString()} // the root's number is taken
{
    qDBusRegisterMetaType<DBusMenuTypes::Item>();
    qDBusRegisterMetaType<QList<DBusMenuTypes::Item>>();
    qDBusRegisterMetaType<DBusMenuTypes::Layout>();
    qDBusRegisterMetaType<DBusMenuTypes::Event>();
    qDBusRegisterMetaType<QList<DBusMenuTypes::Event>>();
}

void DBusMenu::setEntries(const QList<StatusMenuEntry>& entries)
{
    if (entries == m_entries)
        return;
    m_entries = entries;
    m_numbers.clear();
    int separators = 0;
    for (const StatusMenuEntry& entry : entries) {
        const QString key
            = entry.isSeparator ? u"separator %1"_s.arg(++separators) : u"entry "_s + entry.id;
        if (!m_keys.contains(key))
            m_keys << key;
        m_numbers << int(m_keys.indexOf(key));
    }
    emit LayoutUpdated(++m_revision, rootNumber);
}

QString DBusMenu::textDirection() const
{
    return QGuiApplication::isRightToLeft() ? u"rtl"_s : u"ltr"_s;
}

const StatusMenuEntry* DBusMenu::entry(int number) const
{
    const qsizetype index = m_numbers.indexOf(number);
    return index < 0 ? nullptr : &m_entries.at(index);
}

bool DBusMenu::isKnown(int number) const
{
    return number == rootNumber || entry(number);
}

/// Those of `names`, or all when there are none.
QVariantMap DBusMenu::properties(int number, const QStringList& names) const
{
    const StatusMenuEntry* found = entry(number);
    QVariantMap properties
        = found ? entryProperties(*found) : QVariantMap{{u"children-display"_s, u"submenu"_s}};
    if (!names.isEmpty())
        properties.removeIf([&](const auto& property) { return !names.contains(property.key()); });
    return properties;
}

uint DBusMenu::GetLayout(int parent, int depth, const QStringList& names,
                         DBusMenuTypes::Layout& layout)
{
    if (!isKnown(parent)) {
        sendErrorReply(QDBusError::InvalidArgs, u"No such menu entry"_s);
        return m_revision;
    }
    layout.id = parent;
    layout.properties = properties(parent, names);
    if (parent == rootNumber && depth != 0) {
        for (const int number : m_numbers)
            layout.children.append({.id = number, .properties = properties(number, names)});
    }
    return m_revision;
}

QList<DBusMenuTypes::Item> DBusMenu::GetGroupProperties(const QList<int>& ids,
                                                        const QStringList& names)
{
    QList<DBusMenuTypes::Item> items;
    for (const int number : ids.isEmpty() ? QList{rootNumber} + m_numbers : ids) {
        if (isKnown(number))
            items.append({.id = number, .properties = properties(number, names)});
    }
    return items;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name)
{
    const QVariant value = isKnown(id) ? properties(id, {}).value(name) : QVariant();
    if (!value.isValid())
        sendErrorReply(QDBusError::InvalidArgs, u"No such property"_s);
    return QDBusVariant(value);
}

void DBusMenu::Event(int id, const QString& type, const QDBusVariant& /*data*/, uint /*timestamp*/)
{
    const StatusMenuEntry* chosen = entry(id);
    if (type != "clicked"_L1 || !chosen || chosen->isSeparator || !chosen->isEnabled)
        return;
    // What follows may take a while or open a dialog, and the panel waits for its answer.
    QMetaObject::invokeMethod(
        this,
        [this, chosenId = chosen->id] {
            if (onEntry)
                onEntry(chosenId);
        },
        Qt::QueuedConnection);
}

QList<int> DBusMenu::EventGroup(const QList<DBusMenuTypes::Event>& events)
{
    QList<int> unknown;
    for (const DBusMenuTypes::Event& event : events) {
        if (isKnown(event.id))
            Event(event.id, event.type, event.data, event.timestamp);
        else
            unknown << event.id;
    }
    return unknown;
}

bool DBusMenu::AboutToShow(int /*id*/)
{
    return false;
}

QList<int> DBusMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& unknown)
{
    for (const int number : ids) {
        if (!isKnown(number))
            unknown << number;
    }
    return {};
}
