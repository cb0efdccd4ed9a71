#pragma once

#include "platform/DesktopAppearance.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QVariantMap>

/// The user's wishes from the desktop's settings portal; what that does not know from the keys of
/// GNOME, then those of KDE, and last from Qt's own colours.
///
/// Needs a QGuiApplication. The portal answers whenever it does: until then the others hold.
class LinuxAppearance final : public QObject, public DesktopAppearance {
    Q_OBJECT

public:
    /// KDE's settings, in a session of KDE; elsewhere empty, since they are often a mere remnant.
    [[nodiscard]] static QString kdeSettingsFile();

    /// An empty `kdeSettings` stands for no file.
    explicit LinuxAppearance(const QDBusConnection& bus = QDBusConnection::sessionBus(),
                             const QString& kdeSettings = kdeSettingsFile());

    [[nodiscard]] Appearance current() const override { return m_current; }

    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void connectToPortal();
    void askPortal();
    void readKdeSettings();
    void update();

    QDBusConnection m_bus;
    QDBusServiceWatcher m_portalWatcher;
    QString m_kdeFile;
    QFileSystemWatcher m_kdeWatcher;
    QMap<QString, QVariantMap> m_portal; // group, key, value
    QHash<QString, QString> m_kde; // "group/key", value
    Appearance m_current;
};
