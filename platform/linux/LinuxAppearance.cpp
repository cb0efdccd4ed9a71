#include "platform/linux/LinuxAppearance.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPalette>
#include <QStandardPaths>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

namespace Portal {
constexpr auto name = "org.freedesktop.portal.Desktop"_L1;
constexpr auto path = "/org/freedesktop/portal/desktop"_L1;
constexpr auto interface = "org.freedesktop.portal.Settings"_L1;
constexpr auto common = "org.freedesktop.appearance"_L1;
constexpr auto gnome = "org.gnome.desktop.interface"_L1;
} // namespace Portal

using PortalSettings = QMap<QString, QVariantMap>;
using KdeSettings = QHash<QString, QString>;

/// Red, green and blue from 0 to 1. What lies outside means that the user chose none.
std::optional<QColor> portalColor(const QDBusArgument& argument)
{
    double red = -1;
    double green = -1;
    double blue = -1;
    argument.beginStructure();
    argument >> red >> green >> blue;
    argument.endStructure();
    const auto isPart = [](double part) { return part >= 0 && part <= 1; };
    if (!std::ranges::all_of(std::initializer_list{red, green, blue}, isPart))
        return std::nullopt;
    return QColor::fromRgbF(float(red), float(green), float(blue)).toRgb();
}

/// The value as a type of ours: colours come unread.
QVariant plainValue(const QVariant& value)
{
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return value;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != "(ddd)"_L1)
        return {};
    const std::optional<QColor> color = portalColor(argument);
    return color ? QVariant(*color) : QVariant();
}

/// "12,34,56"
std::optional<QColor> kdeColor(const QString& text)
{
    QList<int> parts;
    for (const QString& part : text.split(u',')) {
        bool isNumber = false;
        parts << part.trimmed().toInt(&isNumber);
        if (!isNumber || parts.last() < 0 || parts.last() > 255)
            return std::nullopt;
    }
    if (parts.size() != 3)
        return std::nullopt;
    return QColor(parts.at(0), parts.at(1), parts.at(2));
}

KdeSettings kdeSettings(const QByteArray& contents)
{
    KdeSettings settings;
    QString group;
    for (const QString& line : QString::fromUtf8(contents).split(u'\n')) {
        const QString text = line.trimmed();
        const qsizetype equals = text.indexOf(u'=');
        if (text.startsWith(u'[') && text.endsWith(u']'))
            group = text.sliced(1, text.size() - 2);
        else if (equals > 0 && !text.startsWith(u'#'))
            settings.insert(group + u'/' + text.first(equals).trimmed(),
                            text.sliced(equals + 1).trimmed());
    }
    return settings;
}

std::optional<ColorScheme> portalScheme(const PortalSettings& portal)
{
    switch (portal.value(Portal::common).value(u"color-scheme"_s).toUInt()) {
    case 1:
        return ColorScheme::dark;
    case 2:
        return ColorScheme::light;
    default:
        return std::nullopt;
    }
}

/// A light theme's name proves nothing: it is also what is there when nobody chose one.
std::optional<ColorScheme> gnomeScheme(const PortalSettings& portal)
{
    const QVariantMap gnome = portal.value(Portal::gnome);
    const QString scheme = gnome.value(u"color-scheme"_s).toString();
    if (scheme == "prefer-light"_L1)
        return ColorScheme::light;
    if (scheme == "prefer-dark"_L1
        || gnome.value(u"gtk-theme"_s).toString().endsWith("-dark"_L1, Qt::CaseInsensitive))
        return ColorScheme::dark;
    return std::nullopt;
}

std::optional<ColorScheme> kdeScheme(const KdeSettings& kde)
{
    const auto window = kdeColor(kde.value(u"Colors:Window/BackgroundNormal"_s));
    if (!window)
        return std::nullopt;
    return qGray(window->rgb()) < 128 ? ColorScheme::dark : ColorScheme::light;
}

ColorScheme qtScheme()
{
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness()
            < palette.color(QPalette::WindowText).lightness()
        ? ColorScheme::dark
        : ColorScheme::light;
}

ColorScheme scheme(const PortalSettings& portal, const KdeSettings& kde)
{
    for (const auto& wish : {portalScheme(portal), gnomeScheme(portal), kdeScheme(kde)}) {
        if (wish)
            return *wish;
    }
    return qtScheme();
}

std::optional<QColor> accent(const PortalSettings& portal, const KdeSettings& kde)
{
    const QVariant color = portal.value(Portal::common).value(u"accent-color"_s);
    if (color.metaType() == QMetaType::fromType<QColor>())
        return color.value<QColor>();
    return kdeColor(kde.value(u"General/AccentColor"_s));
}

bool reducesMotion(const PortalSettings& portal, const KdeSettings& kde)
{
    const QVariant wish = portal.value(Portal::common).value(u"reduced-motion"_s);
    if (wish.isValid())
        return wish.toUInt() == 1;
    // Shown to programs on every desktop, but chosen on GNOME alone: only "no" tells something.
    const QVariant animations = portal.value(Portal::gnome).value(u"enable-animations"_s);
    if (animations.isValid() && !animations.toBool())
        return true;
    bool isNumber = false;
    const double durations = kde.value(u"KDE/AnimationDurationFactor"_s).toDouble(&isNumber);
    return isNumber && durations <= 0;
}

} // namespace

QString LinuxAppearance::kdeSettingsFile()
{
    if (!qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains("KDE"_L1))
        return {};
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + "/kdeglobals"_L1;
}

LinuxAppearance::LinuxAppearance(const QDBusConnection& bus, const QString& kdeSettings)
    : m_bus(bus)
    , m_portalWatcher(Portal::name, bus, QDBusServiceWatcher::WatchForRegistration)
    , m_kdeFile(kdeSettings)
{
    QCoreApplication::instance()->installEventFilter(this);
    connect(&m_kdeWatcher, &QFileSystemWatcher::fileChanged, this,
            &LinuxAppearance::readKdeSettings);
    connect(&m_kdeWatcher, &QFileSystemWatcher::directoryChanged, this,
            &LinuxAppearance::readKdeSettings);
    qDBusRegisterMetaType<PortalSettings>();
    // Else there is no such slot when the signal is connected: its type is known by name only now.
    qRegisterMetaType<QDBusVariant>("QDBusVariant");
    readKdeSettings();
    update();
    if (m_bus.isConnected())
        connectToPortal();
}

bool LinuxAppearance::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ApplicationPaletteChange
        && watched == QCoreApplication::instance())
        update();
    return false;
}

void LinuxAppearance::connectToPortal()
{
    m_bus.connect(Portal::name, Portal::path, Portal::interface, u"SettingChanged"_s, this,
                  SLOT(settingChanged(QString, QString, QDBusVariant)));
    connect(&m_portalWatcher, &QDBusServiceWatcher::serviceRegistered, this,
            &LinuxAppearance::askPortal);
    askPortal();
}

void LinuxAppearance::askPortal()
{
    QDBusMessage question = QDBusMessage::createMethodCall(Portal::name, Portal::path,
                                                           Portal::interface, u"ReadAll"_s);
    question << QStringList{Portal::common, Portal::gnome};
    auto* answer = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<PortalSettings> reply = *answer;
        if (reply.isError())
            return;
        m_portal = reply.value();
        for (QVariantMap& group : m_portal) {
            for (QVariant& value : group)
                value = plainValue(value);
        }
        update();
    });
}

void LinuxAppearance::settingChanged(const QString& group, const QString& key,
                                     const QDBusVariant& value)
{
    m_portal[group].insert(key, plainValue(value.variant()));
    update();
}

void LinuxAppearance::readKdeSettings()
{
    if (m_kdeFile.isEmpty())
        return;
    // KDE replaces the file, and a watch stays with the old one: set it anew. The folder, where
    // much else changes, is watched only while the file is missing.
    const QString folder = QFileInfo(m_kdeFile).path();
    m_kdeWatcher.removePath(m_kdeFile);
    if (m_kdeWatcher.addPath(m_kdeFile))
        m_kdeWatcher.removePath(folder);
    else
        m_kdeWatcher.addPath(folder);

    QFile file(m_kdeFile);
    m_kde = file.open(QIODevice::ReadOnly) ? kdeSettings(file.readAll()) : KdeSettings();
    update();
}

void LinuxAppearance::update()
{
    const Appearance appearance{
        .scheme = scheme(m_portal, m_kde),
        .accent = accent(m_portal, m_kde),
        .reducesMotion = reducesMotion(m_portal, m_kde),
    };
    if (std::exchange(m_current, appearance) != appearance && onChange)
        onChange();
}
