#include "today/ShelfItem.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class Texts {
    Q_DECLARE_TR_FUNCTIONS(ShelfItem)
};

namespace Key {
constexpr auto id = "id"_L1;
constexpr auto kind = "kind"_L1;
constexpr auto value = "value"_L1;
constexpr auto createdAt = "createdAt"_L1;
} // namespace Key

constexpr std::array<std::pair<ShelfItemKind, QLatin1StringView>, 3> kindNames{{
    {ShelfItemKind::text, "text"_L1},
    {ShelfItemKind::image, "image"_L1},
    {ShelfItemKind::file, "file"_L1},
}};

constexpr Date fileEpoch{978'307'200s}; // 2001-01-01 UTC
constexpr double mostSeconds = 1e11; // from the epoch, either way: some three thousand years

std::optional<QUuid> idAt(const QJsonObject& object)
{
    const QString text = object.value(Key::id).toString();
    const QUuid id(text);
    if (id.isNull() || shelfIdText(id) != text.toUpper())
        return std::nullopt;
    return id;
}

std::optional<ShelfItemKind> kindAt(const QJsonObject& object)
{
    const QString name = object.value(Key::kind).toString();
    const auto known
        = std::ranges::find(kindNames, name, [](const auto& kind) { return kind.second; });
    return known == kindNames.end() ? std::nullopt : std::optional(known->first);
}

std::optional<Date> dateAt(const QJsonObject& object)
{
    const QJsonValue seconds = object.value(Key::createdAt);
    if (!seconds.isDouble() || std::abs(seconds.toDouble()) > mostSeconds)
        return std::nullopt;
    return fileEpoch + std::chrono::milliseconds(std::llround(seconds.toDouble() * 1000));
}

std::optional<ShelfItem> itemIn(const QJsonObject& object)
{
    const std::optional<QUuid> id = idAt(object);
    const std::optional<ShelfItemKind> kind = kindAt(object);
    const std::optional<Date> createdAt = dateAt(object);
    const QString value = object.value(Key::value).toString();
    if (!id || !kind || !createdAt || value.isEmpty())
        return std::nullopt;
    // A picture lies in the shelf's own folder and nowhere else.
    if (*kind == ShelfItemKind::image && value.toUpper() != shelfPictureName(*id).toUpper())
        return std::nullopt;
    return ShelfItem{.id = *id, .kind = *kind, .value = value, .createdAt = *createdAt};
}

bool endsLine(QChar character)
{
    const char16_t code = character.unicode();
    return (code >= u'\n' && code <= u'\r') || code == 0x85 || code == 0x2028 || code == 0x2029;
}

QString firstLine(const QString& text, qsizetype longest)
{
    const auto start = std::ranges::find_if_not(text, endsLine);
    const auto furthest = start + std::min<qsizetype>(longest, text.end() - start);
    const auto end = std::find_if(start, furthest, endsLine);
    return QString(start, end - start);
}

} // namespace

QString ShelfItem::title(qsizetype longest) const
{
    if (kind == ShelfItemKind::image)
        return Texts::tr("Image");
    if (kind == ShelfItemKind::file)
        return QFileInfo(value).fileName();
    const QString line = firstLine(value, longest);
    return line.isEmpty() ? Texts::tr("Text") : line;
}

QString shelfIdText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QString shelfPictureName(const QUuid& id)
{
    return shelfIdText(id) + ".png"_L1;
}

QList<ShelfItem> shelfItems(const QByteArray& data, qsizetype most)
{
    QList<ShelfItem> items;
    const QJsonArray array = QJsonDocument::fromJson(data).array();
    for (const QJsonValue& value : array) {
        const std::optional<ShelfItem> item = itemIn(value.toObject());
        if (!item || std::ranges::find(items, item->id, &ShelfItem::id) != items.end())
            continue;
        items.append(*item);
        if (items.size() == most)
            break;
    }
    return items;
}

QByteArray shelfItemsData(const QList<ShelfItem>& items)
{
    QJsonArray array;
    for (const ShelfItem& item : items) {
        const auto kind = std::ranges::find(kindNames, item.kind,
                                            [](const auto& known) { return known.first; });
        array.append(QJsonObject{
            {Key::id, shelfIdText(item.id)},
            {Key::kind, kind->second},
            {Key::value, item.value},
            {Key::createdAt, static_cast<double>((item.createdAt - fileEpoch).count()) / 1000.0},
        });
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}
