#pragma once

#include "platform/StatusItem.h"

#include <QDBusArgument>
#include <QDBusContext>
#include <QDBusVariant>
#include <QObject>

#include <functional>

namespace DBusMenuTypes {

/// One entry with the properties that were asked for.
struct Item {
    int id = 0;
    QVariantMap properties;
};

/// One entry with what is below it.
struct Layout {
    int id = 0;
    QVariantMap properties;
    QList<Layout> children;
};

/// Something that the user did with an entry.
struct Event {
    int id = 0;
    QString type;
    QDBusVariant data;
    uint timestamp = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Item& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, Item& item);
QDBusArgument& operator<<(QDBusArgument& argument, const Layout& layout);
const QDBusArgument& operator>>(const QDBusArgument& argument, Layout& layout);
QDBusArgument& operator<<(QDBusArgument& argument, const Event& event);
const QDBusArgument& operator>>(const QDBusArgument& argument, Event& event);

} // namespace DBusMenuTypes

/// A flat menu as an object on the session bus, drawn by the desktop's panel.
///
/// The names of properties, methods and signals are the protocol's. Export it with all three. An
/// entry keeps its number for as long as the object lives, and no other ever gets it: a panel may
/// still show the menu that was.
class DBusMenu final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version CONSTANT)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath CONSTANT)

public:
    DBusMenu();

    void setEntries(const QList<StatusMenuEntry>& entries);

    /// Called from the event loop, after the panel has its answer, with the id of an enabled entry.
    std::function<void(const QString& id)> onEntry;

    // The properties.
    [[nodiscard]] uint version() const { return 3; }
    [[nodiscard]] QString textDirection() const;
    [[nodiscard]] QString status() const { return QStringLiteral("normal"); }
    [[nodiscard]] QStringList iconThemePath() const { return {}; }

public slots:
    uint GetLayout(int parent, int depth, const QStringList& names, DBusMenuTypes::Layout& layout);
    QList<DBusMenuTypes::Item> GetGroupProperties(const QList<int>& ids, const QStringList& names);
    QDBusVariant GetProperty(int id, const QString& name);
    void Event(int id, const QString& type, const QDBusVariant& data, uint timestamp);

    /// Returns the numbers that are no entries.
    QList<int> EventGroup(const QList<DBusMenuTypes::Event>& events);

    /// False: the menu is always as it was announced.
    bool AboutToShow(int id);
    QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& unknown);

signals:
    void ItemsPropertiesUpdated(const QList<DBusMenuTypes::Item>& updated,
                                const QList<DBusMenuTypes::Item>& removed);
    void LayoutUpdated(uint revision, int parent);
    void ItemActivationRequested(int id, uint timestamp);

private:
    [[nodiscard]] const StatusMenuEntry* entry(int number) const;
    [[nodiscard]] bool isKnown(int number) const;
    [[nodiscard]] QVariantMap properties(int number, const QStringList& names) const;

    QList<StatusMenuEntry> m_entries;
    QList<int> m_numbers; // of the entries
    QStringList m_keys; // of all entries that ever were, by number
    uint m_revision = 1;
};
