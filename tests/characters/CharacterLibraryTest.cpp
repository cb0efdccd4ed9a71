#include "characters/CharacterCatalog.h"
#include "characters/CustomCharacterLibrary.h"
#include "tests/support/TestFiles.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString uuid = u"8aab3c1e-0000-4000-8000-00000000000f"_s;

CustomCharacterFile character(const QString& id, const QString& name)
{
    CustomCharacterFile file = CustomCharacterFile::blank();
    file.id = id;
    file.name = name;
    return file;
}

QByteArray categories(const QStringList& ids)
{
    QJsonArray list;
    for (const QString& id : ids)
        list.append(QJsonObject{{"id"_L1, id}, {"name"_L1, "Name of "_L1 + id}});
    return QJsonDocument(
               QJsonObject{{"format"_L1, "vexlo-categories-1"_L1}, {"categories"_L1, list}})
        .toJson();
}

QString numberedUuid(int number)
{
    return u"8aab3c1e-0000-4000-8000-%1"_s.arg(number, 12, 10, QChar(u'0'));
}

} // namespace

class CharacterLibraryTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_local = m_folder->filePath(u"StudioCharacters"_s);
        m_resources = m_folder->filePath(u"resources"_s);
    }

    void localCharactersWinAndTheRestIsPassedOver()
    {
        const QString shipped = m_resources + u"/OfficialCharacters/"_s;
        writeFile(shipped + u"trike.json"_s, character(u"trike"_s, u"Shipped"_s).toJson());
        writeFile(shipped + u"rex.json"_s, character(u"rex"_s, u"Rex"_s).toJson());
        writeFile(m_local + u"/b.json"_s, character(u"trike"_s, u"Own"_s).toJson());
        writeFile(m_local + u"/a.json"_s, character(u"trike"_s, u"Older"_s).toJson());
        writeFile(m_local + u"/upper.JSON"_s, character(u"mochi"_s, u"Mochi"_s).toJson());
        writeFile(m_local + u"/broken.json"_s, "{");
        writeFile(m_local + u"/large.json"_s,
                  character(uuid, u"Large"_s).toJson().leftJustified(262'145));
        QDir().mkpath(m_local + u"/folder.json"_s);
        const CustomCharacterLibrary library(m_local, m_resources);
        QCOMPARE(library.localCharacters().size(), 2);
        QCOMPARE(library.officialCharacters().size(), 2);
        QCOMPARE(library.officialCharacters()[0].name, u"Own"_s);
        QCOMPARE(library.character(u"trike"_s)->name, u"Own"_s);
        QCOMPARE(library.character(u"rex"_s)->name, u"Rex"_s);
        QVERIFY(library.art(u"rex"_s).has_value());
        for (const QString& id : {uuid, u"mochi"_s, u"../OfficialCharacters/rex"_s, QString()})
            QVERIFY(!library.character(id));
    }

    void reloadingTellsAndForgetsWhatWasKept()
    {
        CustomCharacterLibrary library(m_local, m_resources);
        QVERIFY(library.officialCharacters().isEmpty());
        QVERIFY(!library.art(u"trike"_s));
        QSignalSpy changed(&library, &CustomCharacterLibrary::charactersChanged);
        writeFile(m_local + u"/trike.json"_s, character(u"trike"_s, u"Own"_s).toJson());
        writeFile(m_local + u"/CharacterCategories.json"_s, categories({uuid}));
        QVERIFY(!library.art(u"trike"_s));
        library.reloadLocal();
        QCOMPARE(changed.size(), 1);
        QVERIFY(library.art(u"trike"_s).has_value());
        QCOMPARE(library.categoryFile().categories.first().id, uuid);
        library.reloadLocal();
        QCOMPARE(changed.size(), 2);
    }

    void importTakesTheOldOnesPlaceOrSaysWhatIsWrong()
    {
        CustomCharacterLibrary library(m_local, m_resources);
        const QString file = m_folder->filePath(u"chosen.json"_s);
        const QString notOne = u"This is not a valid Vexlo character file. "
                               u"Export a character from Vexlo Studio.\n"_s;
        CustomCharacterFile wrong = character(uuid, u"Wrong"_s);
        wrong.frames.first()[2] = u"CC"_s;
        writeFile(file, wrong.toJson());
        QCOMPARE(CustomCharacterLibrary::read(file).error,
                 notOne + u"\"frames\", frame 1, row 3: 2 letters instead of 24."_s);
        writeFile(file, "[]");
        QVERIFY(CustomCharacterLibrary::read(file).error.startsWith(notOne));
        QVERIFY(!library.add(wrong));

        writeFile(m_local + u"/my one.json"_s, character(uuid, u"Old"_s).toJson());
        writeFile(file, character(uuid, u"New"_s).toJson());
        QVERIFY(library.add(*CustomCharacterLibrary::read(file).character));
        QCOMPARE(library.character(uuid)->name, u"New"_s);
        QVERIFY(library.add(character(u"rex"_s, u"My Rex"_s)));
        QCOMPARE(filesIn(m_local), (QStringList{u"my one.json"_s, u"rex.json"_s}));
    }

    void categoriesAreCompletedBeforeTheyAreJudged()
    {
        const QString path = m_folder->filePath(u"categories.json"_s);
        const auto load = [&](const QByteArray& contents) {
            writeFile(path, contents);
            return CharacterCategoryFile::load(path);
        };
        const auto own = load(categories({u" Pet "_s, uuid}));
        QCOMPARE(own->categories.size(), 18);
        QCOMPARE(own->categories[0].name, u"Name of  Pet "_s);
        QCOMPARE(own->categories[2].id, u"original"_s);
        QVERIFY(!load(categories({u"Pet"_s, u"pet "_s})));
        QVERIFY(!load(categories({u"my-group"_s})));
        QStringList ids;
        for (int i = 0; i < 47; ++i)
            ids.append(numberedUuid(i));
        QCOMPARE(load(categories(ids))->categories.size(), 64);
        ids.append(uuid);
        QVERIFY(!load(categories(ids)));
        QVERIFY(load(categories({}).leftJustified(64'000)));
        QVERIFY(!load(categories({}).leftJustified(64'001)));
        QVERIFY(!load("[]"));

        const CharacterCategoryFile defaults = CharacterCategoryFile::defaults();
        QCOMPARE(defaults.categories.size(), 17);
        QCOMPARE(defaults.categories[11], (CharacterCategory{u"custom"_s, u"Anime"_s}));
    }

    void catalogGroupsWhatCanBePicked()
    {
        const CharacterCategoryFile categoryFile = CharacterCategoryFile::defaults();
        CustomCharacterFile pet = character(uuid, u"Rover"_s);
        pet.categoryID = u"PET"_s;
        CustomCharacterFile stray = character(numberedUuid(1), u"Stray"_s);
        stray.categoryID = numberedUuid(2); // no such group
        const QList<CatalogGroup> groups = CharacterCatalog::groups(
            {character(u"trike"_s, u"My Trike"_s), character(u"cursor"_s, u"Cursor"_s), pet, stray},
            categoryFile);
        QStringList names;
        QHash<QString, QString> groupOf;
        for (const CatalogGroup& group : groups) {
            names.append(group.name);
            for (const CharacterChoice& choice : group.characters) {
                QVERIFY2(!groupOf.contains(choice.id), qPrintable(choice.id));
                groupOf.insert(choice.id, group.name + u'/' + choice.name);
            }
        }
        QCOMPARE(names.mid(0, 5),
                 (QStringList{u"Original"_s, u"AI"_s, u"Dinosaur"_s, u"Fish"_s, u"Cosmic"_s}));
        QVERIFY(!names.contains(u"Alien"_s)); // nobody is in it
        QCOMPARE(groupOf.size(), 75 - 9 + 2);
        QCOMPARE(groupOf.value(u"trike"_s), u"Dinosaur/My Trike"_s);
        QCOMPARE(groupOf.value(uuid), u"Pet/Rover"_s);
        QCOMPARE(groupOf.value(numberedUuid(1)), u"Official/Stray"_s);
        QCOMPARE(groupOf.value(u"calendar"_s), u"Original/Cal"_s);
        QVERIFY(!groupOf.contains(u"cursor"_s));
        QCOMPARE(CustomCharacterFile::builtInIDs().size(), 75);
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_local;
    QString m_resources;
};

QTEST_GUILESS_MAIN(CharacterLibraryTest)
#include "CharacterLibraryTest.moc"
