#include "today/ClipboardShelf.h"

#include "platform/MimeContent.h"
#include "platform/PreferenceStore.h"
#include "tests/support/TestFiles.h"
#include "today/ShelfPictures.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Outcome = ClipboardShelf::Outcome;
using Formats = QMap<QString, QByteArray>;

constexpr Date start{1'780'000'000s};
constexpr auto id = "0F8FAD5B-D9CB-469F-A165-70867728950E"_L1;
constexpr auto plain = "text/plain"_L1;
constexpr auto urls = "text/uri-list"_L1;
constexpr auto png = "image/png"_L1;

/// A board that changes when the test says so; one that does not tell of changes is found on no
/// desktop at hand.
class HandBoard final : public ClipboardBoard {
public:
    [[nodiscard]] qint64 changeCount() const override { return count; }
    [[nodiscard]] bool tellsOfChanges() const override { return tells; }
    void setWatched(bool watched) override { isWatched = watched; }
    void fetch(const Fetched& fetched) override
    {
        QMimeData data;
        for (const auto& [type, bytes] : formats.asKeyValueRange())
            data.setData(type, bytes);
        fetched(std::make_shared<MimeContent>(data, pictureTypes()));
    }
    bool write(std::unique_ptr<QMimeData> content) override
    {
        QMimeData& data = *content;
        formats.clear();
        for (const QString& type : data.formats())
            formats.insert(type, data.data(type));
        ++count;
        return true;
    }

    void put(const Formats& content)
    {
        formats = content;
        ++count;
        if (isWatched && tells)
            onChange();
    }

    Formats formats{{plain, "there before"}};
    qint64 count = 7;
    bool tells = true;
    bool isWatched = false;
};

/// A picture that no other `shade` gives.
QByteArray picture(int shade, const char* format = "PNG")
{
    QImage image(20, 10, QImage::Format_RGB32);
    image.fill(QColor(shade, 0, 0));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, format);
    return bytes;
}

/// A PNG whose header tells of `width` x `height` pixels that are not there.
QByteArray forgedPicture(quint32 width, quint32 height)
{
    QByteArray bytes = picture(1);
    const auto put = [&bytes](qsizetype at, quint32 number) {
        for (int i = 0; i < 4; ++i)
            bytes[at + i] = char(number >> (24 - 8 * i));
    };
    put(16, width);
    put(20, height);
    quint32 crc = ~0U;
    for (qsizetype i = 12; i < 29; ++i) {
        crc ^= uchar(bytes[i]);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xedb88320U & (0U - (crc & 1)));
    }
    put(29, ~crc);
    return bytes;
}

QByteArray itemJson(const QString& itemId, const QByteArray& kind, const QString& value,
                    double seconds = 801'692'800)
{
    return "{\"id\":\"" + itemId.toUtf8() + "\",\"kind\":\"" + kind + "\",\"value\":\""
        + value.toUtf8() + "\",\"createdAt\":" + QByteArray::number(seconds, 'f', 3) + '}';
}

} // namespace

class ClipboardShelfTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        qputenv("TMPDIR", m_temporary);
        m_folder.emplace();
        m_board.emplace();
        m_now = start;
        qputenv("TMPDIR", m_folder->path().toUtf8());
        m_preferences.emplace(m_folder->filePath(u"preferences.json"_s));
        m_preferences->setBoolean(ClipboardShelf::enabledKey, true);
        open();
    }

    void cleanup() { m_shelf.reset(); }

    void copiesAreKeptByKind_data()
    {
        const QString file = QCoreApplication::applicationFilePath();
        const QByteArray address = QUrl::fromLocalFile(file).toEncoded();
        QTest::addColumn<Formats>("content");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("title");
        const auto row = [](const char* name, const Formats& content, const char* kind = "",
                            const QString& title = {}) {
            QTest::newRow(name) << content << QString::fromLatin1(kind) << title;
        };
        row("text as it is", {{plain, "  \n two "}}, "text", u"  "_s);
        row("first line", {{plain, "\n\r\n\xe2\x80\xa8 a\xc2\x85 b"}}, "text", u" a"_s);
        row("with a NUL", {{plain, QByteArray("a\0b", 3)}}, "text", u"a\0b"_s);
        row("blank", {{plain, " \t\n"}});
        row("nothing", {});
        row("file", {{urls, "# a remark\r\n" + address + "\r\n"}}, "file",
            QFileInfo(file).fileName());
        row("file before picture", {{urls, address}, {png, picture(1)}}, "file",
            QFileInfo(file).fileName());
        row("missing file, picture", {{urls, "file:///none"}, {png, picture(1)}}, "image",
            u"Image"_s);
        row("missing file, text", {{urls, "file:///none"}, {plain, "/none"}}, "text", u"/none"_s);
        row("address of a page", {{urls, "https://example.org/"}});
        row("picture before text", {{png, picture(1)}, {plain, "a"}}, "image", u"Image"_s);
        row("no picture after all", {{png, "text"}, {plain, "a"}}, "text", u"a"_s);
        row("tall picture, forged", {{png, forgedPicture(1, 100'000)}});
        row("password", {{plain, "a"}, {u"org.nspasteboard.ConcealedType"_s, ""}});
        row("KDE password", {{plain, "a"}, {u"x-kde-passwordManagerHint"_s, "public"}});
        row("GTK password", {{png, picture(1)}, {u"text/x-kde-passwordManagerHint"_s, "secret"}});
    }

    void copiesAreKeptByKind()
    {
        QFETCH(Formats, content);
        QFETCH(QString, kind);
        m_board->formats = content;
        QCOMPARE(outcomeOfRecord(), kind.isEmpty() ? Outcome::nothing : Outcome::stored);
        QCOMPARE(m_shelf->items().size(), kind.isEmpty() ? 0 : 1);
        if (kind.isEmpty())
            return;
        QTEST(m_shelf->items().constFirst().title(), "title");
        const QJsonObject stored = storedItems().first().toObject();
        QCOMPARE(stored.value("kind"_L1).toString(), kind);
        QCOMPARE(stored.value("createdAt"_L1).toDouble(), 801'692'800.0); // seconds since 2001
        QCOMPARE(stored.keys(), (QStringList{u"createdAt"_s, u"id"_s, u"kind"_s, u"value"_s}));
        if (kind == "text"_L1)
            QCOMPARE(stored.value("value"_L1).toString().toUtf8(), content.value(plain));
    }

    void whatIsTooLargeIsNotKept_data()
    {
        QTest::addColumn<Formats>("content");
        QTest::addColumn<Outcome>("outcome");
        QTest::newRow("longest text")
            << Formats{{plain, QByteArray(longestText, 'a')}} << Outcome::stored;
        QTest::newRow("longer") << Formats{{plain, QByteArray(longestText + 1, 'a')}}
                                << Outcome::tooLarge;
        QTest::newRow("many pixels")
            << Formats{{png, forgedPicture(100'000, 100'000)}, {plain, "a"}} << Outcome::tooLarge;
        QTest::newRow("one too many")
            << Formats{{png, forgedPicture(4096, 4097)}} << Outcome::tooLarge;
        QTest::newRow("many bytes")
            << Formats{{png, QByteArray(largestPicture + 1, 'a')}} << Outcome::tooLarge;
    }

    void whatIsTooLargeIsNotKept()
    {
        QFETCH(Formats, content);
        m_board->formats = content;
        QTEST(outcomeOfRecord(), "outcome");
        QCOMPARE(m_shelf->lastWasTooLarge(), m_shelf->items().isEmpty());
        m_board->formats = {{plain, "small"}};
        QCOMPARE(outcomeOfRecord(), Outcome::stored);
        QVERIFY(!m_shelf->lastWasTooLarge());
    }

    void filesArePrivate()
    {
        m_board->put({{png, picture(3)}});
        QTRY_COMPARE(m_shelf->items().size(), 1);
        const QString name = m_shelf->items().constFirst().value;
        QTRY_COMPARE(filesIn(directory()), (QStringList{name, u"items.json"_s}));
        QVERIFY(name.endsWith(".png"_L1) && name.size() == 40
                && name == name.left(36).toUpper() + ".png"_L1);
        QCOMPARE(permissionsOf(directory()), 0700);
        for (const QString& file : filesIn(directory()))
            QCOMPARE(permissionsOf(directory() + u'/' + file), 0600);
        QCOMPARE(contentsOf(directory() + u'/' + name), picture(3)); // as it came

        m_board->put({{u"image/bmp"_s, picture(4, "BMP")}});
        QTRY_COMPARE(m_shelf->items().size(), 2);
        const QString other = m_shelf->imageFile(m_shelf->items().constFirst());
        QVERIFY(contentsOf(other).startsWith("\x89PNG"));
        QCOMPARE(QImage(other).pixelColor(3, 3), QColor(4, 0, 0));
    }

    void theSameAgainMovesToTheTop()
    {
        for (const Formats& content : {Formats{{png, picture(1)}},
                                       {{plain, "a"}},
                                       {{png, picture(2)}},
                                       {{png, picture(1)}},
                                       {{plain, "a"}}}) {
            m_now += 1s;
            m_board->put(content);
        }
        QTRY_VERIFY(m_shelf->items().size() == 3
                    && m_shelf->items().constFirst().kind == ShelfItemKind::text);
        QCOMPARE(m_shelf->items().at(0).createdAt, start + 5s);
        QCOMPARE(m_shelf->items().at(1).createdAt, start + 4s);
        QCOMPARE(contentsOf(m_shelf->imageFile(m_shelf->items().at(1))), picture(1));
        open(); // digests have to be made anew
        m_board->put({{png, picture(2)}});
        QTRY_COMPARE(m_shelf->items().constFirst().kind, ShelfItemKind::image);
        QCOMPARE(contentsOf(m_shelf->imageFile(m_shelf->items().constFirst())), picture(2));
        QCOMPARE(filesIn(directory()).size(), 3);
    }

    void theOldestGivesWay()
    {
        m_board->put({{png, picture(1)}});
        for (int i = 0; i < ClipboardShelf::itemLimit - 1; ++i)
            m_board->put({{plain, QByteArray::number(i)}});
        QTRY_COMPARE(m_shelf->items().size(), 30);
        QTRY_COMPARE(filesIn(directory()).size(), 2);
        m_board->put({{plain, "one more"}});
        QTRY_COMPARE(m_shelf->items().constFirst().value, u"one more"_s);
        QCOMPARE(m_shelf->items().size(), 30);
        QCOMPARE(m_shelf->items().constLast().value, u"0"_s);
        QTRY_COMPARE(filesIn(directory()), QStringList{u"items.json"_s});
    }

    void copiesExpireAfterADay()
    {
        m_board->put({{png, picture(1)}});
        QTRY_COMPARE(m_shelf->items().size(), 1);
        QTRY_COMPARE(storedItems().size(), 1);
        m_shelf->tick(start + 24h);
        QCOMPARE(m_shelf->items().size(), 1);
        m_shelf->tick(start + 24h + 500ms);
        QCOMPARE(m_shelf->items().size(), 0);
        QTRY_COMPARE(storedItems().size(), 0);
        QCOMPARE(filesIn(directory()), QStringList{u"items.json"_s});

        m_board->put({{plain, "a"}});
        QTRY_COMPARE(m_shelf->items().size(), 1);
        m_now = start + 25h;
        open();
        QCOMPARE(m_shelf->items().size(), 0);
    }

    void onlyWhatIsCopiedWhileOnIsKept()
    {
        m_shelf->setEnabled(false);
        m_board->put({{plain, "while off"}});
        m_shelf->tick(m_now);
        m_shelf->setEnabled(true);
        m_shelf->tick(m_now);
        std::optional<Outcome> outcome;
        m_board->formats = {{png, picture(1)}};
        m_shelf->record(m_now, [&outcome](Outcome came) { outcome = came; });
        m_shelf->setEnabled(false); // before it is read
        QTRY_COMPARE(outcome, Outcome::nothing);
        QCOMPARE(m_shelf->items().size(), 0);
        m_shelf.reset();
        QVERIFY(!QFile::exists(directory()));
        QCOMPARE(m_preferences->boolean(u"clipboardHistoryEnabled"_s), false);
    }

    void aSilentBoardIsPolled()
    {
        m_board->tells = false;
        open({.pollInterval = 1ms, .clock = [this] { return m_now; }});
        m_board->put({{plain, "found"}});
        QTRY_COMPARE(m_shelf->items().size(), 1);
    }

    void clearingAlsoForgetsWhatIsOnItsWay()
    {
        m_board->put({{plain, "a"}});
        QTRY_COMPARE(m_shelf->items().size(), 1);
        std::optional<Outcome> outcome;
        m_board->formats = {{png, picture(1)}};
        m_shelf->record(m_now, [&outcome](Outcome came) { outcome = came; });
        m_shelf->clear();
        QTRY_COMPARE(outcome, Outcome::nothing);
        QCOMPARE(m_shelf->items().size(), 0);
        QTRY_COMPARE(filesIn(directory()), QStringList{u"items.json"_s});
    }

    void copiedBackAsItWas()
    {
        m_board->put({{plain, QByteArray(" a\0 ", 4)}});
        m_board->put({{png, picture(5)}});
        QTRY_COMPARE(m_shelf->items().size(), 2);
        const QList<ShelfItem> before = m_shelf->items();
        m_now += 1h;
        QVERIFY(m_shelf->copy(before.at(1)));
        QCOMPARE(m_board->formats.value(plain), QByteArray(" a\0 ", 4));
        m_shelf->tick(m_now);
        QVERIFY(m_shelf->copy(before.at(0)));
        QCOMPARE(m_board->formats.value(png), picture(5));
        QCOMPARE(outcomeOfRecord(), Outcome::nothing); // the board may tell late of our own content
        QCOMPARE(m_shelf->items(), before);
        m_shelf->remove(before.at(0));
        const qint64 count = m_board->count;
        QVERIFY(!m_shelf->copy(before.at(0)));
        QCOMPARE(m_board->count, count);
    }

    void dropsAreTakenWhileOff()
    {
        m_shelf->setEnabled(false);
        const QString file = m_folder->filePath(u"a b.txt"_s);
        writeFile(file, "a");
        QMimeData dropped;
        dropped.setUrls({QUrl::fromLocalFile(file), QUrl::fromLocalFile(u"/none"_s),
                         QUrl::fromLocalFile(m_folder->path())});
        std::optional<Outcome> outcome;
        m_shelf->addDropped(dropped, m_now, [&outcome](Outcome came) { outcome = came; });
        QTRY_COMPARE(outcome, Outcome::stored);
        QCOMPARE(m_shelf->items().at(0).value, m_folder->path());
        QCOMPARE(m_shelf->items().at(1).value, file);

        const ShelfItem item = m_shelf->items().at(1);
        QCOMPARE(m_shelf->dragWriter(item)->urls(), QList<QUrl>{QUrl::fromLocalFile(file)});
        QVERIFY(QFile::remove(file));
        QVERIFY(!m_shelf->dragWriter(item));
        QVERIFY(!m_shelf->copy(item));
    }

    void aDraggedPictureHasAFriendlyName()
    {
        open({.dragFileLife = 0ms, .clock = [this] { return m_now; }});
        m_board->put({{png, picture(6)}});
        QTRY_COMPARE(m_shelf->items().size(), 1);
        const ShelfItem item = m_shelf->items().constFirst();
        const QString file = m_shelf->dragWriter(item)->urls().constFirst().toLocalFile();
        QCOMPARE(file,
                 m_folder->filePath("VexloDrag-"_L1 + item.value.left(36) + "/Vexlo Image.png"_L1));
        QCOMPARE(contentsOf(file), picture(6));
        QCOMPARE(permissionsOf(QFileInfo(file).path()), 0700);
        m_shelf->endDrag(item);
        m_shelf->remove(item);
        QTRY_VERIFY(!QFile::exists(QFileInfo(file).path()));

        writeFile(file, "left by a crash");
        open();
        QTRY_VERIFY(!QFile::exists(QFileInfo(file).path()));
    }

    void brokenListsAreSurvived_data()
    {
        const auto other = u"0f8fad5b-d9cb-469f-a165-70867728950f"_s;
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QStringList>("values");
        const auto row
            = [](const char* name, const QByteArray& data, const QStringList& values = {}) {
                  QTest::newRow(name) << data << values;
              };
        const QByteArray good = itemJson(other, "text", u"kept"_s);
        row("no JSON", "[{");
        row("an object", good);
        row("no items", '[' + good + ",1,null,{},[]]", {u"kept"_s});
        row("id as path", '[' + itemJson(u"../../etc/passwd"_s, "text", u"a"_s) + ',' + good + ']',
            {u"kept"_s});
        row("id in braces", '[' + itemJson(u'{' + other + u'}', "text", u"a"_s) + ']');
        row("picture elsewhere", '[' + itemJson(id, "image", u"../secret.png"_s) + ',' + good + ']',
            {u"kept"_s});
        row("picture gone", '[' + itemJson(id, "image", id + ".png"_L1) + ']', {id + ".png"_L1});
        row("same id", '[' + good + ',' + itemJson(other.toUpper(), "text", u"b"_s) + ']',
            {u"kept"_s});
        row("unknown kind", '[' + itemJson(id, "movie", u"a"_s) + ']');
        row("absurd date", '[' + itemJson(id, "text", u"a"_s, 1e300) + ']');
        QByteArray many = "[" + good;
        QStringList first{u"kept"_s};
        for (int i = 1; i < 10'000; ++i)
            many += ','
                + itemJson(QUuid::createUuid().toString(QUuid::WithoutBraces), "text",
                           QString::number(i));
        for (int i = 1; i < 30; ++i)
            first.append(QString::number(i));
        row("10,000 items", many + ']', first);
    }

    void brokenListsAreSurvived()
    {
        QFETCH(QByteArray, data);
        m_shelf.reset();
        writeFile(directory() + "/items.json"_L1, data);
        const QString stray = directory() + u'/'
            + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + ".png"_L1;
        writeFile(stray, "named by no item");
        writeFile(directory() + "/notes.png"_L1, "not ours");
        open();
        QStringList values;
        for (const ShelfItem& item : m_shelf->items())
            values.append(item.value);
        QTEST(values, "values");
        QTRY_VERIFY(!QFile::exists(stray));
        QVERIFY(QFile::exists(directory() + "/notes.png"_L1));
        for (const ShelfItem& item : QList<ShelfItem>(m_shelf->items())) {
            if (item.kind == ShelfItemKind::image)
                QVERIFY(!m_shelf->copy(item) && !m_shelf->dragWriter(item));
        }
    }

private:
    [[nodiscard]] QString directory() const
    {
        return m_folder->filePath(u"deep/ClipboardRecent"_s);
    }

    [[nodiscard]] QJsonArray storedItems() const
    {
        return QJsonDocument::fromJson(contentsOf(directory() + "/items.json"_L1)).array();
    }

    void open(const ShelfTiming& timing)
    {
        m_shelf.reset();
        m_shelf.emplace(directory(), *m_board, *m_preferences, timing);
    }
    void open()
    {
        open({.clock = [this] { return m_now; }});
    }

    /// Records what the board holds and waits until that is done and written.
    Outcome outcomeOfRecord()
    {
        std::optional<Outcome> outcome;
        m_shelf->record(m_now, [&outcome](Outcome came) { outcome = came; });
        if (!QTest::qWaitFor([&] {
                return outcome
                    && (*outcome != Outcome::stored
                        || storedItems().size() == m_shelf->items().size());
            }))
            return Outcome::nothing;
        return *outcome;
    }

    const QByteArray m_temporary = qgetenv("TMPDIR");
    std::optional<QTemporaryDir> m_folder;
    std::optional<HandBoard> m_board;
    std::optional<PreferenceStore> m_preferences;
    std::optional<ClipboardShelf> m_shelf;
    Date m_now = start;
};

QTEST_GUILESS_MAIN(ClipboardShelfTest)
#include "ClipboardShelfTest.moc"
