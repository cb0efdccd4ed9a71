#pragma once

#include "characters/PixelFrame.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QMap>

// Readers of one value each: absent means that the value is missing or of another type.

[[nodiscard]] inline std::optional<QString> textIn(const QJsonValue& value)
{
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

[[nodiscard]] inline std::optional<double> numberIn(const QJsonValue& value)
{
    return value.isDouble() ? std::optional(value.toDouble()) : std::nullopt;
}

/// Whether an optional member was left out. One of another type was not.
[[nodiscard]] inline bool isLeftOut(const QJsonValue& value)
{
    return value.isUndefined() || value.isNull();
}

template<typename Item, typename Read>
[[nodiscard]] std::optional<QList<Item>> listIn(const QJsonValue& value, Read read)
{
    if (!value.isArray())
        return std::nullopt;
    QList<Item> items;
    for (const QJsonValue& element : value.toArray()) {
        std::optional<Item> item = read(element);
        if (!item)
            return std::nullopt;
        items.append(std::move(*item));
    }
    return items;
}

template<typename Item, typename Read>
[[nodiscard]] std::optional<QMap<QString, Item>> mapIn(const QJsonValue& value, Read read)
{
    if (!value.isObject())
        return std::nullopt;
    QMap<QString, Item> items;
    const QJsonObject object = value.toObject();
    for (auto member = object.begin(); member != object.end(); ++member) {
        std::optional<Item> item = read(member.value());
        if (!item)
            return std::nullopt;
        items.insert(member.key(), std::move(*item));
    }
    return items;
}

[[nodiscard]] inline std::optional<QList<PixelFrame>> framesIn(const QJsonValue& value)
{
    return listIn<PixelFrame>(
        value, [](const QJsonValue& frame) { return listIn<QString>(frame, textIn); });
}
