#include "characters/CustomCharacterFile.h"

#include "characters/CharacterCatalog.h"
#include "characters/JsonValues.h"
#include "characters/LivelyLoop.h"
#include "platform/Characters.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QUuid>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr auto characterFormat = "vexlo-character-1"_L1;
constexpr double shortestFrame = 0.08; // seconds
constexpr double longestFrame = 2.0;
constexpr qsizetype smallCanvas = 12;
const QString paletteLetters = u"ABCDEFGH"_s;
const QString fixedLetters = u".CWD"_s;

namespace Key {
constexpr auto categoryID = "categoryID"_L1;
constexpr auto color = "color"_L1;
constexpr auto exhaustedFrames = "exhaustedFrames"_L1;
constexpr auto faces = "faces"_L1;
constexpr auto format = "format"_L1;
constexpr auto frameDuration = "frameDuration"_L1;
constexpr auto frames = "frames"_L1;
constexpr auto id = "id"_L1;
constexpr auto livelyFrames = "livelyFrames"_L1;
constexpr auto lowPalette = "lowPalette"_L1;
constexpr auto motion = "motion"_L1;
constexpr auto name = "name"_L1;
constexpr auto palette = "palette"_L1;
constexpr auto tiredFrames = "tiredFrames"_L1;
} // namespace Key

class Texts {
    Q_DECLARE_TR_FUNCTIONS(CustomCharacterFile)
};

// --- Reading and writing ---

/// An optional member: false when it is there and of another type.
template<typename Value, typename Read>
bool readOptional(const QJsonObject& object, QLatin1StringView key, Read read,
                  std::optional<Value>& value)
{
    const QJsonValue member = object.value(key);
    value = isLeftOut(member) ? std::nullopt : read(member);
    return value || isLeftOut(member);
}

std::optional<QMap<QString, QString>> paletteIn(const QJsonValue& value)
{
    return mapIn<QString>(value, textIn);
}

QJsonArray jsonOf(const QList<PixelFrame>& frames)
{
    QJsonArray list;
    for (const PixelFrame& frame : frames)
        list.append(QJsonArray::fromStringList(frame));
    return list;
}

QJsonObject jsonOf(const QMap<QString, QString>& palette)
{
    QJsonObject object;
    for (auto entry = palette.begin(); entry != palette.end(); ++entry)
        object.insert(entry.key(), entry.value());
    return object;
}

// --- The rules ---

bool isColor(const QString& text)
{
    constexpr qsizetype length = 7;
    return text.size() == length && text.startsWith(u'#')
        && std::all_of(text.begin() + 1, text.end(), [](QChar letter) {
               return letter.unicode() < 0x80 && isxdigit(letter.unicode()) != 0;
           });
}

QString paletteFault(const std::optional<QMap<QString, QString>>& palette, QLatin1StringView key)
{
    if (!palette)
        return {};
    for (auto entry = palette->begin(); entry != palette->end(); ++entry) {
        if (entry.key().size() != 1 || !paletteLetters.contains(entry.key()))
            return Texts::tr("The letters of \"%1\" are A to H.").arg(key);
        if (!isColor(entry.value()))
            return Texts::tr("The colour of %1 in \"%2\" is # and six hexadecimal digits.")
                .arg(entry.key(), key);
    }
    return {};
}

/// One of the character's lists of frames, for the rules that hold for all.
struct FrameList {
    QLatin1StringView key;
    const QList<PixelFrame>* frames; // null when left out
};

QList<FrameList> frameLists(const CustomCharacterFile& character)
{
    const auto given = [](const auto& list) { return list ? &*list : nullptr; };
    return {{Key::frames, &character.frames},
            {Key::livelyFrames, given(character.livelyFrames)},
            {Key::tiredFrames, given(character.tiredFrames)},
            {Key::exhaustedFrames, given(character.exhaustedFrames)}};
}

QString countFault(const CustomCharacterFile& character)
{
    for (const FrameList& list : frameLists(character)) {
        if (list.frames
            && (list.frames->isEmpty() || list.frames->size() > CustomCharacterFile::mostFrames))
            return Texts::tr("\"%1\" holds 1 to %2 frames, not %3.")
                .arg(list.key)
                .arg(CustomCharacterFile::mostFrames)
                .arg(list.frames->size());
    }
    return {};
}

/// What `ruleFault` finds in the first row of any list that breaks its rule, with the place.
template<typename RowFault>
QString firstRowFault(const CustomCharacterFile& character, RowFault rowFault)
{
    for (const FrameList& list : frameLists(character)) {
        for (qsizetype frame = 0; list.frames && frame < list.frames->size(); ++frame) {
            const PixelFrame& rows = (*list.frames)[frame];
            for (qsizetype row = 0; row < rows.size(); ++row) {
                if (const QString fault = rowFault(rows[row]); !fault.isEmpty())
                    return Texts::tr("\"%1\", frame %2, row %3: %4")
                        .arg(list.key)
                        .arg(frame + 1)
                        .arg(row + 1)
                        .arg(fault);
            }
        }
    }
    return {};
}

QString canvasFault(const CustomCharacterFile& character)
{
    const qsizetype side = character.frames.first().size();
    if (side != smallCanvas && side != CustomCharacterFile::canvasSize)
        return Texts::tr("A frame has 12 or 24 rows; the first one has %1.").arg(side);
    for (const FrameList& list : frameLists(character)) {
        for (qsizetype frame = 0; list.frames && frame < list.frames->size(); ++frame) {
            if (const qsizetype rows = (*list.frames)[frame].size(); rows != side)
                return Texts::tr("\"%1\", frame %2 has %3 rows instead of %4.")
                    .arg(list.key)
                    .arg(frame + 1)
                    .arg(rows)
                    .arg(side);
        }
    }
    return firstRowFault(character, [side](const QString& row) {
        return row.size() == side
            ? QString()
            : Texts::tr("%1 letters instead of %2.").arg(row.size()).arg(side);
    });
}

QString letterFault(const CustomCharacterFile& character)
{
    const QString known = character.palette ? fixedLetters + paletteLetters : fixedLetters;
    return firstRowFault(character, [&known](const QString& row) {
        const auto stranger
            = std::ranges::find_if(row, [&known](QChar letter) { return !known.contains(letter); });
        return stranger == row.end()
            ? QString()
            : Texts::tr("the letter %1 is none of %2.").arg(*stranger).arg(known);
    });
}

QString identityFault(const CustomCharacterFile& character)
{
    if (character.format != characterFormat)
        return Texts::tr("\"format\" is not %1.").arg(characterFormat);
    if (!isUuid(character.id) && !CustomCharacterFile::builtInIDs().contains(character.id))
        return Texts::tr("\"id\" is neither a UUID nor a built-in character.");
    if (character.name.isEmpty()
        || firstCharacters(character.name, CustomCharacterFile::longestName) != character.name)
        return Texts::tr("\"name\" has 1 to %1 characters.").arg(CustomCharacterFile::longestName);
    if (!isColor(character.color))
        return Texts::tr("\"color\" is # and six hexadecimal digits.");
    if (character.categoryID && !CharacterCategoryFile::validID(*character.categoryID))
        return Texts::tr("\"categoryID\" is neither a category's id nor a UUID.");
    return {};
}

QString motionFault(const CustomCharacterFile& character)
{
    if (character.motion && !CustomCharacterFile::motions().contains(*character.motion))
        return Texts::tr("\"motion\" is one of %1.")
            .arg(CustomCharacterFile::motions().join(u", "_s));
    if (character.faces && !CustomCharacterFile::facings().contains(*character.faces))
        return Texts::tr("\"faces\" is one of %1.")
            .arg(CustomCharacterFile::facings().join(u", "_s));
    return {};
}

QString durationFault(const CustomCharacterFile& character)
{
    const double duration = character.frameDuration.value_or(shortestFrame);
    return duration >= shortestFrame && duration <= longestFrame // nor is it NaN
        ? QString()
        : Texts::tr("\"frameDuration\" is 0.08 to 2 seconds.");
}

QList<PixelFrame> expanded(const QList<PixelFrame>& frames)
{
    QList<PixelFrame> result;
    for (const PixelFrame& frame : frames)
        result.append(expandFrameTo24(frame));
    return result;
}

} // namespace

std::optional<CustomCharacterFile> CustomCharacterFile::fromJson(const QByteArray& data)
{
    const QJsonObject object = QJsonDocument::fromJson(data).object();
    const auto format = textIn(object.value(Key::format));
    const auto id = textIn(object.value(Key::id));
    const auto name = textIn(object.value(Key::name));
    const auto color = textIn(object.value(Key::color));
    const auto frames = framesIn(object.value(Key::frames));
    if (!format || !id || !name || !color || !frames)
        return std::nullopt;
    CustomCharacterFile character{
        .format = *format, .id = *id, .name = *name, .color = *color, .frames = *frames};
    const bool isGood = readOptional(object, Key::palette, paletteIn, character.palette)
        && readOptional(object, Key::lowPalette, paletteIn, character.lowPalette)
        && readOptional(object, Key::frameDuration, numberIn, character.frameDuration)
        && readOptional(object, Key::categoryID, textIn, character.categoryID)
        && readOptional(object, Key::livelyFrames, framesIn, character.livelyFrames)
        && readOptional(object, Key::tiredFrames, framesIn, character.tiredFrames)
        && readOptional(object, Key::exhaustedFrames, framesIn, character.exhaustedFrames)
        && readOptional(object, Key::motion, textIn, character.motion)
        && readOptional(object, Key::faces, textIn, character.faces);
    return isGood ? std::optional(character) : std::nullopt;
}

QByteArray CustomCharacterFile::toJson() const
{
    QJsonObject object{{Key::format, format},
                       {Key::id, id},
                       {Key::name, name},
                       {Key::color, color},
                       {Key::frames, jsonOf(frames)}};
    if (palette)
        object.insert(Key::palette, jsonOf(*palette));
    if (lowPalette)
        object.insert(Key::lowPalette, jsonOf(*lowPalette));
    if (frameDuration)
        object.insert(Key::frameDuration, *frameDuration);
    for (const auto& [key, text] :
         {std::pair(Key::categoryID, &categoryID), std::pair(Key::motion, &motion),
          std::pair(Key::faces, &faces)}) {
        if (*text)
            object.insert(key, **text);
    }
    for (const auto& [key, list] :
         {std::pair(Key::livelyFrames, &livelyFrames), std::pair(Key::tiredFrames, &tiredFrames),
          std::pair(Key::exhaustedFrames, &exhaustedFrames)}) {
        if (*list)
            object.insert(key, jsonOf(**list));
    }
    return QJsonDocument(object).toJson();
}

CustomCharacterFile CustomCharacterFile::blank()
{
    return {.format = characterFormat,
            .id = QUuid::createUuid().toString(QUuid::WithoutBraces),
            .name = Texts::tr("New character"),
            .color = u"#A97BFF"_s,
            .palette = QMap<QString, QString>(),
            .frames = {PixelFrame(canvasSize, QString(canvasSize, u'.'))}};
}

QString CustomCharacterFile::fault() const
{
    // In this order: each rule may rely on those before it.
    const auto rules = {
        identityFault,
        durationFault,
        countFault,
        motionFault,
        +[](const CustomCharacterFile& c) { return paletteFault(c.palette, Key::palette); },
        +[](const CustomCharacterFile& c) { return paletteFault(c.lowPalette, Key::lowPalette); },
        canvasFault,
        letterFault,
    };
    for (const auto rule : rules) {
        if (const QString found = rule(*this); !found.isEmpty())
            return found;
    }
    return {};
}

CustomCharacterFile CustomCharacterFile::expandedTo24() const
{
    CustomCharacterFile result = *this;
    if (frames.isEmpty() || frames.first().size() != smallCanvas)
        return result;
    result.frames = expanded(frames);
    for (std::optional<QList<PixelFrame>>* list :
         {&result.livelyFrames, &result.tiredFrames, &result.exhaustedFrames}) {
        if (*list)
            *list = expanded(**list);
    }
    return result;
}

CharacterArt CustomCharacterFile::art() const
{
    const CustomCharacterFile large = expandedTo24();
    const QString wantedMotion = motion.value_or(u"hop"_s);
    CharacterArt art{
        .color = color,
        .palette = palette.value_or(QMap<QString, QString>()),
        .lowPalette = lowPalette.value_or(QMap<QString, QString>()),
        .frames = large.frames,
        .tiredFrames = large.tiredFrames.value_or(QList<PixelFrame>()),
        .exhaustedFrames = large.exhaustedFrames.value_or(QList<PixelFrame>()),
        .frameDuration = frameDuration,
    };
    if (wantedMotion != "idle"_L1)
        art.livelyFrames = large.livelyFrames
            ? *large.livelyFrames
            : livelyLoop(large.frames, wantedMotion, faces.value_or(u"front"_s));
    return art;
}

const QStringList& CustomCharacterFile::motions()
{
    static const QStringList names{u"idle"_s,     u"hop"_s,       u"float"_s,     u"sway"_s,
                                   u"walkLeft"_s, u"walkRight"_s, u"driftLeft"_s, u"driftRight"_s,
                                   u"drop"_s,     u"launch"_s};
    return names;
}

const QStringList& CustomCharacterFile::facings()
{
    static const QStringList names{u"left"_s, u"right"_s, u"front"_s};
    return names;
}

const QStringList& CustomCharacterFile::builtInIDs()
{
    static const QStringList ids = [] {
        QStringList list;
        for (const CharacterCatalog::BuiltInGroup& group : CharacterCatalog::builtInGroups()) {
            for (const CharacterCatalog::BuiltInCharacter& character : group.characters)
                list.append(character.id);
        }
        return list;
    }();
    return ids;
}

PixelFrame expandFrameTo24(const PixelFrame& frame)
{
    PixelFrame result;
    for (const QString& row : frame) {
        QString wide;
        for (const QChar letter : row)
            wide.append(letter).append(letter);
        result << wide << wide;
    }
    return result;
}
