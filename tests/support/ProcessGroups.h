#pragma once

#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/types.h>

/// Whether a process of `group` is running. One that has ended and waits for init to take note of
/// it is not.
inline bool groupIsAlive(pid_t group)
{
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString& entry : entries) {
        QFile file(QStringLiteral("/proc/") + entry + QStringLiteral("/stat"));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        // "number (name) state parent group …", where the name may hold anything.
        const QByteArray line = file.readAll();
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 2 && fields[2].toInt() == group && fields[0] != "Z" && fields[0] != "X")
            return true;
    }
    return false;
}

/// Whether nothing of `group` is left. Processes that have been killed take a moment to go on a
/// busy machine.
inline bool groupIsGone(pid_t group)
{
    return QTest::qWaitFor([group] { return !groupIsAlive(group); });
}
