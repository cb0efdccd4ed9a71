#pragma once

#include "today/ShelfItem.h"

#include <QHash>
#include <QList>
#include <QString>

// The shelf's files. Everything here may take long and may run on any thread.

/// The list's file in a shelf's `directory`.
[[nodiscard]] QString shelfListFile(const QString& directory);

/// Writes `items` to the list's file in `directory`, which is made when missing. Failures go
/// unreported: the next change writes the list again.
void writeShelfItems(const QString& directory, const QList<ShelfItem>& items);

/// The pictures of a shelf as far as their contents are known: id to digest, which is empty where
/// the file has not been read yet.
using PictureDigests = QHash<QUuid, QByteArray>;

struct StoredPicture {
    QUuid id; // of the picture with these bytes; null when it could not be written
    bool isNew = false;
    PictureDigests digests; // what was learnt, the new one included
};

/// Finds `png` among the pictures `known` in `directory`, or writes it there under a new id. A
/// known picture that cannot be read counts as different.
[[nodiscard]] StoredPicture storePicture(const QString& directory, const QByteArray& png,
                                         const PictureDigests& known);

/// Removes from `directory` the pictures that none of `items` names and what an interrupted write
/// has left.
void removeStrayFiles(const QString& directory, const QList<ShelfItem>& items);

/// Puts a copy of `picture` with a friendly name into a folder that only the user can enter, for
/// the item `id` to be dragged. Gives its path, or an empty one.
[[nodiscard]] QString makeDragFile(const QString& picture, const QUuid& id);
/// Removes that folder.
void removeDragFile(const QUuid& id);
/// Removes all such folders of the user's.
void removeAllDragFiles();
