#pragma once

#include "platform/Date.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUuid>

#include <limits>

enum class ShelfItemKind { text, image, file };

/// One kept copy.
struct ShelfItem {
    QUuid id; // also names the picture file of an image
    ShelfItemKind kind = ShelfItemKind::text;
    /// The text as it was copied, the name of the picture's file, or the path of the copied file.
    QString value;
    Date createdAt; // when it was copied, or last copied again

    /// What stands for it in a list: the text's first line that is not empty, "Image", or the
    /// file's name. Of a line that is longer than `longest` UTF-16 units only so many.
    [[nodiscard]] QString title(qsizetype longest = std::numeric_limits<qsizetype>::max()) const;

    bool operator==(const ShelfItem&) const = default;
};

/// `id` as it stands in file names: 36 characters, upper case.
[[nodiscard]] QString shelfIdText(const QUuid& id);

/// The name of the picture file of the item `id`.
[[nodiscard]] QString shelfPictureName(const QUuid& id);

/// Reads a shelf's list, newest first. Never fails: what is no item, and a second one with the same
/// id, is passed over, and so is all that follows the first `most` items.
[[nodiscard]] QList<ShelfItem> shelfItems(const QByteArray& data, qsizetype most);

/// The bytes that `shelfItems` reads.
[[nodiscard]] QByteArray shelfItemsData(const QList<ShelfItem>& items);
