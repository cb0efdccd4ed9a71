#include "characters/SpriteImages.h"

#include "characters/MascotBadges.h"
#include "characters/PixelColor.h"
#include "characters/SpritePainter.h"
#include "platform/PreferenceStore.h"

#include <TestPaths.h>

#include <QPainter>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

const QColor red = hex(u"#FF0000");
constexpr QRgb clear = 0;

PixelFrame square(qsizetype side, QChar letter = u'C')
{
    return PixelFrame(side, QString(side, letter));
}

PixelTheme themeOf(const QList<PixelFrame>& frames)
{
    PixelTheme theme = PixelTheme::fallback();
    theme.menu = {.active = frames, .tired = {}, .idle = frames};
    theme.characters.insert(u"default"_s, {.color = u"#FF0000"_s, .frames = frames});
    return theme;
}

/// The same frames as artwork of whatever character is asked for.
PixelTheme artThemeOf(const QList<PixelFrame>& frames)
{
    PixelTheme theme = themeOf({{u"W"_s}});
    theme.findArt = [frames](const QString&) {
        return CharacterArt{.color = u"#FF0000"_s, .frames = frames};
    };
    return theme;
}

/// The smallest rectangle around everything that is not clear.
QRect inked(const QImage& image)
{
    QRect rect;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != clear)
                rect |= QRect(x, y, 1, 1);
        }
    }
    return rect;
}

} // namespace

class SpriteImagesTest : public QObject {
    Q_OBJECT

private slots:
    void lettersHaveTheirColors()
    {
        const PixelPalette palette{{u'A', Qt::green}, {u'W', Qt::yellow}, {u'.', Qt::blue}};
        QImage image(6, 2, QImage::Format_ARGB32);
        image.fill(Qt::gray);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        drawPixelRows(painter, {u".CWDAX"_s, u"......"_s}, {0, 0}, 1, red, palette);
        painter.end();
        const QList<QColor> colors{Qt::gray, red, Qt::yellow, Qt::black, Qt::green, red};
        for (int x = 0; x < colors.size(); ++x) {
            QCOMPARE(image.pixelColor(x, 0), colors[x]);
            QCOMPARE(image.pixelColor(x, 1), QColor(Qt::gray));
        }
        QCOMPARE(letterColor(u'W', red, {}), QColor(Qt::white));
    }

    void edgesLieOnWholeDevicePixels_data()
    {
        QTest::addColumn<qreal>("size");
        for (const qreal size : {44.0, 58.0, 116.0})
            QTest::addRow("%g points", size) << size;
    }

    void edgesLieOnWholeDevicePixels()
    {
        QFETCH(qreal, size);
        const PixelFrame pair{u"WCWCWCWCWCWC"_s, u"CWCWCWCWCWCW"_s}; // neighbours always differ
        const PixelFrame checks = pair + pair + pair + pair + pair + pair;
        for (const qreal ratio : {1.0, 1.25, 1.5, 2.0}) {
            const QImage image = characterImage(
                themeOf({checks}),
                {.character = u"x"_s, .color = red, .size = size, .pixelRatio = ratio});
            QCOMPARE(image.width(), int(std::lround(size * ratio)));
            // A device pixel belongs to the letter over its middle.
            const auto letter = [&](int p) { return int((p + 0.5 - 1e-6) * 12 / size / ratio); };
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x)
                    QCOMPARE(image.pixelColor(x, y),
                             (letter(x) + letter(y)) % 2 ? red : QColor(Qt::white));
            }
        }
    }

    void narrowSpritesStandInTheMiddle()
    {
        const QImage image = characterImage(themeOf({{u"C"_s, u"C"_s, u"."_s}}),
                                            {.character = u"x"_s, .color = red, .size = 30});
        QCOMPARE(inked(image), QRect(10, 0, 10, 20));
    }

    void moodsAddABadgeInTheCorner()
    {
        using enum MascotState;
        const auto top = [](qint64 frame) { return mascotBadge(tired, frame, 44)->topLeft; };
        for (const qint64 frame : {0, 1, 2, 3, 4, 5})
            QCOMPARE(top(frame), QPointF(34, 2.0 * (frame % 3)));
        QCOMPARE(mascotBadge(tired, 0, 16)->pixelSize, 1.0);
        QCOMPARE(mascotBadge(exhausted, 4, 65)->topLeft, QPointF(57, 0));
        QVERIFY(!mascotBadge(exhausted, 3, 44));
        QVERIFY(!mascotBadge(active, 0, 44));

        const PixelTheme theme = themeOf({square(12, u'.')});
        const CharacterPicture picture{
            .character = u"x"_s, .frame = 4, .color = red, .size = 44, .pixelRatio = 2};
        const QImage drop = lowLimitImage(theme, picture, tired);
        QCOMPARE(inked(drop), QRect(68, 4, 20, 20));
        QCOMPARE(drop.pixelColor(76, 4), hex(u"#142850"));
        QCOMPARE(drop.pixelColor(75, 4), QColor(Qt::transparent));
        QCOMPARE(drop.pixelColor(80, 12), hex(u"#EBF8FF"));
        const QImage mark = lowLimitImage(theme, picture, exhausted);
        QCOMPARE(inked(mark), QRect(72, 0, 16, 24));
        QCOMPARE(mark.pixelColor(76, 11), hex(u"#FF453A"));
        QVERIFY(inked(lowLimitImage(theme, picture, active)).isEmpty());
    }

    void ownLowLimitFramesNeedNoBadge()
    {
        PixelTheme theme = themeOf({square(2)});
        theme.findArt = [](const QString&) {
            return CharacterArt{.lowPalette = {{u"A"_s, u"#00FF00"_s}},
                                .frames = {square(2)},
                                .tiredFrames = {square(2, u'D'), square(2, u'A')}};
        };
        const QImage image = lowLimitImage(
            theme, {.character = u"x"_s, .frame = 3, .color = red, .size = 44}, MascotState::tired);
        QCOMPARE(image.pixelColor(42, 2), QColor(Qt::green)); // where a badge would be
        QCOMPARE(menuImage(theme, 3, MascotState::tired).pixelColor(10, 10), QColor(Qt::green));
    }

    void menuImageKeepsItsSizes()
    {
        using enum MascotState;
        QCOMPARE(menuImage(themeOf({square(12)}), 0, active).size(), QSize(22, 22));
        QCOMPARE(menuImage(themeOf({square(12)}), 0, active).pixelColor(2, 2), red);
        QCOMPARE(inked(menuImage(themeOf({square(12)}), 0, active)), QRect(2, 2, 18, 18));
        QCOMPARE(inked(menuImage(themeOf({square(12)}), 0, active, 2)), QRect(4, 4, 36, 36));
        QCOMPARE(inked(menuImage(artThemeOf({square(16)}), 0, idle)), QRect(2, 2, 18, 18));
        QCOMPARE(inked(menuImage(themeOf({square(4)}), 0, idle)), QRect(8, 8, 6, 6));
        const PixelFrame column{u"C"_s, u"C"_s, u"C"_s};
        QCOMPARE(inked(menuImage(themeOf({column, square(4)}), 2, idle, 2)), QRect(21, 18, 3, 9));
    }

    void menuImageBobsWithActiveCharacterFrames()
    {
        using enum MascotState;
        const PixelTheme art = artThemeOf({square(12)});
        const QList<int> tops{2, 0, 2, 4, 2, 0};
        for (int frame = 0; frame < tops.size(); ++frame) {
            QCOMPARE(inked(menuImage(art, frame, active)).top(), tops[frame]);
            QCOMPARE(inked(menuImage(art, frame, idle)).top(), 2);
            QCOMPARE(inked(menuImage(themeOf({square(12)}), frame, active)).top(), 2);
        }
    }

    void programsOwnThemeIsGood()
    {
        const PreferenceStore none(u"/nonexistent/preferences.json"_s);
        const QString shipped = QStringLiteral(VEXLO_BUILD_TREE "/share/vexlo/Themes");
        const PixelTheme theme = PixelTheme::loadSelected(none, {shipped});
        QCOMPARE(theme.id, u"original"_s);
        QVERIFY(theme.menu.tired.size() >= 2);
        const auto rows
            = [&](qint64 phase) { return theme.characterRows(u"vexlo"_s, phase, false); };
        QVERIFY(rows(0) != rows(2));
        QVERIFY(rows(0) != rows(15)); // the eyes close
    }
};

QTEST_GUILESS_MAIN(SpriteImagesTest)
#include "SpriteImagesTest.moc"
