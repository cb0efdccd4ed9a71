#include "characters/CharacterCatalog.h"
#include "characters/CustomCharacterLibrary.h"
#include "characters/PixelColor.h"
#include "platform/DesktopAppearance.h"
#include "tests/support/TestFiles.h"

#include <TestPaths.h>

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString resources = QStringLiteral(VEXLO_BUILD_TREE "/share/vexlo");
constexpr int side = 24;

/// Calls `visit(row, column, letter)` for every letter that is drawn.
template<typename Visit> void forEachFilled(const PixelFrame& frame, Visit visit)
{
    for (int row = 0; row < side; ++row) {
        for (int column = 0; column < side; ++column) {
            if (frame[row][column] != u'.')
                visit(row, column, frame[row][column]);
        }
    }
}

int differentLetters(const PixelFrame& one, const PixelFrame& other, bool outlineOnly)
{
    int count = 0;
    for (int row = 0; row < side; ++row) {
        for (int column = 0; column < side; ++column) {
            const QChar a = one[row][column];
            const QChar b = other[row][column];
            count += outlineOnly ? (a == u'.') != (b == u'.') : a != b;
        }
    }
    return count;
}

bool isOnEdge(const PixelFrame& frame, int row, int column)
{
    const auto isClear = [&](int r, int c) {
        return r < 0 || c < 0 || r >= side || c >= side || frame[r][c] == u'.';
    };
    return isClear(row - 1, column) || isClear(row + 1, column) || isClear(row, column - 1)
        || isClear(row, column + 1);
}

/// The share of the outline that stands out 3 to 1 from `ground`.
double visibleEdge(const CustomCharacterFile& character, const QColor& ground)
{
    int visible = 0;
    int all = 0;
    const PixelFrame& frame = character.frames.first();
    forEachFilled(frame, [&](int row, int column, QChar letter) {
        if (!isOnEdge(frame, row, column))
            return;
        PixelPalette palette;
        for (const auto& [key, text] : character.palette->asKeyValueRange())
            palette.insert(key.front(), hex(text));
        const auto color = letterColor(letter, hex(character.color), palette);
        visible += contrastRatio(*color, ground) >= 3;
        ++all;
    });
    return double(visible) / all;
}

} // namespace

// What every character that comes with the program must be, so that it is seen and told apart.
class ShippedCharactersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_characters = CustomCharacterLibrary(QString(), resources).bundledCharacters();
    }

    void rosterIsComplete()
    {
        QStringList ids;
        for (const CustomCharacterFile& character : m_characters)
            ids.append(character.id);
        QStringList roster = CustomCharacterFile::builtInIDs();
        roster.sort();
        ids.sort();
        QCOMPARE(ids, roster);
        // Each is found by its file's name, and none was left out for a fault.
        QStringList files = filesIn(resources + u"/OfficialCharacters"_s);
        files.replaceInStrings(u".json"_s, QString());
        QCOMPARE(files, roster);
    }

    void eachIsDrawnAsAllAre_data()
    {
        QTest::addColumn<CustomCharacterFile>("character");
        for (const CustomCharacterFile& character : m_characters)
            QTest::addRow("%s", qPrintable(character.id)) << character;
    }

    void eachIsDrawnAsAllAre()
    {
        QFETCH(const CustomCharacterFile, character);
        QCOMPARE(CharacterCatalog::categoryID(character.id, character.categoryID,
                                              CharacterCategoryFile::defaults()),
                 CharacterCatalog::categoryID(character.id, {}, CharacterCategoryFile::defaults()));
        QCOMPARE(character.name, builtInName(character.id));
        QVERIFY(character.motion && character.faces && character.palette);
        QCOMPARE(character.frames.first().size(), side);

        QSet<QChar> used;
        for (const auto& list : {std::optional(character.frames), character.livelyFrames,
                                 character.tiredFrames, character.exhaustedFrames}) {
            for (const PixelFrame& frame : list.value_or(QList<PixelFrame>()))
                forEachFilled(frame, [&](int, int, QChar letter) { used.insert(letter); });
        }
        used.subtract({u'C', u'W', u'D'});
        QSet<QChar> defined;
        for (const QString& letter : character.palette->keys())
            defined.insert(letter.front());
        QCOMPARE(used, defined); // so no C or D either, which are the user's own colour and black

        QVERIFY(differentLetters(character.frames[0], character.frames[1], false) >= 16);
        // The theme closes the eyes of calm characters by recolouring white in the upper half.
        for (int row = 0; row < side / 2; ++row)
            QVERIFY(!character.frames[0][row].contains(u'W'));
        for (const QColor& ground : {QColor(0xEF, 0xF0, 0xF1), QColor(0x2A, 0x2E, 0x32)})
            QVERIFY2(contrastRatio(hex(character.color), ground) >= 3
                         || visibleEdge(character, ground) > 0.6,
                     qPrintable(ground.name()));
    }

    void noTwoAreAlike()
    {
        for (qsizetype i = 0; i < m_characters.size(); ++i) {
            for (qsizetype j = 0; j < i; ++j)
                QVERIFY2(
                    differentLetters(m_characters[i].frames[0], m_characters[j].frames[0], true)
                        >= 40,
                    qPrintable(m_characters[i].id + u" and "_s + m_characters[j].id));
        }
    }

    void thoseSeenMostHaveLooksForLowLimits()
    {
        for (const CustomCharacterFile& character : m_characters) {
            if (QStringList{u"vexlo"_s, u"chip"_s, u"volt"_s, u"ping"_s, u"mochi"_s, u"claude"_s,
                            u"codex"_s}
                    .contains(character.id))
                QVERIFY2(character.tiredFrames && character.exhaustedFrames,
                         qPrintable(character.id));
        }
    }

private:
    static QString builtInName(const QString& id)
    {
        for (const auto& group : CharacterCatalog::builtInGroups()) {
            for (const auto& character : group.characters) {
                if (character.id == id)
                    return QString::fromLatin1(character.name);
            }
        }
        return {};
    }

    QList<CustomCharacterFile> m_characters;
};

QTEST_GUILESS_MAIN(ShippedCharactersTest)
#include "ShippedCharactersTest.moc"
