#include "platform/PreferenceStore.h"
#include "platform/linux/DesktopClipboard.h"
#include "tests/support/CopyingPrograms.h"
#include "tests/support/TestFiles.h"
#include "today/ClipboardShelf.h"
#include "today/ShelfPictures.h"

#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Outcome = ClipboardShelf::Outcome;

/// More than a pipe takes at once.
QByteArray largePicture()
{
    return noisePicture({500, 300});
}

/// Another program that copies `bytes` and offers them until something else is copied.
CopyingProgram copied(const QByteArray& bytes, const QStringList& options = {})
{
    return startedCopy(u"wl-copy"_s, QStringList{u"--foreground"_s} + options, bytes);
}

/// What another program gets when it pastes.
QByteArray pasted(const QString& type)
{
    return pastedBy(u"wl-paste"_s, {u"--no-newline"_s, u"--type"_s, type});
}

} // namespace

/// Runs without a window and away from X11, so that nothing but data control can tell of a copy.
class DataControlTest : public QObject {
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

    void whatOthersCopyIsKeptAndGivenBack_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("type");
        QTest::addColumn<ShelfItemKind>("kind");
        QTest::newRow("text") << " grüße\n"_ba << u"text/plain;charset=utf-8"_s
                              << ShelfItemKind::text;
        QTest::newRow("picture") << largePicture() << u"image/png"_s << ShelfItemKind::image;
    }

    void whatOthersCopyIsKeptAndGivenBack()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, type);
        const auto owner = copied(bytes, {u"--type"_s, type});
        QTRY_COMPARE(m_shelf->items().size(), 1);
        const ShelfItem item = m_shelf->items().constFirst();
        QTEST(item.kind, "kind");
        const bool isText = item.kind == ShelfItemKind::text;
        QCOMPARE(isText ? item.value.toUtf8() : contentsOf(m_shelf->imageFile(item)), bytes);

        const auto other = copied("other");
        QTRY_COMPARE(m_shelf->items().size(), 2);
        QVERIFY(m_shelf->copy(item));
        QTRY_COMPARE(other->state(), QProcess::NotRunning); // it has heard that it owns no more
        QTRY_COMPARE(m_board->changeCount(), 3);
        QCOMPARE(pasted(type), bytes);
        QCOMPARE(m_shelf->items().constLast(), item); // where it was
        QCOMPARE(m_shelf->items().size(), 2);
        m_shelf->setEnabled(false);
        QCOMPARE(pasted(type), bytes);
    }

    void secretsAndSelectionsAreNot()
    {
        const auto secret = copied("secret", {u"--type"_s, u"x-kde-passwordManagerHint"_s});
        QTRY_COMPARE(m_board->changeCount(), 1);
        const auto selected = copied("selected", {u"--primary"_s});
        QVERIFY(selected->waitForStarted());
        const auto own = copied("copied");
        QTRY_COMPARE(m_shelf->items().size(), 1);
        QCOMPARE(m_shelf->items().constFirst().value, u"copied"_s);
        QCOMPARE(m_board->changeCount(), 2);
    }

    void whatIsThereAtTheStartIsNotNew()
    {
        m_shelf->setEnabled(false);
        const auto before = copied("while off");
        QTRY_COMPARE(pasted(u"text/plain"_s), "while off");
        m_shelf->setEnabled(true);
        const auto after = copied("while on");
        QTRY_COMPARE(m_shelf->items().size(), 1);
        QCOMPARE(m_shelf->items().constFirst().value, u"while on"_s);
        QCOMPARE(m_board->changeCount(), 1);
    }

    void anEmptyClipboardHasNothing()
    {
        const auto owner = copied("text");
        QTRY_COMPARE(m_shelf->items().size(), 1);
        QCOMPARE(QProcess::execute(u"wl-copy"_s, {u"--clear"_s}), 0);
        QTRY_COMPARE(m_board->changeCount(), 2);
        QVERIFY(currentTypes().isEmpty());
    }

    void aTooLargeCopyIsNotRead()
    {
        const auto owner = copied(QByteArray(longestText + 1, 'x'));
        QTRY_VERIFY(m_shelf->lastWasTooLarge());
        QCOMPARE(m_shelf->items().size(), 0);
    }

    void aSilentOwnerHoldsNobodyUp()
    {
        open(1ms);
        m_shelf->setEnabled(false); // so that it is not asked before it is stopped
        const auto owner = copied("late");
        QTRY_COMPARE(pasted(u"text/plain"_s), "late");
        m_shelf->setEnabled(true);
        QTRY_VERIFY(!currentTypes().isEmpty());
        QCOMPARE(::kill(pid_t(owner->processId()), SIGSTOP), 0);
        std::optional<Outcome> outcome;
        m_shelf->record(currentDate(), [&outcome](Outcome came) { outcome = came; });
        QTRY_COMPARE(outcome, Outcome::nothing);
        open(1h);
        const auto next = copied("next");
        QTRY_COMPARE(m_shelf->items().size(), 1);
    }

    /// The last one: nobody else finds a compositor after it.
    void theCompositorMayEnd()
    {
        const auto owner = copied("text");
        QTRY_COMPARE(m_shelf->items().size(), 1);
        QProcess::execute(u"swaymsg"_s, {u"exit"_s});
        QTRY_VERIFY(currentTypes().isEmpty());
        QCOMPARE(m_board->changeCount(), 1);
        m_shelf->setEnabled(false);
        m_shelf->setEnabled(true);
        QVERIFY(currentTypes().isEmpty());
    }

private:
    void open(std::chrono::milliseconds patience)
    {
        m_shelf.reset();
        m_board.emplace(pictureTypes(), ClipboardShelf::privateTypes(), patience);
        m_shelf.emplace(m_folder->filePath(u"ClipboardRecent"_s), *m_board, *m_preferences);
    }

    QStringList currentTypes()
    {
        QStringList types;
        m_board->fetch(
            [&types](const std::shared_ptr<BoardContent>& content) { types = content->types(); });
        return types;
    }

    std::optional<QTemporaryDir> m_folder;
    std::optional<PreferenceStore> m_preferences;
    std::optional<DesktopClipboard> m_board;
    std::optional<ClipboardShelf> m_shelf;
};

QTEST_MAIN(DataControlTest)
#include "DataControlTest.moc"
