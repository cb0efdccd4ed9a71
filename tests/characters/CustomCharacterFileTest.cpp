#include "characters/CustomCharacterFile.h"

#include "characters/LivelyLoop.h"
#include "tests/support/TestFiles.h"

#include <QJsonArray>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QJsonArray frame(int side, QChar letter = u'C')
{
    QJsonArray rows;
    for (int row = 0; row < side; ++row)
        rows.append(QString(side, letter));
    return rows;
}

QJsonObject character()
{
    return {{"format"_L1, "vexlo-character-1"_L1},
            {"id"_L1, "trike"_L1},
            {"name"_L1, "Trike"_L1},
            {"color"_L1, "#a97BFF"_L1},
            {"frames"_L1, QJsonArray{frame(24)}}};
}

CustomCharacterFile read(const QJsonObject& object)
{
    const auto file = CustomCharacterFile::fromJson(QJsonDocument(object).toJson());
    return file.value_or(CustomCharacterFile());
}

QJsonObject with(const QString& key, const QJsonValue& value)
{
    QJsonObject object = character();
    object.insert(key, value);
    return object;
}

QString emoji(int count)
{
    return u"👩‍👩‍👧"_s.repeated(count);
}

int filled(const PixelFrame& frame)
{
    return 24 * 24 - int(frame.join(QString()).count(u'.'));
}

} // namespace

class CustomCharacterFileTest : public QObject {
    Q_OBJECT

private slots:
    void rulesHoldAtTheirEdges_data()
    {
        QTest::addColumn<QJsonObject>("object");
        QTest::addColumn<QString>("fault"); // how it begins; empty for a good file
        const auto add = [](const char* name, const QJsonObject& object, const QString& fault) {
            QTest::newRow(name) << object << fault;
        };
        add("good", character(), {});
        add("another format", with(u"format"_s, u"vexlo-character-2"_s), u"\"format\""_s);
        add("uuid", with(u"id"_s, u"8AAB3C1e-0000-4000-8000-00000000000f"_s), {});
        add("braces", with(u"id"_s, u"{8aab3c1e-0000-4000-8000-00000000000f}"_s), u"\"id\""_s);
        add("path", with(u"id"_s, u"../trike"_s), u"\"id\""_s);
        add("48 emoji", with(u"name"_s, emoji(48)), {});
        add("49 emoji", with(u"name"_s, emoji(49)), u"\"name\""_s);
        add("short colour", with(u"color"_s, u"#abc"_s), u"\"color\""_s);
        add("bare colour", with(u"color"_s, u"a97bff0"_s), u"\"color\""_s);
        add("category", with(u"categoryID"_s, u"my-group"_s), u"\"categoryID\""_s);
        add("shortest", with(u"frameDuration"_s, 0.08), {});
        add("too short", with(u"frameDuration"_s, 0.079), u"\"frameDuration\""_s);
        add("too long", with(u"frameDuration"_s, 2.01), u"\"frameDuration\""_s);
        add("no tired frames", with(u"tiredFrames"_s, QJsonArray()), u"\"tiredFrames\" holds"_s);
        add("null is missing", with(u"tiredFrames"_s, QJsonValue::Null), {});
        QJsonArray many;
        for (int i = 0; i < 64; ++i)
            many.append(frame(24));
        add("64 frames", with(u"frames"_s, many), {});
        many.append(frame(24));
        add("65 frames", with(u"frames"_s, many), u"\"frames\" holds 1 to 64 frames, not 65"_s);
        add("motion", with(u"motion"_s, u"jump"_s), u"\"motion\""_s);
        add("faces", with(u"faces"_s, u"up"_s), u"\"faces\""_s);
        add("palette letter", with(u"palette"_s, QJsonObject{{"I"_L1, "#000000"_L1}}),
            u"The letters of \"palette\""_s);
        add("two letters", with(u"lowPalette"_s, QJsonObject{{"AB"_L1, "#000000"_L1}}),
            u"The letters of \"lowPalette\""_s);
        add("palette colour", with(u"palette"_s, QJsonObject{{"A"_L1, "red"_L1}}),
            u"The colour of A"_s);
        add("16 x 16", with(u"frames"_s, QJsonArray{frame(16)}), u"A frame has 12 or 24"_s);
        add("two sizes", with(u"livelyFrames"_s, QJsonArray{frame(24), frame(12)}),
            u"\"livelyFrames\", frame 2 has 12 rows"_s);
        QJsonArray ragged = frame(24);
        ragged.replace(4, QString(23, u'C'));
        add("unequal rows", with(u"frames"_s, QJsonArray{frame(24), ragged}),
            u"\"frames\", frame 2, row 5: 23 letters"_s);
        add("no palette", with(u"frames"_s, QJsonArray{frame(24, u'A')}),
            u"\"frames\", frame 1, row 1: the letter A"_s);
        QJsonObject painted = with(u"frames"_s, QJsonArray{frame(24, u'A')});
        painted.insert("palette"_L1, QJsonObject{{"B"_L1, "#ffffff"_L1}});
        add("letter without a colour", painted, {});
        // The first rule that is broken is the one that is told.
        QJsonObject twice = with(u"color"_s, u"#"_s);
        twice.insert("faces"_L1, "up"_L1);
        add("two faults", twice, u"\"color\""_s);
    }

    void rulesHoldAtTheirEdges()
    {
        QFETCH(const QJsonObject, object);
        QFETCH(const QString, fault);
        const CustomCharacterFile file = read(object);
        QVERIFY2(file.fault().startsWith(fault), qPrintable(file.fault()));
        QCOMPARE(file.isValid(), fault.isEmpty());
    }

    void otherKindsOfValuesAreNoCharacter()
    {
        for (const QJsonObject& object :
             {with(u"name"_s, 7), with(u"frames"_s, QJsonObject()), with(u"motion"_s, 1),
              with(u"frames"_s, QJsonArray{QJsonArray{1}}), with(u"frameDuration"_s, u"1"_s),
              with(u"palette"_s, QJsonArray()), with(u"lowPalette"_s, QJsonObject{{"A"_L1, 1}})})
            QVERIFY(!CustomCharacterFile::fromJson(QJsonDocument(object).toJson()));
        QVERIFY(!CustomCharacterFile::fromJson(QByteArray(10'000, '[')));
        QVERIFY(!CustomCharacterFile::fromJson("{\"frames\":" + QByteArray(10'000, '[')
                                               + QByteArray(10'000, ']') + '}'));
    }

    void writingKeepsEveryValueAndLeavesOutWhatIsAbsent()
    {
        QCOMPARE(jsonObject(read(character()).toJson()), character());
        QJsonObject full = character();
        for (const QString& key : {u"livelyFrames"_s, u"tiredFrames"_s, u"exhaustedFrames"_s})
            full.insert(key, QJsonArray{frame(24), frame(24, u'.')});
        for (const QString& key : {u"palette"_s, u"lowPalette"_s})
            full.insert(key, QJsonObject{{"H"_L1, "#0a0B0c"_L1}});
        full.insert("frameDuration"_L1, 0.25);
        full.insert("categoryID"_L1, "pet"_L1);
        full.insert("motion"_L1, "walkLeft"_L1);
        full.insert("faces"_L1, "right"_L1);
        QVERIFY(read(full).isValid());
        QCOMPARE(jsonObject(read(full).toJson()), full);
        QVERIFY(CustomCharacterFile::blank().isValid());
    }

    void smallCharactersAreDoubled()
    {
        QJsonArray small = frame(12, u'.');
        small.replace(0, u"CD.........W"_s);
        QJsonObject object = with(u"frames"_s, QJsonArray{small, small, small});
        object.insert("tiredFrames"_L1, QJsonArray{small});
        const CustomCharacterFile large = read(object).expandedTo24();
        QCOMPARE(large.frames.size(), 3);
        QCOMPARE(large.frames.first().size(), 24);
        QCOMPARE(large.frames.first()[0], u"CCDD..................WW"_s);
        QCOMPARE(large.frames.first()[1], large.frames.first()[0]);
        QCOMPARE(large.tiredFrames.value(), QList<PixelFrame>{large.frames.first()});
        QVERIFY(large.isValid());
        QCOMPARE(read(character()).expandedTo24(), read(character()));
    }

    void ownLoopWinsAndIdleStandsStill()
    {
        QJsonObject object = with(u"livelyFrames"_s, QJsonArray{frame(24, u'W')});
        QCOMPARE(read(object).art().livelyFrames, *read(object).livelyFrames);
        object.insert("motion"_L1, "idle"_L1);
        QVERIFY(read(object).art().livelyFrames.isEmpty());
        QVERIFY(!read(character()).art().livelyFrames.isEmpty());
    }

    void loopsMoveWithinTheCanvas_data()
    {
        QTest::addColumn<QString>("motion");
        QTest::addColumn<bool>("leaves"); // the canvas, for a moment
        for (const QString& motion : CustomCharacterFile::motions())
            QTest::addRow("%s", qPrintable(motion))
                << motion << (motion == "drop"_L1 || motion == "launch"_L1);
    }

    void loopsMoveWithinTheCanvas()
    {
        QFETCH(const QString, motion);
        QFETCH(const bool, leaves);
        // A triangle with a white foot on its left and two letters of room around it.
        PixelFrame drawing(24, QString(24, u'.'));
        for (int row = 2; row < 22; ++row)
            drawing[row] = QString(2, u'.') + QString(row - 1, u'C') + QString(23 - row, u'.');
        drawing[21][2] = u'W';
        const QList<PixelFrame> loop = livelyLoop({drawing, drawing}, motion, u"left"_s);
        if (motion == "idle"_L1) {
            QVERIFY(loop.isEmpty());
            return;
        }
        const bool turns = motion.startsWith("walk"_L1) || motion.startsWith("drift"_L1);
        int different = 0;
        int turned = 0;
        for (const PixelFrame& frame : loop) {
            QCOMPARE(frame.size(), 24);
            for (const QString& row : frame)
                QCOMPARE(row.size(), 24);
            different += frame != drawing;
            turned += frame.join(QString()).contains(u"CW"_s);
            // Squashing takes two rows at most; nothing else may cost a letter.
            if (!leaves)
                QVERIFY(filled(frame) >= filled(drawing) - 40);
        }
        QVERIFY(different > 4);
        QCOMPARE(turned > 0, turns);
    }
};

QTEST_GUILESS_MAIN(CustomCharacterFileTest)
#include "CustomCharacterFileTest.moc"
