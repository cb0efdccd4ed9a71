#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <sys/stat.h>

// Shorthands for the files that tests make and look at.

/// Writes `contents` to `path` with exactly `permissions`. Part of a test's set-up: stops it when
/// that fails.
inline void writeFile(const QString& path, const QByteArray& contents, int permissions = 0600)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || file.write(contents) != contents.size())
        qFatal("cannot write %s", qPrintable(path));
    file.close();
    ::chmod(QFile::encodeName(path).constData(), mode_t(permissions));
}

/// The contents of `path`; a null array when it cannot be read.
inline QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The permission bits of `path`, -1 when it is not there.
inline int permissionsOf(const QString& path)
{
    struct stat status { };
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? int(status.st_mode & 07777)
                                                                     : -1;
}
