#include "today/ShelfFiles.h"

#include "platform/Files.h"
#include "today/ShelfPictures.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr auto dragFolderPrefix = "VexloDrag-"_L1;
constexpr auto dragFileName = "Vexlo Image.png"_L1;
constexpr auto temporaryPrefix = ".vexlo-"_L1; // of what `replaceFile` has not finished

QByteArray digestOf(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

bool prepareDirectory(const QString& directory)
{
    return makePrivateFolder(directory)
        && ::chmod(QFile::encodeName(directory).constData(), 0700) == 0;
}

QString pictureFile(const QString& directory, const QUuid& id)
{
    return directory + u'/' + shelfPictureName(id);
}

QString dragFolder(const QUuid& id)
{
    return QDir::tempPath() + u'/' + dragFolderPrefix + shelfIdText(id);
}

/// Whether `folder` is one of ours and not a link to a place of somebody else's choice.
bool isOwnFolder(const QString& folder)
{
    struct stat status { };
    return ::lstat(QFile::encodeName(folder).constData(), &status) == 0 && S_ISDIR(status.st_mode)
        && status.st_uid == ::geteuid();
}

void removeDragFolder(const QString& folder)
{
    if (!isOwnFolder(folder))
        return;
    QFile::remove(folder + u'/' + dragFileName);
    QDir().rmdir(folder);
}

} // namespace

QString shelfListFile(const QString& directory)
{
    return directory + "/items.json"_L1;
}

void writeShelfItems(const QString& directory, const QList<ShelfItem>& items)
{
    if (prepareDirectory(directory))
        (void)replaceFile(shelfListFile(directory), shelfItemsData(items));
}

StoredPicture storePicture(const QString& directory, const QByteArray& png,
                           const PictureDigests& known)
{
    StoredPicture stored{.digests = known};
    const QByteArray digest = digestOf(png);
    for (auto [id, knownDigest] : stored.digests.asKeyValueRange()) {
        const QString file = pictureFile(directory, id);
        if (QFileInfo(file).size() != png.size()
            || (!knownDigest.isEmpty() && knownDigest != digest))
            continue;
        const ReadResult other = readFile(file, largestPicture);
        if (other.status != ReadStatus::read)
            continue;
        knownDigest = digestOf(other.contents);
        if (other.contents == png) {
            stored.id = id;
            return stored;
        }
    }
    const QUuid id = QUuid::createUuid();
    if (prepareDirectory(directory)
        && replaceFile(pictureFile(directory, id), png) == ReplaceStatus::replaced) {
        stored.id = id;
        stored.isNew = true;
        stored.digests.insert(id, digest);
    }
    return stored;
}

void removeStrayFiles(const QString& directory, const QList<ShelfItem>& items)
{
    const QStringList names = QDir(directory).entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& name : names) {
        const QUuid id(name.chopped(std::min<qsizetype>(name.size(), 4)));
        const bool isStrayPicture = !id.isNull() && name == shelfPictureName(id)
            && std::ranges::find(items, id, &ShelfItem::id) == items.end();
        if (isStrayPicture || (name.startsWith(temporaryPrefix) && name.endsWith(".tmp"_L1)))
            QFile::remove(directory + u'/' + name);
    }
}

QString makeDragFile(const QString& picture, const QUuid& id)
{
    const QString folder = dragFolder(id);
    const QString file = folder + u'/' + dragFileName;
    removeDragFolder(folder);
    if (::mkdir(QFile::encodeName(folder).constData(), 0700) != 0 || !QFile::copy(picture, file))
        return {};
    return file;
}

void removeDragFile(const QUuid& id)
{
    removeDragFolder(dragFolder(id));
}

void removeAllDragFiles()
{
    const QDir temporary(QDir::tempPath());
    const QStringList folders = temporary.entryList(QDir::Dirs);
    for (const QString& name : folders) {
        const QUuid id(name.mid(dragFolderPrefix.size()));
        if (!id.isNull() && name == dragFolderPrefix + shelfIdText(id))
            removeDragFolder(temporary.filePath(name));
    }
}
