#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <sys/stat.h>

// Shorthands for the files that tests make and look at.

/// Writes `contents` to `path` with exactly `permissions`, in a folder that is made when missing.
/// Part of a test's set-up: stops it when that fails.
inline void writeFile(const QString& path, const QByteArray& contents, int permissions = 0600)
{
    QDir().mkpath(QFileInfo(path).path());
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

/// The names of everything in `folder`, sorted.
inline QStringList filesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::Hidden
                                  | QDir::NoDotAndDotDot);
}

/// The JSON object in `bytes`; an empty one when they hold anything else.
inline QJsonObject jsonObject(const QByteArray& bytes)
{
    return QJsonDocument::fromJson(bytes).object();
}
