#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

class PreferenceStore;

/// One row of the table of everything that can be shown as a card or a Today entry.
struct ProviderDefinition {
    QString id; // in settings keys, the secret store and the order list
    QString name; // as shown
    std::optional<QString> snapshotFile; // in the support folder; absent when it has none

    bool operator==(const ProviderDefinition&) const = default;
};

/// Which sources there are, which of them are offered, in which order, and which are switched on.
///
/// Keeps nothing itself: the preferences and the support folder hold the state. Main thread only.
class ProviderRegistry {
public:
    /// Neither the preferences nor the folder need to hold anything yet. With `everythingOn`, for
    /// made-up figures, every row counts as switched on.
    ProviderRegistry(PreferenceStore& preferences, QString supportDirectory,
                     bool everythingOn = false);

    /// The whole table, in the default order.
    [[nodiscard]] static const QList<ProviderDefinition>& all();
    /// The row with this id, offered or not.
    [[nodiscard]] static std::optional<ProviderDefinition> definition(const QString& id);
    /// The ids of the rows that are offered to the user at all.
    [[nodiscard]] static const QSet<QString>& released();
    /// Offers further rows while this object lives: those with these ids, or with "all" every one
    /// that the snapshot script reads. Beside them the preference "releasedProviders" offers some.
    void offer(const QStringList& ids) { m_furtherOffered = ids; }
    /// The ids of the rows whose usage comes from the snapshot script.
    [[nodiscard]] static const QSet<QString>& snapshotReaders();
    /// `rows` with those named in `order` first, in its order, and the others after them as they
    /// are.
    [[nodiscard]] static QList<ProviderDefinition> ordered(const QList<ProviderDefinition>& rows,
                                                           const QStringList& order);

    /// The offered rows in the user's order.
    [[nodiscard]] QList<ProviderDefinition> visible() const;
    /// The offered rows that are switched on and read by the snapshot script, in the user's order.
    [[nodiscard]] QList<ProviderDefinition> enabledSnapshotProviders() const;

    [[nodiscard]] QStringList todayOrder() const;
    bool setTodayOrder(const QStringList& order);

    /// Whether the source's snapshot file exists, whatever it contains.
    [[nodiscard]] bool hasConnected(const QString& id) const;
    /// The user's switch; without one, whether the source has connected, and for the calendar
    /// whether neither Claude nor Codex has.
    [[nodiscard]] bool isEnabled(const QString& id) const;
    /// Whether the user, or a connection, has set the switch either way.
    [[nodiscard]] bool hasSwitch(const QString& id) const;
    bool setEnabled(const QString& id, bool enabled);
    /// Takes the switch back, so that the default rule holds again.
    bool removeSwitch(const QString& id);

    [[nodiscard]] const QString& supportDirectory() const { return m_supportDirectory; }

private:
    [[nodiscard]] bool isOffered(const QString& id) const;

    PreferenceStore& m_preferences;
    QString m_supportDirectory;
    bool m_everythingOn = false;
    QStringList m_furtherOffered;
};
