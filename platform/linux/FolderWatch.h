#pragma once

#include "platform/Descriptor.h"

#include <QHash>
#include <QSet>
#include <QSocketNotifier>
#include <QString>

#include <functional>
#include <memory>

/// Tells when a file of one kind is written, moved or removed in one of many folders.
///
/// One watch for each folder is enough for files that are written over in place, too, where
/// QFileSystemWatcher would need one for each file. Without the system's help it tells nothing.
class FolderWatch {
public:
    /// `suffix` is the end of the files' names, in small letters.
    explicit FolderWatch(QString suffix);

    /// Watches exactly `folders`, each without the folders in it, and for those of `missing` to
    /// appear. Folders that cannot be watched are left out. True when a folder is new to it: what
    /// was done there until now may have been missed.
    bool watch(const QSet<QString>& folders, const QStringList& missing);

    /// Called once for all that is known to have changed.
    std::function<void()> onChange;

private:
    using Names = QSet<QString>;
    void readEvents();
    [[nodiscard]] bool matters(int watch, unsigned mask, const QString& name) const;
    [[nodiscard]] bool ensureOpen();

    QString m_suffix;
    Descriptor m_inotify;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QHash<QString, int> m_watches; // by folder
    QHash<int, Names> m_awaited; // names that matter, where the others do not
};
