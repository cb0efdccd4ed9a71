#include "platform/linux/FolderWatch.h"

#include <QFile>
#include <QFileInfo>

#include <sys/inotify.h>
#include <unistd.h>

#include <array>

namespace {

constexpr unsigned appearance
    = IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr unsigned anyChange = appearance | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_DELETE;
constexpr unsigned alwaysMatter = IN_DELETE_SELF | IN_MOVE_SELF | IN_Q_OVERFLOW | IN_UNMOUNT;

/// The last folder on the way to `path` that is there, and the name that is missing in it.
std::pair<QString, QString> brokenOffAt(const QString& path)
{
    QFileInfo missing(path);
    while (!missing.isRoot() && !QFileInfo(missing.path()).isDir())
        missing = QFileInfo(missing.path());
    return {QFileInfo(missing.path()).canonicalFilePath(), missing.fileName()};
}

} // namespace

FolderWatch::FolderWatch(QString suffix)
    : m_suffix(std::move(suffix))
{
}

bool FolderWatch::watch(const QSet<QString>& folders, const QStringList& missing)
{
    QHash<QString, Names> wanted; // without names everything matters
    for (const QString& path : missing) {
        const auto [folder, name] = brokenOffAt(path);
        wanted[folder].insert(name);
    }
    for (const QString& folder : folders)
        wanted.insert(folder, {});
    if (!wanted.isEmpty() && !ensureOpen())
        return false;

    bool hasNew = false;
    QHash<QString, int> watches;
    m_awaited.clear();
    for (auto folder = wanted.cbegin(); folder != wanted.cend(); ++folder) {
        const QByteArray path = QFile::encodeName(folder.key());
        const int watch = inotify_add_watch(m_inotify.value(), path.constData(),
                                            folder.value().isEmpty() ? anyChange : appearance);
        if (watch < 0)
            continue;
        watches.insert(folder.key(), watch);
        if (!folder.value().isEmpty())
            m_awaited.insert(watch, folder.value());
        hasNew = hasNew || m_watches.value(folder.key(), -1) != watch;
    }
    const QList<int> kept = watches.values();
    for (const int old : std::as_const(m_watches)) {
        if (!kept.contains(old))
            inotify_rm_watch(m_inotify.value(), old);
    }
    m_watches = watches;
    return hasNew;
}

bool FolderWatch::ensureOpen()
{
    if (m_notifier)
        return true;
    m_inotify = Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (m_inotify.value() < 0)
        return false;
    m_notifier = std::make_unique<QSocketNotifier>(m_inotify.value(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { readEvents(); });
    return true;
}

void FolderWatch::readEvents()
{
    alignas(inotify_event) std::array<char, 16'384> buffer;
    bool hasChanged = false;
    for (;;) {
        const ssize_t size = ::read(m_inotify.value(), buffer.data(), buffer.size());
        if (size <= 0)
            break;
        for (const char* next = buffer.data(); next < buffer.data() + size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(next);
            const QString name = QFile::decodeName(event->len > 0 ? event->name : "");
            hasChanged = hasChanged || matters(event->wd, event->mask, name);
            next += sizeof(inotify_event) + event->len;
        }
    }
    if (hasChanged && onChange)
        onChange();
}

bool FolderWatch::matters(int watch, unsigned mask, const QString& name) const
{
    if (mask & alwaysMatter)
        return true;
    if (const auto names = m_awaited.constFind(watch); names != m_awaited.cend())
        return names->contains(name);
    if (name.startsWith(u'.'))
        return false;
    return (mask & IN_ISDIR) || name.endsWith(m_suffix, Qt::CaseInsensitive);
}
