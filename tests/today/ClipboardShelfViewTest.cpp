#include "today/ClipboardShelfView.h"

#include "platform/PreferenceStore.h"
#include "tests/support/TestFiles.h"
#include "today/ShelfRowButton.h"
#include "today/ToggleSwitch.h"

#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QScrollArea>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// A clipboard that takes what it is given.
class OwnBoard final : public ClipboardBoard {
public:
    [[nodiscard]] qint64 changeCount() const override { return 0; }
    [[nodiscard]] bool tellsOfChanges() const override { return true; }
    void setWatched(bool /*isWatched*/) override { }
    void fetch(const Fetched& /*fetched*/) override { }
    bool write(std::unique_ptr<QMimeData> content) override
    {
        text = content->text();
        return true;
    }

    QString text;
};

} // namespace

class ClipboardShelfViewTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_view.reset();
        m_shelf.reset();
        m_folder.emplace();
        m_board.emplace();
        m_preferences.emplace(m_folder->filePath(u"preferences.json"_s));
        m_shelf.emplace(m_folder->filePath(u"ClipboardRecent"_s), *m_board, *m_preferences);
        m_view.emplace(*m_shelf);
        m_shelf->onChange = [this] { m_view->reload(); };
        m_view->resize(m_view->sizeHint());
        m_view->show();
        QVERIFY(QTest::qWaitForWindowActive(&*m_view));
        m_view->setFocus();
    }

    void tellsWhatIsKept()
    {
        QVERIFY(shows(u"0 / 30 · copies not saved"_s));
        QVERIFY(shows(u"Drop files and images here, or turn on to keep the last 30 things you copy "
                      "for 24 hours. Copies from password managers are skipped, and everything "
                      "stays on this Mac."_s));
        QTest::keyClick(m_view->findChild<ToggleSwitch*>(), Qt::Key_Space);
        QCOMPARE(m_preferences->boolean(u"clipboardHistoryEnabled"_s), true);
        QVERIFY(shows(u"0 / 30 · kept for 24 hours"_s));
        QVERIFY(shows(u"Nothing yet. Copy with ⌘C, or drop files and images here."_s));
        QVERIFY(!m_view->findChild<QPushButton*>()->isEnabled());
        fill({u"a"_s});
        QVERIFY(shows(u"1 / 30 · kept for 24 hours"_s));
    }

    void rowsAreCopiedAndRemovedByKeyboard()
    {
        fill({u"one"_s, u"two"_s, u"three"_s});
        QTest::keyClick(focus(), Qt::Key_2, Qt::AltModifier);
        QCOMPARE(m_board->text, u"two"_s);
        QVERIFY(shows(u"Copied to clipboard"_s));
        QTest::keyClick(focus(), Qt::Key_Down);
        QTest::keyClick(focus(), Qt::Key_Down);
        QTest::keyClick(focus(), Qt::Key_Down);
        QTest::keyClick(focus(), Qt::Key_Return);
        QCOMPARE(m_board->text, u"one"_s);
        QTest::keyClick(focus(), Qt::Key_Home);
        QTest::keyClick(focus(), Qt::Key_Delete);
        QCOMPARE(titles(), (QStringList{u"two"_s, u"one"_s}));
        QTest::keyClick(focus(), Qt::Key_Return); // the next row has taken its place
        QCOMPARE(m_board->text, u"two"_s);
    }

    void typingFilters()
    {
        fill({u"red apple"_s, u"green pear"_s, u"red plum"_s});
        QTest::keyClicks(focus(), u"RED p"_s);
        QCOMPARE(titles(), QStringList{u"red plum"_s});
        QTest::keyClick(focus(), Qt::Key_Backspace);
        QCOMPARE(titles(), (QStringList{u"red plum"_s, u"red apple"_s}));
        QTest::keyClick(focus(), Qt::Key_2, Qt::AltModifier); // of what is shown
        QCOMPARE(m_board->text, u"red apple"_s);
        QTest::keyClick(focus(), Qt::Key_Escape);
        QCOMPARE(titles().size(), 3);
    }

    void aClickCopiesAndTheCrossRemoves()
    {
        fill({u"one"_s, u"two"_s});
        ShelfRowButton* row = rows().at(1);
        const int middle = row->height() / 2;
        QTest::mouseClick(row, Qt::LeftButton, {}, QPoint(row->width() / 2, middle));
        QCOMPARE(m_board->text, u"one"_s);
        QTest::mouseClick(row, Qt::LeftButton, {}, QPoint(row->width() - 15, middle));
        QCOMPARE(titles(), QStringList{u"two"_s});
    }

    void clearingAsksFirst()
    {
        fill({u"one"_s, u"two"_s});
        auto* clear = m_view->findChild<QPushButton*>();
        QTest::mouseClick(clear, Qt::LeftButton);
        QVERIFY(shows(u"Clear recent copies?"_s));
        QTest::keyClick(focus(), Qt::Key_Escape);
        QCOMPARE(m_shelf->items().size(), 2);
        QTest::mouseClick(clear, Qt::LeftButton);
        QTest::keyClick(focus(), Qt::Key_Tab);
        QTest::keyClick(focus(), Qt::Key_Return); // "Cancel"
        QCOMPARE(m_shelf->items().size(), 2);
        QTest::mouseClick(clear, Qt::LeftButton);
        QTest::keyClick(focus(), Qt::Key_Return);
        QCOMPARE(m_shelf->items().size(), 0);
    }

    void titlesAreOneLine()
    {
        const Date now{std::chrono::days(20'000)};
        const ShelfRow row
            = shelfRow({.value = u"\n a\tb\0c"_s + QString(1000, u'x'), .createdAt = now}, now);
        QVERIFY(row.title.startsWith("a b cx"_L1) && row.title.size() <= 200);
        QCOMPARE(row.toolTip, u"Click to copy · drag out to take it · added just now"_s);
        const ShelfItem file{.kind = ShelfItemKind::file, .value = u"/a/b"_s, .createdAt = now};
        QCOMPARE(shelfRow(file, now).toolTip,
                 u"/a/b\nClick to copy · drag out to move · added just now"_s);
    }

private:
    [[nodiscard]] static QWidget* focus() { return QApplication::focusWidget(); }

    void fill(const QStringList& texts)
    {
        for (const QString& text : texts) {
            QMimeData data;
            data.setText(text);
            m_shelf->addDropped(data);
        }
        QTRY_COMPARE(m_shelf->items().size(), texts.size());
    }

    [[nodiscard]] bool shows(const QString& text) const
    {
        const QList<QLabel*> labels = m_view->findChildren<QLabel*>();
        return std::ranges::any_of(labels, [&text](const QLabel* label) {
            return label->isVisible() && label->text() == text;
        });
    }

    [[nodiscard]] QList<ShelfRowButton*> rows() const
    {
        QList<ShelfRowButton*> shown;
        for (ShelfRowButton* row : m_view->findChildren<ShelfRowButton*>()) {
            if (!row->isHidden())
                shown.append(row);
        }
        std::ranges::sort(shown, {}, &QWidget::y);
        return shown;
    }

    [[nodiscard]] QStringList titles() const
    {
        QStringList all;
        for (const ShelfRowButton* row : rows())
            all.append(row->row().title);
        return all;
    }

    std::optional<QTemporaryDir> m_folder;
    std::optional<OwnBoard> m_board;
    std::optional<PreferenceStore> m_preferences;
    std::optional<ClipboardShelf> m_shelf;
    std::optional<ClipboardShelfView> m_view;
};

QTEST_MAIN(ClipboardShelfViewTest)
#include "ClipboardShelfViewTest.moc"
