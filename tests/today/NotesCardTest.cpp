#include "today/NotesCardView.h"

#include "tests/support/TestFiles.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLineEdit>
#include <QPaintEvent>
#include <QPushButton>
#include <QScrollArea>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const Palette palette = paletteFor(ColorScheme::light);

/// The card in a window of its own, over a store in a temporary folder.
class Card {
public:
    explicit Card(const QStringList& texts = {}, std::chrono::milliseconds undoFor = 1h)
        : store(folder.filePath(u"notes.json"_s))
    {
        for (const QString& text : texts)
            store.add(text);
        view = std::make_unique<NotesCardView>(store, undoFor);
        view->setColors(palette);
        view->show();
        view->activateWindow();
        if (!QTest::qWaitForWindowActive(view.get()))
            qFatal("the card does not come up");
        input()->setFocus();
    }

    [[nodiscard]] QLineEdit* input() const
    {
        return view->findChild<QLineEdit*>({}, Qt::FindDirectChildrenOnly);
    }
    [[nodiscard]] QCheckBox* row(const QString& text) const
    {
        for (auto* row : view->findChildren<QCheckBox*>()) {
            if (row->accessibleName() == text && !row->isHidden())
                return row;
        }
        return nullptr;
    }
    [[nodiscard]] QPushButton* button(const QString& text) const
    {
        for (auto* button : view->findChildren<QPushButton*>(Qt::FindDirectChildrenOnly)) {
            if (button->text() == text && !button->isHidden())
                return button;
        }
        return nullptr;
    }
    /// What the keyboard is at.
    [[nodiscard]] static QString focused()
    {
        const QWidget* widget = QApplication::focusWidget();
        return widget ? widget->accessibleName() + widget->property("text").toString() : QString();
    }
    /// The tasks in the order in which they stand, done ones in brackets.
    [[nodiscard]] QString shown() const
    {
        QList<QCheckBox*> rows = view->findChildren<QCheckBox*>();
        rows.removeIf([](const QCheckBox* row) { return row->isHidden(); });
        std::ranges::sort(rows, {}, &QCheckBox::y);
        QString text;
        for (const QCheckBox* row : rows)
            text += row->isChecked() ? u'[' + row->accessibleName() + u']' : row->accessibleName();
        return text;
    }
    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    [[nodiscard]] QString count() const { return input()->accessibleDescription(); }

    QTemporaryDir folder;
    NotesStore store;
    std::unique_ptr<NotesCardView> view;
};

/// What a widget is asked to paint.
class PaintedArea : public QObject {
public:
    explicit PaintedArea(QObject* widget) { widget->installEventFilter(this); }
    [[nodiscard]] QRect taken() { return std::exchange(m_area, {}).boundingRect(); }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            m_area += static_cast<QPaintEvent*>(event)->region();
        return false;
    }

private:
    QRegion m_area;
};

} // namespace

class NotesCardTest : public QObject {
    Q_OBJECT

private slots:
    void heightFollowsTheTasks()
    {
        QCOMPARE(NotesCardView::height(0), 118.0);
        QCOMPARE(NotesCardView::height(1), 118.0);
        QCOMPARE(NotesCardView::height(50), 1294.0);
        Card card({u"a"_s, u"b"_s});
        int resized = 0;
        card.view->onResized = [&] { ++resized; };
        QCOMPARE(card.view->preferredHeight(), 142.0);
        card.store.add(u"c"_s);
        card.store.toggle(card.store.items()[0].id);
        QCOMPARE(resized, 1);
        QCOMPARE(card.view->height(), card.view->sizeHint().height());
        QVERIFY(card.row(u"c"_s)->geometry().bottom() < card.view->height() - 10);
    }

    void tasksAreTyped()
    {
        Card card;
        QCOMPARE(card.count(), u"Nothing yet. Notes stay on this Mac."_s);
        QTest::keyClicks(card.input(), u"a"_s);
        Card::press(Qt::Key_Return);
        QTest::keyClicks(card.input(), u"b"_s);
        Card::press(Qt::Key_Return);
        QCOMPARE(card.shown(), u"ab"_s);
        QCOMPARE(card.count(), u"2 left"_s);
        QTest::keyClicks(card.input(), u"  "_s);
        Card::press(Qt::Key_Return);
        QCOMPARE(card.input()->text(), u"  "_s); // refused, and left in place
        QVERIFY(card.input()->hasFocus());
    }

    void fieldKeepsWhatATaskMayHave_data()
    {
        QTest::addColumn<QString>("pasted");
        QTest::addColumn<QString>("kept");
        QTest::newRow("two lines") << u"a\r\nb"_s << u"a b"_s;
        QTest::newRow("250 letters") << QString(250, u'x') << QString(200, u'x');
        QTest::newRow("emoji with joiners")
            << u"👩‍👩‍👧"_s.repeated(250) << u"👩‍👩‍👧"_s.repeated(200);
        QTest::newRow("book") << QString(1 << 20, u'x') << QString(200, u'x');
    }

    void fieldKeepsWhatATaskMayHave()
    {
        QFETCH(QString, pasted);
        Card card;
        QApplication::clipboard()->setText(pasted);
        Card::press(Qt::Key_V, Qt::ControlModifier);
        QTEST(card.input()->text(), "kept");
    }

    void fullListClosesTheField()
    {
        QStringList texts;
        for (int i = 1; i < 50; ++i)
            texts.append(QString::number(i));
        Card card(texts);
        QTest::keyClicks(card.input(), u"50"_s);
        Card::press(Qt::Key_Return);
        QVERIFY(!card.input()->isEnabled());
        QCOMPARE(Card::focused(), u"50"_s); // the keyboard has gone to the task
        Card::press(Qt::Key_Delete);
        QVERIFY(card.input()->isEnabled());
        QCOMPARE(Card::focused(), u"49"_s);
    }

    void doneTasksAreCleared()
    {
        Card card({u"a"_s});
        QVERIFY(!card.button(u"Clear done"_s));
        Card::press(Qt::Key_Down);
        Card::press(Qt::Key_Space);
        QCOMPARE(card.shown(), u"[a]"_s);
        QCOMPARE(card.count(), u"All done"_s);
        QTest::mouseClick(card.button(u"Clear done"_s), Qt::LeftButton);
        QCOMPARE(card.count(), u"Nothing yet. Notes stay on this Mac."_s);
        QVERIFY(!card.button(u"Clear done"_s));
        QVERIFY(card.input()->hasFocus());
    }

    void everythingIsReachedByKeyboard()
    {
        Card card({u"a"_s, u"b"_s, u"c"_s});
        QStringList stops;
        const auto tab = [&](int times) {
            for (stops.clear(); times > 0; --times) {
                Card::press(Qt::Key_Tab);
                stops.append(Card::focused());
            }
            return stops;
        };
        QCOMPARE(tab(3), QStringList({u"a"_s, u"Remove"_s, u"New task"_s}));
        Card::press(Qt::Key_Down);
        Card::press(Qt::Key_Down);
        Card::press(Qt::Key_Space);
        QCOMPARE(card.shown(), u"a[b]c"_s);
        QCOMPARE(tab(4), QStringList({u"Remove"_s, u"Clear done"_s, u"New task"_s, u"b"_s}));
        Card::press(Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(card.shown(), u"ac[b]"_s);
        QCOMPARE(Card::focused(), u"b"_s); // goes with its task
        Card::press(Qt::Key_Down, Qt::AltModifier); // the end
        Card::press(Qt::Key_Up);
        Card::press(Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(card.shown(), u"ca[b]"_s);
        Card::press(Qt::Key_Delete);
        QCOMPARE(card.shown(), u"a[b]"_s);
        QCOMPARE(tab(4), QStringList({u"Remove"_s, u"Undo"_s, u"Clear done"_s, u"New task"_s}));
        Card::press(Qt::Key_End); // within the field
        Card::press(Qt::Key_Down);
        Card::press(Qt::Key_Up);
        QVERIFY(card.input()->hasFocus());
    }

    void tasksAreEditedInPlace()
    {
        Card card({u"a"_s, u"b"_s});
        const auto rename = [&](const QString& text, Qt::Key end) {
            QTest::keyClicks(QApplication::focusWidget(), text);
            card.store.reload();
            Card::press(end);
        };
        Card::press(Qt::Key_Down);
        Card::press(Qt::Key_F2);
        rename(u"one & more"_s, Qt::Key_Return);
        QCOMPARE(card.shown(), u"one & moreb"_s);
        QCOMPARE(Card::focused(), u"one & more"_s);
        Card::press(Qt::Key_F2);
        rename(u"dropped"_s, Qt::Key_Escape);
        Card::press(Qt::Key_F2);
        rename(u" "_s, Qt::Key_Return); // nothing is left, so the old one stays
        QCOMPARE(card.shown(), u"one & moreb"_s);
        Card::press(Qt::Key_F2);
        card.store.add(u"c"_s); // does not disturb
        QTest::keyClicks(QApplication::focusWidget(), u"kept"_s);
        card.input()->setFocus();
        QCOMPARE(card.shown(), u"keptbc"_s);
    }

    void doubleClickEditsAndLeavesTheTick()
    {
        Card card({u"a"_s, u"b"_s});
        QCheckBox* row = card.row(u"a"_s);
        const auto doubleClick = [](QWidget* first, QWidget* second, QPoint at) {
            QTest::mouseClick(first, Qt::LeftButton, {}, at);
            QTest::mouseDClick(second, Qt::LeftButton, {}, at);
            QTest::mouseRelease(second, Qt::LeftButton, {}, at);
        };
        doubleClick(row, row, QPoint(100, row->height() / 2));
        QCOMPARE(card.shown(), u"ab"_s);
        QCOMPARE(Card::focused(), u"Taska"_s);
        Card::press(Qt::Key_Escape);
        doubleClick(row, row, QPoint(10, row->height() / 2));
        QCOMPARE(card.shown(), u"ab"_s);
        QCOMPARE(Card::focused(), u"a"_s);
        // A second click on the cross must not reach the next task, which has moved up.
        doubleClick(row->findChild<QPushButton*>(), card.row(u"b"_s)->findChild<QPushButton*>(),
                    {9, 9});
        QCOMPARE(card.shown(), u"b"_s);
    }

    void removedTasksComeBackForAWhile()
    {
        Card card({u"a"_s, u"b"_s, u"c"_s, u"d"_s});
        for (const qsizetype done : {1, 3})
            card.store.toggle(card.store.items()[done].id);
        const int height = card.view->height();
        card.button(u"Clear done"_s)->click();
        QCOMPARE(card.button(u"Undo"_s)->accessibleDescription(), u"2 tasks removed"_s);
        QTest::mouseClick(card.row(u"a"_s)->findChild<QPushButton*>(), Qt::LeftButton);
        QCOMPARE(card.shown(), u"c"_s);
        card.button(u"Undo"_s)->click(); // the latest first
        QCOMPARE(card.shown(), u"ac"_s);
        Card::press(Qt::Key_Down);
        Card::press(Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(card.shown(), u"a[b]c[d]"_s);
        QCOMPARE(card.view->height(), height);
        QVERIFY(!card.button(u"Undo"_s));

        const Card brief({u"a"_s}, 0ms);
        brief.row(u"a"_s)->findChild<QPushButton*>()->click();
        QTRY_VERIFY(!brief.button(u"Undo"_s));
        QVERIFY(brief.store.items().isEmpty());
    }

    void characterAloneIsPaintedAgainWhenItChanges()
    {
        PixelTheme theme = PixelTheme::fallback();
        theme.characters.insert(
            QString(NotesCardView::defaultCharacter),
            {.color = u"#00FF00"_s, .frames = {{u"C"_s}, {u"W"_s}, {u"W"_s}}, .frameDuration = 1});
        Card card({u"a"_s});
        card.view->setTheme(&theme);
        const QImage picture = card.view->grab().toImage();
        QCOMPARE(picture.pixelColor(294, 30), QColor(0x00FF00));
        QCOMPARE(picture.pixelColor(272, 30), palette.cardBackground);
        PaintedArea painted(card.view.get());
        const auto paintedAt = [&](double seconds) {
            card.view->setAnimationTime(seconds);
            QCoreApplication::processEvents();
            return painted.taken();
        };
        (void)paintedAt(0.4);
        QCOMPARE(paintedAt(0.6), QRect());
        QCOMPARE(paintedAt(1.1), QRect(274, 10, 40, 40));
        QCOMPARE(paintedAt(2.1), QRect()); // another frame, the same picture
    }

    void keyboardScrollsToItsTask()
    {
        QScrollArea area; // outlives the card, which it would delete
        Card card(QString(u'x').repeated(30).split(QString(), Qt::SkipEmptyParts));
        area.setWidget(card.view.get());
        area.resize(360, 200);
        area.show();
        QVERIFY(QTest::qWaitForWindowActive(&area));
        const auto isSeen = [](const QWidget* row) { return row->visibleRegion() == row->rect(); };
        card.input()->setFocus();
        Card::press(Qt::Key_Down);
        Card::press(Qt::Key_End);
        QVERIFY(isSeen(QApplication::focusWidget()));
        for (int i = 0; i < 20; ++i)
            Card::press(Qt::Key_Up, Qt::AltModifier);
        QVERIFY(isSeen(QApplication::focusWidget()));
    }

    void textsBeginOnTheSideOfTheirScript()
    {
        Card card({u"long task"_s, u"משימה ארוכה"_s});
        const QImage picture = card.view->grab().toImage();
        const auto hasInk = [&](int row, const QRect& place) {
            QImage part = picture.copy(place.translated(20, 82 + 24 * row));
            QImage empty(part.size(), part.format());
            empty.fill(palette.cardBackground);
            return part != empty;
        };
        const QRect left(28, 0, 20, 24);
        const QRect right(250, 0, 26, 24);
        QVERIFY(hasInk(0, left) && !hasInk(0, right));
        QVERIFY(!hasInk(1, left) && hasInk(1, right));
    }

    void doneTasksLookDone()
    {
        Card card({u"a"_s});
        const QPoint onBox = card.row(u"a"_s)->geometry().topLeft() + QPoint(8, 9);
        QCOMPARE(card.view->grab().toImage().pixelColor(onBox), palette.cardBackground);
        card.store.toggle(card.store.items().first().id);
        QCOMPARE(card.view->grab().toImage().pixelColor(onBox), palette.accent);
    }
};

QTEST_MAIN(NotesCardTest)
#include "NotesCardTest.moc"
