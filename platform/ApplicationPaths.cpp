#include "platform/ApplicationPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

ApplicationPaths ApplicationPaths::find(bool demo)
{
    const QString folder = demo ? u"/Gridwell-Demo"_s : u"/Gridwell"_s;
    const QDir prefix(QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(u".."_s));
    return {
        .supportDirectory
        = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + folder,
        .preferencesFile = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
            + folder + "/preferences.json"_L1,
        .resources = QDir::cleanPath(prefix.filePath(u"share/vexlo"_s)),
        .helpers = QDir::cleanPath(prefix.filePath(u"libexec/vexlo"_s)),
    };
}
