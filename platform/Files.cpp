#include "platform/Files.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

std::filesystem::path nativePath(const QString& path)
{
    return {QFile::encodeName(path).toStdString()};
}

bool writeAll(int descriptor, const QByteArray& contents)
{
    qsizetype written = 0;
    while (written < contents.size()) {
        const ssize_t count = ::write(descriptor, contents.constData() + written,
                                      size_t(contents.size() - written));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        written += count;
    }
    return true;
}

/// Creates `path`, which must be new, with exactly `permissions`, and fills it.
bool writeNewFile(const QByteArray& path, const QByteArray& contents, const ReplaceOptions& options)
{
    const Descriptor file(::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                                 options.permissions & 0700));
    if (!file.isOpen())
        return false;
    // The umask may have taken bits away. The wider ones come last, when the contents are there.
    return writeAll(file.value(), contents)
        && ::fchmod(file.value(), mode_t(options.permissions)) == 0
        && (!options.durable || ::fsync(file.value()) == 0);
}

} // namespace

ReadResult readFile(const QString& path, qint64 limit)
{
    const Descriptor file(
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.isOpen()) {
        if (errno == ENOENT || errno == ENOTDIR)
            return {.status = ReadStatus::missing};
        if (errno == EACCES || errno == EPERM || errno == ELOOP)
            return {.status = ReadStatus::denied};
        if (errno == ENXIO || errno == ENODEV)
            return {.status = ReadStatus::unfit};
        return {.status = ReadStatus::failed};
    }
    struct stat status { };
    if (::fstat(file.value(), &status) != 0)
        return {.status = ReadStatus::failed};
    if (!S_ISREG(status.st_mode) || status.st_size > limit)
        return {.status = ReadStatus::unfit};

    // The size is only a hint: the file may grow while it is read, and some know no size at all.
    QByteArray contents;
    constexpr qsizetype step = 64 << 10;
    while (contents.size() <= limit) {
        const qsizetype before = contents.size();
        contents.resize(before + std::max<qsizetype>(step, qsizetype(status.st_size) - before + 1));
        const ssize_t count
            = ::read(file.value(), contents.data() + before, size_t(contents.size() - before));
        contents.resize(before + std::max<ssize_t>(count, 0));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return {.status = ReadStatus::failed};
        if (count == 0)
            return {.status = ReadStatus::read, .contents = contents};
    }
    return {.status = ReadStatus::unfit};
}

ReplaceStatus replaceFile(const QString& path, const QByteArray& contents,
                          const ReplaceOptions& options)
{
    const QString target = linkTarget(path);
    const QString folder = QFileInfo(target).path();
    const QString unique = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    const QByteArray temporary
        = QFile::encodeName(folder + u'/' + options.temporaryPrefix + unique + u".tmp"_s);
    if (!writeNewFile(temporary, contents, options)) {
        ::unlink(temporary.constData());
        return ReplaceStatus::notWritten;
    }
    if (options.isStillWanted && !options.isStillWanted()) {
        ::unlink(temporary.constData());
        return ReplaceStatus::notWanted;
    }
    if (::rename(temporary.constData(), QFile::encodeName(target).constData()) != 0) {
        ::unlink(temporary.constData());
        return ReplaceStatus::notRenamed;
    }
    if (options.durable) {
        // The rename itself; without this a power cut may bring the old file back, which is
        // allowed.
        const Descriptor directory(
            ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (directory.isOpen())
            ::fsync(directory.value());
    }
    return ReplaceStatus::replaced;
}

QString linkTarget(const QString& path)
{
    constexpr int mostLinks = 40; // as the kernel
    std::error_code error;
    std::filesystem::path current = nativePath(path);
    for (int links = 0; links < mostLinks; ++links) {
        if (!std::filesystem::is_symlink(current, error))
            return QFile::decodeName(QByteArray::fromStdString(current.string()));
        const std::filesystem::path next = std::filesystem::read_symlink(current, error);
        if (error)
            break;
        current = next.is_absolute() ? next : current.parent_path() / next;
    }
    return path;
}

bool makePrivateFolder(const QString& path)
{
    const QDir folder(path);
    if (folder.exists())
        return true;
    const QString above = QFileInfo(path).path();
    if (above == path || !makePrivateFolder(above))
        return false;
    return ::mkdir(QFile::encodeName(path).constData(), 0700) == 0 || folder.exists();
}

FolderLock::FolderLock(const QString& path, std::chrono::milliseconds patience)
    : m_folder(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    using namespace std::chrono_literals;
    if (!m_folder.isOpen())
        return;
    const QDeadlineTimer deadline(patience);
    while (!(m_held = ::flock(m_folder.value(), LOCK_EX | LOCK_NB) == 0)) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || deadline.hasExpired())
            return;
        std::this_thread::sleep_for(2ms);
    }
}
