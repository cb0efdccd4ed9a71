#pragma once

#include "today/ShelfRow.h"

#include <QHash>
#include <QObject>
#include <QSize>
#include <QThreadPool>

#include <functional>

/// Makes the icons of the shelf's rows away from the main thread and remembers them.
class ShelfThumbnails : public QObject {
    Q_OBJECT

public:
    ShelfThumbnails();
    ~ShelfThumbnails() override;

    /// The icon of `item`, if it is at hand; else an empty one, and `onReady` is called later if
    /// there is any. `picture` is the item's picture file or empty; `size` is in device pixels.
    ShelfRowIcon icon(const ShelfItem& item, const QString& picture, QSize size);
    /// Forgets all but those of `items`.
    void keepOnly(const QList<ShelfItem>& items);

    std::function<void(const QUuid& id, const ShelfRowIcon& icon)> onReady;

private:
    QThreadPool m_pool;
    QHash<QUuid, ShelfRowIcon> m_icons;
};
