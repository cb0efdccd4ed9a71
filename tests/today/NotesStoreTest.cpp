#include "today/NotesStore.h"

#include "tests/support/TestFiles.h"

#include <QJsonArray>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// 2025-01-01, and what the file makes of it.
const Date now{1'735'689'600s};
const QByteArray idBytes = "0A1B2C3D-4E5F-6789-ABCD-EF0123456789";
const QByteArray oneTask = "[{\"created\":757382400.25,\"done\":false,\"id\":\"" + idBytes
    + "\",\"text\":\"Reply — \\\"soon\\\"\"}]";
const QUuid oneId(QString::fromLatin1(idBytes));

const QString family = u"👩‍👩‍👧"_s;

QStringList texts(const NotesStore& store)
{
    QStringList texts;
    for (const NoteItem& item : store.items())
        texts.append(item.text);
    return texts;
}

QByteArray tasks(int count)
{
    QJsonArray array;
    for (int i = 0; i < count; ++i)
        array.append(QJsonObject{{u"id"_s, QUuid::createUuid().toString(QUuid::WithoutBraces)},
                                 {u"text"_s, QString::number(i)},
                                 {u"done"_s, i > 0},
                                 {u"created"_s, i}});
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

/// Starts another process that adds `text`, with `wrapper` before it.
void startAdding(QProcess& process, const QString& file, const QString& text,
                 QStringList wrapper = {})
{
    wrapper << QCoreApplication::applicationFilePath() << u"--add"_s << file << text;
    process.start(wrapper.takeFirst(), wrapper);
}

} // namespace

class NotesStoreTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_file = m_folder->filePath(u"deep/notes.json"_s);
    }

    void textsAreKeptOnOneLineTrimmedAndCut_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("kept");
        QTest::newRow("spaces around") << u" \n a  b\t"_s << u"a  b"_s;
        QTest::newRow("breaks") << u"a\r\n\r\n  b\u2028c\u0001d"_s << u"a b c d"_s;
        QTest::newRow("250 letters") << QString(250, u'x') << QString(200, u'x');
        QTest::newRow("emoji with joiners") << family.repeated(201) << family.repeated(200);
        QTest::newRow("right to left") << u"לקנות לחם"_s << u"לקנות לחם"_s;
        QTest::newRow("book") << QString(1 << 20, u' ') + QString(1 << 20, u'x')
                              << QString(200, u'x');
        QTest::newRow("only spaces") << u" \t\n "_s << QString();
    }

    void textsAreKeptOnOneLineTrimmedAndCut()
    {
        QFETCH(QString, typed);
        QFETCH(QString, kept);
        NotesStore store(m_file);
        QCOMPARE(store.add(typed, now), !kept.isEmpty());
        QCOMPARE(texts(store).value(0), kept);
        QCOMPARE(texts(NotesStore(m_file)), texts(store));
        QCOMPARE(QFile::exists(m_file), !kept.isEmpty());
        if (kept.isEmpty())
            return;
        const QUuid id = store.items().first().id;
        QVERIFY(store.edit(id, u"other"_s) && !store.edit(id, u"other"_s));
        QVERIFY(store.edit(id, typed) && !store.edit(id, u" "_s) && !store.edit({}, u"x"_s));
        QCOMPARE(texts(NotesStore(m_file)), QStringList(kept));
    }

    void fileHasExactlyItsFormat()
    {
        writeFile(m_file, oneTask, 0644);
        NotesStore store(m_file);
        const NoteItem expected{
            .id = oneId, .text = u"Reply — \"soon\""_s, .done = false, .created = now + 250ms};
        QCOMPARE(store.items(), QList({expected}));
        store.toggle(oneId);
        QByteArray done = oneTask;
        done.replace("false", "true");
        QCOMPARE(contentsOf(m_file), done);
        QCOMPARE(permissionsOf(m_file), 0600);
        store.toggle(oneId);
        QCOMPARE(contentsOf(m_file), oneTask);
        QCOMPARE(filesIn(m_folder->filePath(u"deep"_s)), QStringList(u"notes.json"_s));
    }

    void brokenFilesAreKeptAsideBeforeTheyAreOverwritten_data()
    {
        const auto with = [](const QByteArray& before, const QByteArray& after) {
            QByteArray bytes = oneTask;
            return bytes.replace(before, after);
        };
        QTest::addColumn<QByteArray>("broken");
        QTest::newRow("no JSON") << "[{"_ba;
        QTest::newRow("no list") << "{}"_ba;
        QTest::newRow("no task") << "[1]"_ba;
        QTest::newRow("id of another form") << with(idBytes, "{" + idBytes + "}");
        QTest::newRow("no truth") << with("false", "0");
        QTest::newRow("time as text") << with("757382400.25", "\"2025\"");
        QTest::newRow("no text") << with("\"text\"", "\"title\"");
        QTest::newRow("one of two broken") << "[" + oneTask.mid(1).chopped(1) + ",{}]";
    }

    void brokenFilesAreKeptAsideBeforeTheyAreOverwritten()
    {
        QFETCH(QByteArray, broken);
        writeFile(m_file, broken);
        NotesStore store(m_file);
        QCOMPARE(store.items(), QList<NoteItem>());
        store.toggle(oneId);
        QCOMPARE(contentsOf(m_file), broken); // nothing was to be written
        QVERIFY(store.add(u"a"_s) && store.add(u"b"_s));
        QCOMPARE(contentsOf(m_file + u".bad"_s), broken);
        QCOMPARE(texts(NotesStore(m_file)), QStringList({u"a"_s, u"b"_s}));
    }

    void fullListsTakeNoMore()
    {
        writeFile(m_file, tasks(60));
        NotesStore store(m_file);
        QCOMPARE(store.items().size(), 60);
        for (int i = 0; i < 10; ++i)
            store.remove(store.items().last().id);
        QVERIFY(!store.add(u"x"_s)); // 50, of which 49 are done
        QCOMPARE(store.remaining(), 1);
        const QList<PlacedNote> removed = store.clearDone();
        QCOMPARE(removed.size(), 49);
        QVERIFY(store.add(u"x"_s));
        store.restore(removed);
        QCOMPARE(store.items().size(), 51); // nothing is lost to the limit
        QCOMPARE(texts(store).mid(0, 3), QStringList({u"0"_s, u"1"_s, u"2"_s}));
        QCOMPARE(texts(store).last(), u"x"_s);
    }

    void changesAreSavedAndToldWhenThereAreAny()
    {
        NotesStore store(m_file);
        int changes = 0;
        store.onChange = [&] {
            ++changes;
            NotesStore(m_file).toggle({}); // others may use the file by now
        };
        for (const QString& text : {u"a"_s, u"b"_s, u"c"_s})
            store.add(text);
        const QUuid a = store.items()[0].id;
        store.toggle({});
        store.clearDone();
        store.move(a, -1);
        QCOMPARE(changes, 3);
        store.move(a, 7);
        QCOMPARE(texts(NotesStore(m_file)), QStringList({u"b"_s, u"c"_s, u"a"_s}));
        QCOMPARE(store.remove(a).value(0).place, 2);
        QCOMPARE(store.remove(a), QList<PlacedNote>()); // saves all the same
        QCOMPARE(changes, 6);
    }

    void tasksOfOtherProcessesStay()
    {
        NotesStore store(m_file);
        NotesStore other(m_file);
        QVERIFY(store.add(u"a"_s) && other.add(u"b"_s));
        store.toggle(store.items().first().id);
        QCOMPARE(texts(store), QStringList({u"a"_s, u"b"_s}));
        other.reload();
        QVERIFY(other.items().first().done);

        // Also those that came while nothing could be written.
        QVERIFY(QDir(m_folder->path()).rename(u"deep"_s, u"away"_s));
        writeFile(m_folder->filePath(u"deep"_s), "a file in the folder's place");
        QVERIFY(store.add(u"c"_s) && !store.isSaved());
        QVERIFY(QFile::remove(m_folder->filePath(u"deep"_s)));
        QVERIFY(QDir(m_folder->path()).rename(u"away"_s, u"deep"_s));
        QVERIFY(other.add(u"d"_s) && store.add(u"e"_s) && store.isSaved());
        QCOMPARE(texts(NotesStore(m_file)), QStringList({u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s}));

        // And those of many at once.
        std::array<QProcess, 6> processes;
        for (QProcess& process : processes)
            startAdding(process, m_file, u"x"_s);
        for (QProcess& process : processes)
            QVERIFY(process.waitForFinished() && process.exitCode() == 0);
        store.reload();
        QCOMPARE(texts(store).mid(5), QStringList(6, u"x"_s));
    }

    void killedAnywhereTheListIsOldOrNew_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::newRow("list") << oneTask;
        QTest::newRow("broken list") << "broken"_ba;
    }

    void killedAnywhereTheListIsOldOrNew()
    {
        QFETCH(QByteArray, before);
        int keptOld = 0;
        int gotNew = 0;
        for (const QString& calls : {u"openat"_s, u"flock"_s, u"write"_s, u"fchmod"_s, u"fsync"_s,
                                     u"close"_s, u"/^rename"_s}) {
            bool isKilled = true;
            for (int count = 1; isKilled; ++count) {
                QFile::remove(m_file + u".bad"_s);
                writeFile(m_file, before);
                QProcess process;
                startAdding(process, m_file, u"new"_s,
                            {u"strace"_s, u"-o"_s, u"/dev/null"_s, u"-e"_s,
                             u"inject=%1:signal=KILL:when=%2"_s.arg(calls).arg(count)});
                QVERIFY(process.waitForFinished(60'000));
                isKilled = process.exitStatus() == QProcess::CrashExit;
                const bool isOld
                    = contentsOf(m_file) == before || contentsOf(m_file + u".bad"_s) == before;
                const QStringList found = texts(NotesStore(m_file));
                const bool isNew = found.contains(u"new"_s);
                QVERIFY(isNew ? found.size() == (before == oneTask ? 2 : 1) : isOld);
                ++(isNew ? gotNew : keptOld);
            }
            QCOMPARE(texts(NotesStore(m_file)).last(), u"new"_s);
        }
        QVERIFY(keptOld > 6 && gotNew > 7); // seven runs were not killed
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_file;
};

/// With "--add FILE TEXT" this program is the other process of its own tests.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"--add"_s)
        return NotesStore(arguments.value(2)).add(arguments.value(3)) ? 0 : 1;
    NotesStoreTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "NotesStoreTest.moc"
