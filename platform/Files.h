#pragma once

#include "platform/Descriptor.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>

/// What became of an attempt to read a file.
enum class ReadStatus {
    read,
    missing,
    unfit, // a folder, pipe or device, or larger than the limit
    denied, // the system refuses to let us read it
    failed, // it may work another time
};

struct ReadResult {
    ReadStatus status = ReadStatus::missing;
    QByteArray contents; // empty unless `status` is `read`
};

/// Reads the whole file at `path` when it is a regular file of at most `limit` bytes.
/// Never waits: a pipe without a writer is `unfit`, not a hang.
[[nodiscard]] ReadResult readFile(const QString& path, qint64 limit = 64LL << 20);

enum class ReplaceStatus {
    replaced,
    notWritten, // the new contents could not be written; nothing has changed
    notRenamed, // they could not take the old file's place; nothing has changed
    notWanted, // any more, as `isStillWanted` says; nothing has changed
};

struct ReplaceOptions {
    int permissions = 0600; // of the new file, whatever the umask
    QString temporaryPrefix = QStringLiteral(".vexlo-"); // followed by a UUID and ".tmp"
    bool durable = true; // on the disk before the rename: a power cut keeps the old or the new
    std::function<bool()> isStillWanted; // asked right before the rename; may be empty
};

/// Writes `contents` to a new file beside `path` and renames it over `path` in one step.
///
/// Readers, and a crash at any moment, meet the old or the new contents and nothing else. The
/// folder must exist. A symbolic link stays one: the file that it names is replaced.
[[nodiscard]] ReplaceStatus replaceFile(const QString& path, const QByteArray& contents,
                                        const ReplaceOptions& options = {});

/// The file that `path` names once every symbolic link at its end is followed, also when that file
/// does not exist yet. A circle of links gives `path` itself.
[[nodiscard]] QString linkTarget(const QString& path);

/// Creates `path` and what is missing above it, with permissions 0700. False when it is no folder
/// afterwards. A folder that is there keeps its permissions.
bool makePrivateFolder(const QString& path);

/// Keeps other processes that ask for the same folder's lock out while it lives. The system lets go
/// of it when a process ends, however that happens.
class FolderLock {
public:
    /// Waits up to `patience` for the lock on the existing folder `path`.
    explicit FolderLock(const QString& path,
                        std::chrono::milliseconds patience = std::chrono::milliseconds(1500));
    [[nodiscard]] bool isHeld() const { return m_held; }

private:
    Descriptor m_folder; // closing it lets go of the lock
    bool m_held = false;
};
