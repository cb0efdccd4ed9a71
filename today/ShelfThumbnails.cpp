#include "today/ShelfThumbnails.h"

#include "today/ShelfPictures.h"

#include <QFileInfo>
#include <QMimeDatabase>
#include <QtConcurrent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int workerRest = 2000; // milliseconds before its thread ends

/// What the worker finds out: a thumbnail, or the names of the desktop's icons, the best first.
struct Found {
    QImage thumbnail;
    QStringList iconNames;
};

bool isPictureName(const QString& path)
{
    static const QStringList endings{u"png"_s, u"jpg"_s,  u"jpeg"_s, u"heic"_s, u"gif"_s,
                                     u"tif"_s, u"tiff"_s, u"webp"_s, u"bmp"_s};
    return endings.contains(QFileInfo(path).suffix().toLower());
}

Found find(const ShelfItem& item, const QString& picture, QSize size)
{
    Found found;
    const QString file = item.kind == ShelfItemKind::file ? item.value : picture;
    if (item.kind == ShelfItemKind::image || isPictureName(file))
        found.thumbnail = pictureThumbnail(file, size);
    if (item.kind == ShelfItemKind::file && found.thumbnail.isNull()) {
        const QMimeType type = QMimeDatabase().mimeTypeForFile(file, QMimeDatabase::MatchExtension);
        found.iconNames = {type.iconName(), type.genericIconName(), u"text-x-generic"_s};
    }
    return found;
}

QIcon themeIcon(const QStringList& names)
{
    const auto known = std::ranges::find_if(
        names, [](const QString& name) { return QIcon::hasThemeIcon(name); });
    return known == names.end() ? QIcon() : QIcon::fromTheme(*known);
}

} // namespace

ShelfThumbnails::ShelfThumbnails()
{
    m_pool.setMaxThreadCount(1);
    m_pool.setExpiryTimeout(workerRest);
}

ShelfThumbnails::~ShelfThumbnails()
{
    m_pool.clear();
    m_pool.waitForDone();
}

ShelfRowIcon ShelfThumbnails::icon(const ShelfItem& item, const QString& picture, QSize size)
{
    const auto known = m_icons.constFind(item.id);
    if (known != m_icons.cend() || item.kind == ShelfItemKind::text)
        return known == m_icons.cend() ? ShelfRowIcon() : *known;
    m_icons.insert(item.id, {}); // on its way
    QtConcurrent::run(&m_pool, find, item, picture, size)
        .then(this, [this, id = item.id](const Found& found) {
            const ShelfRowIcon icon{.thumbnail = found.thumbnail,
                                    .icon = themeIcon(found.iconNames)};
            if (!m_icons.contains(id) || icon.isEmpty())
                return;
            m_icons.insert(id, icon);
            onReady(id, icon);
        });
    return {};
}

void ShelfThumbnails::keepOnly(const QList<ShelfItem>& items)
{
    m_icons.removeIf([&items](const auto& icon) {
        return std::ranges::find(items, icon.key(), &ShelfItem::id) == items.end();
    });
}
