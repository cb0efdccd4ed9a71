#include "platform/PreferenceStore.h"
#include "platform/linux/DesktopClipboard.h"
#include "tests/support/CopyingPrograms.h"
#include "tests/support/TestFiles.h"
#include "today/ClipboardShelf.h"
#include "today/ShelfPictures.h"

#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <csignal>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Outcome = ClipboardShelf::Outcome;

/// Several megabytes, which travel piece by piece.
QByteArray largePicture()
{
    return noisePicture({1500, 1000});
}

/// Another program that copies `bytes` and offers them until something else is copied.
CopyingProgram copied(const QByteArray& bytes, const QStringList& options = {})
{
    return startedCopy(u"xclip"_s,
                       QStringList{u"-quiet"_s, u"-selection"_s, u"clipboard"_s} + options, bytes);
}

/// What another program gets when it pastes.
QByteArray pasted(const QString& type)
{
    return pastedBy(u"xclip"_s, {u"-o"_s, u"-selection"_s, u"clipboard"_s, u"-t"_s, type});
}

} // namespace

class ClipboardTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder.emplace();
        m_preferences.emplace(m_folder->filePath(u"preferences.json"_s));
        m_preferences->setBoolean(ClipboardShelf::enabledKey, true);
        open(1h);
    }

    void cleanup() { m_shelf.reset(); }

    void whatOthersCopyIsKept_data()
    {
        const QString file = QCoreApplication::applicationFilePath();
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<ShelfItemKind>("kind");
        QTest::addColumn<QString>("value");
        const auto row = [](const char* name, const QByteArray& bytes, const QStringList& options,
                            ShelfItemKind kind, const QString& value) {
            QTest::newRow(name) << bytes << options << kind << value;
        };
        const QStringList asFiles{u"-t"_s, u"text/uri-list"_s};
        row("text", " grüße\n"_ba, {}, ShelfItemKind::text, u" grüße\n"_s);
        row("old text", "\xfc", {u"-noutf8"_s}, ShelfItemKind::text, u"ü"_s);
        row("long text", QByteArray(3 << 20, 'x'), {}, ShelfItemKind::text, QString(3 << 20, u'x'));
        row("file", QUrl::fromLocalFile(file).toEncoded(), asFiles, ShelfItemKind::file, file);
        row("picture", largePicture(), {u"-t"_s, u"image/png"_s}, ShelfItemKind::image, {});
    }

    void whatOthersCopyIsKept()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QStringList, options);
        const auto owner = copied(bytes, options);
        QTRY_COMPARE(m_shelf->items().size(), 1);
        const ShelfItem item = m_shelf->items().constFirst();
        QTEST(item.kind, "kind");
        if (item.kind == ShelfItemKind::image)
            QCOMPARE(contentsOf(m_shelf->imageFile(item)), bytes);
        else
            QTEST(item.value, "value");

        const auto other = copied("other");
        QTRY_COMPARE(m_shelf->items().size(), 2);
        QVERIFY(m_shelf->copy(item));
        QTRY_COMPARE(other->state(), QProcess::NotRunning); // it has heard that it owns no more
        const bool isOldText = bytes == "\xfc";
        const QString type = options.isEmpty() || isOldText ? u"UTF8_STRING"_s : options.last();
        QCOMPARE(pasted(type).trimmed(), isOldText ? "ü"_ba : bytes.trimmed());
        QCOMPARE(m_shelf->items().constLast(), item); // where it was
        QCOMPARE(m_shelf->items().size(), 2);
    }

    void secretsAndSelectionsAreNot()
    {
        const auto secret = copied("secret", {u"-t"_s, u"x-kde-passwordManagerHint"_s});
        QTRY_COMPARE(m_board->changeCount(), 1);
        const auto selected = copied("selected", {u"-selection"_s, u"primary"_s});
        QVERIFY(selected->waitForStarted());
        const auto own = copied("copied");
        QTRY_COMPARE(m_shelf->items().size(), 1);
        QCOMPARE(m_shelf->items().constFirst().value, u"copied"_s);
        QCOMPARE(m_board->changeCount(), 2);
    }

    void nothingIsReadWhileOff()
    {
        m_shelf->setEnabled(false);
        const auto before = copied("while off");
        QTRY_COMPARE(pasted(u"UTF8_STRING"_s), "while off");
        m_shelf->setEnabled(true);
        const auto after = copied("while on");
        QTRY_COMPARE(m_shelf->items().size(), 1);
        QCOMPARE(m_shelf->items().constFirst().value, u"while on"_s);
    }

    void aTooLargeCopyStaysWithItsOwner()
    {
        const auto owner = copied(QByteArray(longestText + 1, 'x'));
        QTRY_VERIFY(m_shelf->lastWasTooLarge());
        QCOMPARE(m_shelf->items().size(), 0);
        QCOMPARE(owner->state(), QProcess::Running);
    }

    void aSilentOwnerHoldsNobodyUp()
    {
        const auto owner = copied("late");
        QTRY_COMPARE(m_shelf->items().size(), 1);
        m_shelf->clear();
        QCOMPARE(::kill(pid_t(owner->processId()), SIGSTOP), 0);
        std::optional<Outcome> outcome;
        bool goesOn = false;
        m_shelf->record(currentDate(), [&outcome](Outcome came) { outcome = came; });
        QTimer::singleShot(0, this, [&goesOn] { goesOn = true; });
        QTRY_VERIFY(goesOn);
        QVERIFY(!outcome);
        const auto next = copied("next");
        QTRY_COMPARE(m_shelf->items().size(), 1);
        QCOMPARE(m_shelf->items().constFirst().value, u"next"_s);
    }

    void anOwnerThatComesToItselfIsNotHarmed()
    {
        open(1ms);
        m_shelf->setEnabled(false); // so that it is not asked before it is stopped
        const auto owner = copied("late");
        QTRY_COMPARE(pasted(u"UTF8_STRING"_s), "late");
        m_shelf->setEnabled(true);
        QCOMPARE(::kill(pid_t(owner->processId()), SIGSTOP), 0);
        std::optional<Outcome> outcome;
        m_shelf->record(currentDate(), [&outcome](Outcome came) { outcome = came; });
        QTRY_COMPARE(outcome, Outcome::nothing);
        QCOMPARE(::kill(pid_t(owner->processId()), SIGCONT), 0);
        QCOMPARE(pasted(u"UTF8_STRING"_s), "late");
        QCOMPARE(owner->state(), QProcess::Running);
    }

    void whatComesAfterTheWatchIsNotTold()
    {
        m_shelf.reset();
        const auto owner = copied("late");
        QTRY_COMPARE(pasted(u"UTF8_STRING"_s), "late");
        QCOMPARE(::kill(pid_t(owner->processId()), SIGSTOP), 0);
        m_board->setWatched(true);
        bool isTold = false;
        m_board->fetch([&isTold](const std::shared_ptr<BoardContent>&) { isTold = true; });
        m_board->setWatched(false);
        QVERIFY(!isTold);
    }

private:
    void open(std::chrono::milliseconds patience)
    {
        m_shelf.reset();
        m_board.emplace(pictureTypes(), ClipboardShelf::privateTypes(), patience);
        m_shelf.emplace(m_folder->filePath(u"ClipboardRecent"_s), *m_board, *m_preferences);
    }

    std::optional<QTemporaryDir> m_folder;
    std::optional<PreferenceStore> m_preferences;
    std::optional<DesktopClipboard> m_board;
    std::optional<ClipboardShelf> m_shelf;
};

QTEST_MAIN(ClipboardTest)
#include "ClipboardTest.moc"
