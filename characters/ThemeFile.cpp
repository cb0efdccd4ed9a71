#include "characters/ThemeFile.h"

#include "characters/JsonValues.h"
#include "platform/ApplicationPaths.h"
#include "platform/Files.h"

#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 largestTheme = 256 << 10;

namespace Key {
constexpr auto active = "active"_L1;
constexpr auto characters = "characters"_L1;
constexpr auto color = "color"_L1;
constexpr auto frameDuration = "frameDuration"_L1;
constexpr auto frames = "frames"_L1;
constexpr auto id = "id"_L1;
constexpr auto idle = "idle"_L1;
constexpr auto mascotColor = "mascotColor"_L1;
constexpr auto menu = "menu"_L1;
constexpr auto name = "name"_L1;
constexpr auto palette = "palette"_L1;
constexpr auto tired = "tired"_L1;
} // namespace Key

std::optional<ThemeMenu> menuIn(const QJsonValue& value)
{
    const QJsonObject object = value.toObject(); // one of another type has no members
    const auto active = framesIn(object.value(Key::active));
    const auto idle = framesIn(object.value(Key::idle));
    const QJsonValue tiredValue = object.value(Key::tired);
    const auto tired = isLeftOut(tiredValue) ? QList<PixelFrame>() : framesIn(tiredValue);
    if (!active || !tired || !idle)
        return std::nullopt;
    return ThemeMenu{.active = *active, .tired = *tired, .idle = *idle};
}

std::optional<ThemeCharacter> characterIn(const QJsonValue& value)
{
    const QJsonObject object = value.toObject();
    const auto color = textIn(object.value(Key::color));
    const auto frames = framesIn(object.value(Key::frames));
    const QJsonValue paletteValue = object.value(Key::palette);
    const auto palette
        = isLeftOut(paletteValue) ? QMap<QString, QString>() : mapIn<QString>(paletteValue, textIn);
    const QJsonValue durationValue = object.value(Key::frameDuration);
    const auto duration = numberIn(durationValue);
    if (!color || !frames || !palette || (!duration && !isLeftOut(durationValue)))
        return std::nullopt;
    return ThemeCharacter{
        .color = *color, .frames = *frames, .palette = *palette, .frameDuration = duration};
}

/// Whether `id` stays one name within its folder when it becomes part of a path.
bool isOneName(const QString& id)
{
    return !id.isEmpty() && !id.startsWith(u'.')
        && std::none_of(id.begin(), id.end(), [](QChar letter) {
               return letter == u'/' || letter == u'\\' || letter.unicode() < u' ';
           });
}

} // namespace

std::optional<PixelTheme> themeFromJson(const QByteArray& data)
{
    const QJsonObject object = QJsonDocument::fromJson(data).object();
    const auto id = textIn(object.value(Key::id));
    const auto name = textIn(object.value(Key::name));
    const auto mascotColor = textIn(object.value(Key::mascotColor));
    const auto menu = menuIn(object.value(Key::menu));
    const auto characters = mapIn<ThemeCharacter>(object.value(Key::characters), characterIn);
    if (!id || !name || !mascotColor || !menu || !characters)
        return std::nullopt;
    return PixelTheme{.id = *id,
                      .name = *name,
                      .mascotColor = *mascotColor,
                      .menu = *menu,
                      .characters = *characters};
}

std::optional<PixelTheme> readTheme(const QString& root, const QString& folderId)
{
    if (!isOneName(folderId))
        return std::nullopt;
    const QString path = root + u'/' + folderId + u".theme/theme.json"_s;
    const std::optional<PixelTheme> theme = themeFromJson(readFile(path, largestTheme).contents);
    return theme && theme->isValid() ? theme : std::nullopt;
}

QStringList themeRoots(const ApplicationPaths& paths)
{
    QStringList roots{paths.supportDirectory + u"/Themes"_s};
    if (!paths.resources.isEmpty())
        roots.append(paths.resources + u"/Themes"_s);
    return roots;
}
