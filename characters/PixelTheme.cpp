#include "characters/PixelTheme.h"

#include "characters/PixelColor.h"
#include "characters/ThemeFile.h"
#include "platform/PreferenceStore.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

const QString originalTheme = u"original"_s;
const QString defaultCharacter = u"default"_s;
const QString menuSlot = u"menu"_s;

constexpr double usualFrameDuration = 0.5; // seconds
constexpr double livelyFrameDuration = 0.12;
constexpr double shortestFrame = 0.08;
constexpr double longestFrame = 2.0;
constexpr qsizetype largestSide = 12; // of a theme's frame, in letters

// A calm character breathes: of every `breathSteps`, some show the second frame.
constexpr qint64 breathSteps = 8;
constexpr qint64 breathFirst = 2;
constexpr qint64 breathLast = 4;
constexpr qint64 blinkSteps = 16; // the last of so many is a blink

bool isValidFrame(const PixelFrame& frame, const QMap<QString, QString>& palette)
{
    if (frame.isEmpty() || frame.size() > largestSide)
        return false;
    const qsizetype columns = frame.first().size();
    const auto isKnown = [&](QChar letter) {
        return u".CWD"_s.contains(letter) || palette.contains(QString(letter));
    };
    return columns >= 1 && columns <= largestSide
        && std::all_of(frame.begin(), frame.end(), [&](const QString& row) {
               return row.size() == columns && std::all_of(row.begin(), row.end(), isKnown);
           });
}

bool areValidFrames(const QList<PixelFrame>& frames, qsizetype fewest,
                    const QMap<QString, QString>& palette = {})
{
    return frames.size() >= fewest
        && std::all_of(frames.begin(), frames.end(),
                       [&](const PixelFrame& frame) { return isValidFrame(frame, palette); });
}

bool isValidCharacter(const ThemeCharacter& character)
{
    const double duration = character.frameDuration.value_or(usualFrameDuration);
    return duration >= shortestFrame && duration <= longestFrame // nor is it NaN
        && areValidFrames(character.frames, 1, character.palette);
}

PixelPalette parsedPalette(const QMap<QString, QString>& colors)
{
    PixelPalette palette;
    for (auto entry = colors.begin(); entry != colors.end(); ++entry) {
        if (entry.key().size() == 1)
            palette.insert(entry.key().front(), hex(entry.value()));
    }
    return palette;
}

/// `frame` with its eyes closed.
PixelFrame blinking(PixelFrame frame)
{
    for (qsizetype row = 0; row * 2 < frame.size(); ++row)
        frame[row].replace(u'W', u'C');
    return frame;
}

PixelFrame calmRows(const QList<PixelFrame>& frames, qint64 phase)
{
    const qint64 breath = wrapped(phase, breathSteps);
    if (breath >= breathFirst && breath <= breathLast && frames.size() >= 2)
        return frames[1];
    return wrapped(phase, blinkSteps) == blinkSteps - 1 ? blinking(frames.first()) : frames.first();
}

std::optional<CharacterArt> artOf(const PixelTheme& theme, const QString& id)
{
    return theme.findArt ? theme.findArt(id) : std::nullopt;
}

bool playsLoop(const std::optional<CharacterArt>& art, bool lively)
{
    return lively && art && !art->livelyFrames.isEmpty();
}

ThemeCharacter playedCharacter(const CharacterArt& art, bool loop)
{
    return {.color = art.color,
            .frames = loop ? art.livelyFrames : art.frames,
            .palette = art.palette,
            .frameDuration = loop ? livelyFrameDuration : art.frameDuration};
}

std::optional<PixelTheme> firstTheme(const QStringList& roots, const QString& folderId, bool sameId)
{
    for (const QString& root : roots) {
        const std::optional<PixelTheme> theme = readTheme(root, folderId);
        if (theme && (!sameId || theme->id == folderId))
            return theme;
    }
    return std::nullopt;
}

} // namespace

const QHash<QString, QString>& serviceCardColors()
{
    static const QHash<QString, QString> colors{
        {u"cursor"_s, u"#8A93A6"_s},   {u"antigravity"_s, u"#4285F4"_s},
        {u"copilot"_s, u"#8957E5"_s},  {u"devin"_s, u"#2BA3C4"_s},
        {u"grok"_s, u"#9AA0A6"_s},     {u"calendar"_s, u"#E8574B"_s},
        {u"notes"_s, u"#E0A030"_s},    {u"ollama"_s, u"#A7A7B0"_s},
        {u"opencode"_s, u"#2BD17E"_s}, {u"openrouter"_s, u"#6467F2"_s},
        {u"zai"_s, u"#8A93B4"_s},
    };
    return colors;
}

PixelTheme PixelTheme::loadSelected(const PreferenceStore& preferences, const QStringList& roots,
                                    CharacterLookup findArt)
{
    const QString wanted = preferences.text(u"selectedTheme"_s).value_or(originalTheme);
    std::optional<PixelTheme> found = firstTheme(roots, wanted, true);
    if (!found)
        found = firstTheme(roots, originalTheme, false);
    PixelTheme theme = found.value_or(fallback());
    theme.choices = CharacterChoices::saved(preferences);
    theme.findArt = std::move(findArt);
    return theme;
}

PixelTheme PixelTheme::fallback()
{
    const PixelFrame sprite{u"CCCC"_s, u"CWWC"_s, u"CWWC"_s, u"CCCC"_s};
    return {.id = u"fallback"_s,
            .name = u"Fallback"_s,
            .mascotColor = u"#A97BFF"_s,
            .menu = {.active = {sprite}, .idle = {sprite}}};
}

bool PixelTheme::isValid() const
{
    return !id.isEmpty() && areValidFrames(menu.active, 2) && areValidFrames(menu.tired, 0)
        && areValidFrames(menu.idle, 1) && characters.contains(defaultCharacter)
        && std::all_of(characters.begin(), characters.end(), isValidCharacter);
}

ThemeCharacter PixelTheme::rawCharacter(const QString& character, bool lively) const
{
    if (const std::optional<CharacterArt> art = artOf(*this, character))
        return playedCharacter(*art, playsLoop(art, lively));
    for (const QString& key : {character, defaultCharacter}) {
        if (const auto entry = characters.constFind(key); entry != characters.cend())
            return *entry;
    }
    return {.color = mascotColor, .frames = menu.active};
}

PixelPalette PixelTheme::characterPalette(const QString& character) const
{
    return parsedPalette(rawCharacter(character, false).palette);
}

QColor PixelTheme::characterColor(const QString& slot) const
{
    const QString mode = choices.colorModes.value(slot);
    if (mode == "theme"_L1)
        return color(slot);
    if (mode == "custom"_L1 && choices.customColors.contains(slot))
        return choices.customColors.value(slot);
    return hex(rawCharacter(choices.character(slot), false).color);
}

QColor PixelTheme::color(const QString& key) const
{
    if (const auto chosen = choices.palette.constFind(key); chosen != choices.palette.cend())
        return *chosen;
    if (const auto entry = characters.constFind(key); entry != characters.cend())
        return hex(entry->color);
    if (const auto card = serviceCardColors().constFind(key); card != serviceCardColors().cend())
        return hex(*card);
    return hex(rawCharacter(key, false).color);
}

PixelFrame PixelTheme::characterRows(const QString& character, qint64 phase, bool lively) const
{
    const QList<PixelFrame> frames = rawCharacter(character, lively).frames;
    if (frames.isEmpty())
        return {};
    const bool isCalm = !playsLoop(artOf(*this, character), lively);
    return isCalm && id == originalTheme ? calmRows(frames, phase)
                                         : frames[wrapped(phase, frames.size())];
}

qint64 PixelTheme::frameIndex(const QString& character, double seconds, bool lively) const
{
    const double frames
        = seconds / rawCharacter(character, lively).frameDuration.value_or(usualFrameDuration);
    constexpr double mostFrames = 1e15; // some millions of years; also turns away what is no number
    return std::abs(frames) < mostFrames ? qint64(frames) : 0;
}

QList<PixelFrame> PixelTheme::lowLimitFrames(const QString& character, MascotState state) const
{
    const std::optional<CharacterArt> art = artOf(*this, character);
    const bool isLow = state == MascotState::tired || state == MascotState::exhausted;
    if (!art || !isLow || art->frames.isEmpty())
        return {};
    const bool hasOwn = state == MascotState::exhausted && !art->exhaustedFrames.isEmpty();
    const QList<PixelFrame>& frames = hasOwn ? art->exhaustedFrames : art->tiredFrames;
    const bool fits = !frames.isEmpty() && frames.first().size() == art->frames.first().size();
    return fits ? frames : QList<PixelFrame>();
}

PixelPalette PixelTheme::lowLimitPalette(const QString& character) const
{
    PixelPalette palette = characterPalette(character);
    if (const std::optional<CharacterArt> art = artOf(*this, character))
        palette.insert(parsedPalette(art->lowPalette));
    return palette;
}

bool PixelTheme::menuUsesCharacterFrames() const
{
    return artOf(*this, choices.character(menuSlot)).has_value();
}

QList<PixelFrame> PixelTheme::menuFrames(MascotState state) const
{
    if (menuUsesCharacterFrames()) {
        const QString character = choices.character(menuSlot);
        const QList<PixelFrame> low = lowLimitFrames(character, state);
        return low.isEmpty() ? rawCharacter(character, false).frames : low;
    }
    switch (state) {
    case MascotState::tired:
    case MascotState::exhausted:
        return menu.tired.isEmpty() ? menu.active : menu.tired;
    case MascotState::idle:
        return menu.idle;
    case MascotState::active:
        break;
    }
    return menu.active;
}
