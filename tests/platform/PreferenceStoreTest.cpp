#include "platform/PreferenceStore.h"

#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class PreferenceStoreTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_file = m_folder->filePath(u"Gridwell/preferences.json"_s);
    }

    void valuesSurviveInAPrivateFile()
    {
        PreferenceStore store(m_file);
        QVERIFY(store.setBoolean(u"welcomeDone"_s, true));
        QVERIFY(store.setInteger(u"big"_s, std::numeric_limits<qint64>::max()));
        QVERIFY(store.setReal(u"height"_s, 512.25));
        QVERIFY(store.setText(u"usageTabName"_s, u"Überblick 🐙"_s));
        QVERIFY(store.setTexts(u"todayOrder"_s, {u"codex"_s, u"calendar"_s}));
        QVERIFY(store.setReal(u"gone"_s, 1.5));
        QVERIFY(store.setReal(u"gone"_s, std::numeric_limits<double>::quiet_NaN()));

        const PreferenceStore again(m_file);
        QCOMPARE(again.boolean(u"welcomeDone"_s), true);
        QCOMPARE(again.integer(u"big"_s), std::numeric_limits<qint64>::max());
        QCOMPARE(again.real(u"height"_s), 512.25);
        QCOMPARE(again.text(u"usageTabName"_s), u"Überblick 🐙"_s);
        QCOMPARE(again.texts(u"todayOrder"_s), QStringList({u"codex"_s, u"calendar"_s}));
        QCOMPARE(again.keys().size(), 5);
        QCOMPARE(permissionsOf(m_file), 0600);
        QCOMPARE(permissionsOf(QFileInfo(m_file).path()), 0700);
        QVERIFY(contentsOf(m_file).contains("\"height\": 512.25"));
    }

    void otherTypesReadAsMissing()
    {
        writeFile(m_file, R"({"b": true, "i": 7, "r": 2.5, "t": "7", "l": ["a", 1], "n": null,
                              "o": {"x": 1}, "whole": 500.0, "huge": 1e300})");
        const PreferenceStore store(m_file);
        for (const QString& key : {u"i"_s, u"t"_s, u"n"_s, u"o"_s, u"none"_s})
            QVERIFY(!store.boolean(key));
        for (const QString& key : {u"b"_s, u"r"_s, u"t"_s, u"n"_s, u"huge"_s})
            QVERIFY(!store.integer(key));
        for (const QString& key : {u"b"_s, u"t"_s, u"l"_s})
            QVERIFY(!store.real(key));
        QVERIFY(!store.text(u"i"_s));
        QVERIFY(!store.texts(u"l"_s));
        QVERIFY(!store.texts(u"t"_s));
        QCOMPARE(store.integer(u"whole"_s), 500);
        QCOMPARE(store.real(u"i"_s), 7.0);
    }

    void brokenFilesAreKeptAside()
    {
        const std::pair<QByteArray, int> rows[]{
            {R"({"a": tr)", 0600},
            {"", 0600},
            {"[1]", 0600},
            {R"({"a": true})", 0000},
            {R"({"a":)" + QByteArray(100'000, '['), 0600},
            {"{}" + QByteArray(5 << 20, ' '), 0600},
        };
        for (const auto& [contents, permissions] : rows) {
            QFile::remove(m_file);
            writeFile(m_file, contents, permissions);
            PreferenceStore store(m_file);
            QVERIFY(!store.boolean(u"a"_s));
            QVERIFY(store.setBoolean(u"b"_s, true));
            ::chmod(QFile::encodeName(m_file + u".bad"_s).constData(), 0600);
            QVERIFY2(contentsOf(m_file + u".bad"_s) == contents, contents.left(20));
            QCOMPARE(PreferenceStore(m_file).boolean(u"b"_s), true);
        }
    }

    void twoProgramsUndoNothingOfEachOther()
    {
        PreferenceStore one(m_file);
        PreferenceStore two(m_file);
        QVERIFY(one.setBoolean(u"a"_s, true));
        QVERIFY(two.setInteger(u"b"_s, 1));
        QVERIFY(one.setText(u"c"_s, u"x"_s));
        QCOMPARE(one.integer(u"b"_s), 1);
        QCOMPARE(two.text(u"c"_s), u"x"_s);
        QVERIFY(two.remove(u"a"_s));
        QVERIFY(!one.boolean(u"a"_s));
    }

    void whatCannotBeWrittenGoesOutLater()
    {
        PreferenceStore store(m_file);
        QVERIFY(store.setBoolean(u"a"_s, true));
        const QByteArray folder = QFile::encodeName(QFileInfo(m_file).path());
        ::chmod(folder.constData(), 0500);
        QVERIFY(!store.setBoolean(u"a"_s, false));
        QVERIFY(!store.setInteger(u"b"_s, 3));
        QCOMPARE(store.boolean(u"a"_s), false);
        QCOMPARE(PreferenceStore(m_file).boolean(u"a"_s), true);
        QVERIFY(store.keys().contains(u"b"_s));
        ::chmod(folder.constData(), 0700);
        QVERIFY(store.setInteger(u"c"_s, 4));
        QCOMPARE(PreferenceStore(m_file).boolean(u"a"_s), false);
        QCOMPARE(PreferenceStore(m_file).integer(u"b"_s), 3);
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_file;
};

QTEST_GUILESS_MAIN(PreferenceStoreTest)
#include "PreferenceStoreTest.moc"
