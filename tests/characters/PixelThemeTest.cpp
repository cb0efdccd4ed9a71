#include "characters/PixelTheme.h"

#include "characters/PixelColor.h"
#include "platform/PreferenceStore.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

const PixelFrame openEyes{u"WCW"_s, u"WDW"_s, u"WCW"_s};
const PixelFrame closedEyes{u"CCC"_s, u"CDC"_s, u"WCW"_s}; // the middle row is the upper half's
const PixelFrame breath{u"CDC"_s};

/// A theme with the characters "default" (blue) and "rex" (green).
PixelTheme theme(const QString& id = u"original"_s)
{
    PixelTheme theme = PixelTheme::fallback();
    theme.id = id;
    theme.characters.insert(u"default"_s, {.color = u"#0000FF"_s, .frames = {openEyes}});
    theme.characters.insert(u"rex"_s,
                            {.color = u"#00FF00"_s,
                             .frames = {openEyes, breath},
                             .palette = {{u"A"_s, u"#010203"_s}, {u"AB"_s, u"#FFFFFF"_s}},
                             .frameDuration = 0.25});
    return theme;
}

/// Artwork for "rex" and "still", which has nothing but one calm frame.
std::optional<CharacterArt> artFor(const QString& id)
{
    CharacterArt art{.color = u"#FF0000"_s, .frames = {{u"C"_s}}, .frameDuration = 1};
    if (id == u"still"_s)
        return art;
    art.palette = {{u"A"_s, u"#010203"_s}, {u"B"_s, u"#040506"_s}};
    art.lowPalette = {{u"B"_s, u"#070809"_s}};
    art.livelyFrames = {{u"A"_s}, {u"B"_s}};
    art.tiredFrames = {{u"D"_s}};
    return id == u"rex"_s ? std::optional(art) : std::nullopt;
}

} // namespace

class PixelThemeTest : public QObject {
    Q_OBJECT

private slots:
    void hexTextsBecomeColors()
    {
        for (const QString& text :
             {u"#102aFf"_s, u"102AFF"_s, u"#89102AFF"_s, u"FFFFFFFFFF102AFF"_s})
            QCOMPARE(hex(text), QColor(0x10, 0x2A, 0xFF));
        QCOMPARE(hex(u"#FFF"), QColor(0, 0x0F, 0xFF)); // a small number, not a short form
        for (const QString& text : {u""_s, u"#"_s, u"zz"_s, u"##102AFF"_s, u"+FF"_s, u"-1"_s,
                                    u" 1"_s, u"0x1"_s, u"10000000000000000"_s})
            QCOMPARE(hex(text), QColor(0xA9, 0x7B, 0xFF));
    }

    void colorsBecomeHexTexts()
    {
        QCOMPARE(hexString(QColor::fromRgbF(0.999F, 0.001F, 0.5F)), u"#FF0080"_s);
        QCOMPARE(hexString(QColor::fromRgbF(1.5F, -0.5F, 0)), u"#FF0000"_s);
        QCOMPARE(hexString(QColor::fromHsv(120, 255, 255)), u"#00FF00"_s);
        QCOMPARE(hexString(QColor()), u"#A97BFF"_s);
    }

    void charactersComeFromTheNearestSource()
    {
        PixelTheme characters = theme();
        QCOMPARE(characters.rawCharacter(u"rex"_s, true).color, u"#00FF00"_s);
        QCOMPARE(characters.rawCharacter(u"unknown"_s, true).color, u"#0000FF"_s);
        QCOMPARE(characters.characterPalette(u"rex"_s), PixelPalette({{u'A', hex(u"010203")}}));
        QCOMPARE(PixelTheme::fallback().rawCharacter(u"rex"_s, false),
                 (ThemeCharacter{.color = u"#A97BFF"_s,
                                 .frames = {{u"CCCC"_s, u"CWWC"_s, u"CWWC"_s, u"CCCC"_s}}}));

        characters.findArt = artFor;
        QCOMPARE(characters.rawCharacter(u"rex"_s, false).frames, artFor(u"rex"_s)->frames);
        QCOMPARE(characters.rawCharacter(u"rex"_s, true).frames, artFor(u"rex"_s)->livelyFrames);
        QCOMPARE(characters.rawCharacter(u"still"_s, true).frames, artFor(u"still"_s)->frames);
        QCOMPARE(characters.rawCharacter(u"unknown"_s, true).color, u"#0000FF"_s);
    }

    void framesPassAtTheCharactersOwnPace()
    {
        PixelTheme characters = theme();
        QCOMPARE(characters.frameIndex(u"rex"_s, 0.74, true), 2);
        QCOMPARE(characters.frameIndex(u"unknown"_s, 1.5, true), 3);
        characters.findArt = artFor;
        QCOMPARE(characters.frameIndex(u"rex"_s, 1.3, true), 10);
        QCOMPARE(characters.frameIndex(u"rex"_s, 1.3, false), 1);
        QCOMPARE(characters.frameIndex(u"rex"_s, std::numeric_limits<double>::max(), false), 0);
        QCOMPARE(characters.frameIndex(u"rex"_s, std::nan(""), false), 0);
    }

    void calmCharactersBreatheAndBlink()
    {
        const PixelTheme characters = theme();
        for (qint64 phase = -32; phase < 32; ++phase) {
            const qint64 step = wrapped(phase, 16);
            const bool breathes = step % 8 >= 2 && step % 8 <= 4;
            const PixelFrame still = step == 15 ? closedEyes : openEyes;
            QCOMPARE(characters.characterRows(u"rex"_s, phase, true), breathes ? breath : still);
            QCOMPARE(characters.characterRows(u"unknown"_s, phase, true), still);
        }
    }

    void otherFramesPlayInTurn()
    {
        PixelTheme characters = theme(u"night"_s);
        QCOMPARE(characters.characterRows(u"rex"_s, 15, false), breath);
        QCOMPARE(characters.characterRows(u"rex"_s, 2, false), openEyes);
        characters.id = u"original"_s;
        characters.findArt = artFor;
        QCOMPARE(characters.characterRows(u"rex"_s, 5, true), PixelFrame{u"B"_s});
    }

    void colorsFollowTheUsersChoices()
    {
        const QTemporaryDir folder;
        PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
        const auto store = [&](const QList<std::pair<QString, QString>>& values) {
            for (const auto& [key, value] : values)
                preferences.setText(key, value);
        };
        const auto colors = [&] {
            PixelTheme fresh = theme();
            fresh.choices = CharacterChoices::saved(preferences);
            QStringList texts;
            for (const QString& slot : {u"menu"_s, u"devin"_s, u"rex"_s})
                texts += {hexString(fresh.characterColor(slot)), hexString(fresh.color(slot))};
            return texts.join(u' ');
        };
        store({{u"cardCharacter.menu"_s, u"rex"_s}}); // not the menu bar's key
        QCOMPARE(CharacterChoices().character(u"system"_s), u"beep"_s);
        QCOMPARE(CharacterChoices().character(u"rex"_s), u"rex"_s);
        QCOMPARE(colors(), u"#0000FF #0000FF #0000FF #2BA3C4 #00FF00 #00FF00"_s);
        store({{u"menuCharacter"_s, u"rex"_s},
               {u"cardCharacter.devin"_s, u"rex"_s},
               {u"palette.devin"_s, u"#000011"_s},
               {u"palette.rex"_s, u"no color"_s},
               {u"palette.character.menu"_s, u"#000022"_s}});
        QCOMPARE(colors(), u"#00FF00 #0000FF #00FF00 #000011 #00FF00 #00FF00"_s);
        store({{u"characterColorMode.devin"_s, u"theme"_s},
               {u"characterColorMode.menu"_s, u"custom"_s},
               {u"characterColorMode.rex"_s, u"custom"_s}}); // of which there is none
        QCOMPARE(colors(), u"#000022 #0000FF #000011 #000011 #00FF00 #00FF00"_s);
    }

    void lowLimitArtMustFitTheCalmArt()
    {
        PixelTheme characters = theme();
        CharacterArt art = *artFor(u"rex"_s);
        characters.findArt = [&art](const QString&) { return art; };
        using enum MascotState;
        QVERIFY(characters.lowLimitFrames(u"rex"_s, active).isEmpty());
        QCOMPARE(characters.lowLimitFrames(u"rex"_s, exhausted), art.tiredFrames);
        QCOMPARE(characters.lowLimitPalette(u"rex"_s),
                 PixelPalette({{u'A', hex(u"010203")}, {u'B', hex(u"070809")}}));
        art.exhaustedFrames = {{u"C"_s, u"C"_s}};
        QVERIFY(characters.lowLimitFrames(u"rex"_s, exhausted).isEmpty());
        QCOMPARE(characters.lowLimitFrames(u"rex"_s, tired), art.tiredFrames);
    }

    void menuShowsTheThemesFramesOrTheCharactersOwn()
    {
        PixelTheme characters = theme();
        characters.menu = {.active = {{u"C"_s}}, .tired = {}, .idle = {{u"D"_s}}};
        characters.choices.characters.insert(u"menu"_s, u"rex"_s);
        using enum MascotState;
        QCOMPARE(characters.menuFrames(exhausted), characters.menu.active);
        QCOMPARE(characters.menuFrames(idle), characters.menu.idle);
        characters.menu.tired = {{u"W"_s}};
        QCOMPARE(characters.menuFrames(exhausted), characters.menu.tired);

        characters.findArt = artFor;
        QCOMPARE(characters.menuFrames(idle), artFor(u"rex"_s)->frames);
        QCOMPARE(characters.menuFrames(tired), artFor(u"rex"_s)->tiredFrames);
    }
};

QTEST_GUILESS_MAIN(PixelThemeTest)
#include "PixelThemeTest.moc"
