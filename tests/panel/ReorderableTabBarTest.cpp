#include "panel/ReorderableTabBar.h"

#include "platform/PreferenceStore.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString orderKey = u"panelTabOrder"_s;
const QStringList defaultOrder{u"usage"_s, u"system"_s, u"clipboard"_s};

} // namespace

class ReorderableTabBarTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_preferences
            = std::make_unique<PreferenceStore>(m_folder->filePath(u"preferences.json"_s));
        makeBar();
    }

    void storedOrderIsMended_data()
    {
        QTest::addColumn<QStringList>("stored");
        QTest::addColumn<QStringList>("order");
        QTest::newRow("none") << QStringList() << defaultOrder;
        QTest::newRow("some lack") << QStringList{u"clipboard"_s, u"usage"_s}
                                   << QStringList{u"clipboard"_s, u"usage"_s, u"system"_s};
        QTest::newRow("unknown and repeated")
            << QStringList{u"notes"_s, u"system"_s, u"usage"_s, u"system"_s}
            << QStringList{u"system"_s, u"usage"_s, u"clipboard"_s};
    }

    void storedOrderIsMended()
    {
        QFETCH(QStringList, stored);
        m_preferences->setTexts(orderKey, stored);
        makeBar();
        QTEST(m_bar->order(), "order");
        QCOMPARE(m_bar->selectedID(), u"usage"_s);
    }

    void clickSelects()
    {
        QTest::mouseClick(m_bar.get(), Qt::LeftButton, {}, middleOf(1));
        QCOMPARE(m_selected, QStringList{u"system"_s});
        QVERIFY(m_bar->accessibleDescription().contains(u"System (selected)"_s));

        QTest::mouseClick(m_bar.get(), Qt::RightButton, {}, middleOf(2));
        QTest::mousePress(m_bar.get(), Qt::LeftButton, {}, middleOf(2));
        QTest::mouseRelease(m_bar.get(), Qt::LeftButton, {}, QPoint(10, 100)); // away from the bar
        QCOMPARE(m_selected.size(), 1);
    }

    void dragMovesAndDoesNotSelect()
    {
        QTest::mousePress(m_bar.get(), Qt::LeftButton, {}, middleOf(2));
        drag(QPoint(10, 100));
        QCOMPARE(m_bar->order(), defaultOrder);
        drag(middleOf(1));
        const QStringList once{u"usage"_s, u"clipboard"_s, u"system"_s};
        QCOMPARE(m_preferences->texts(orderKey), once);
        drag(middleOf(0));
        QTest::mouseRelease(m_bar.get(), Qt::LeftButton, {}, middleOf(0));
        const QStringList twice{u"clipboard"_s, u"usage"_s, u"system"_s};
        QCOMPARE(m_bar->order(), twice);
        QCOMPARE(m_preferences->texts(orderKey), twice);
        QCOMPARE(m_selected, QStringList());

        drag(middleOf(2)); // nothing is pressed any more
        QCOMPARE(m_bar->order(), twice);
    }

    void keysSelectUpToTheEnds()
    {
        for (const auto key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Right, Qt::Key_Right})
            QTest::keyClick(m_bar.get(), key);
        QTest::keyClick(m_bar.get(), Qt::Key_Left, Qt::ControlModifier); // not ours
        const QStringList expected{u"usage"_s, u"system"_s, u"clipboard"_s, u"clipboard"_s};
        QCOMPARE(m_selected, expected);
    }

    void shortcutsSelectAndMove()
    {
        m_bar->selectAt(2);
        m_bar->selectAt(3);
        m_bar->selectNext();
        m_bar->selectNext(-1);
        const QStringList expected{u"clipboard"_s, u"usage"_s, u"clipboard"_s};
        QCOMPARE(m_selected, expected);
        m_bar->moveSelected(1);
        QVERIFY(!m_preferences->texts(orderKey));
        m_bar->moveSelected(-1);
        const QStringList moved{u"usage"_s, u"clipboard"_s, u"system"_s};
        QCOMPARE(m_preferences->texts(orderKey), moved);
        QCOMPARE(m_bar->selectedID(), u"clipboard"_s);
    }

    void pointsBelongToTabsOfEqualWidth()
    {
        m_bar->resize(300, 28);
        QCOMPARE(m_bar->indexAt({0, 0}), 0);
        QCOMPARE(m_bar->indexAt({99.9, 5}), 0);
        QCOMPARE(m_bar->indexAt({100, 5}), 1);
        QCOMPARE(m_bar->indexAt({300, 5}), 2);
        QCOMPARE(m_bar->indexAt({-0.1, 5}), std::nullopt);
        QCOMPARE(m_bar->indexAt({50, 29}), std::nullopt);
    }

    void usageTabHasTheUsersName()
    {
        const auto name = [this](const QString& stored) {
            m_preferences->setText(u"usageTabName"_s, stored);
            m_bar->reloadName();
            return m_bar->title(u"usage"_s);
        };
        QCOMPARE(m_bar->usageName(), u"AI Usage"_s);
        QCOMPARE(name(u"  "_s), u"AI Usage"_s);
        QCOMPARE(name(u" Today\n"_s), u"Today"_s);
        // However long, it stays within its tab and off its edges.
        m_bar->setColors(paletteFor(ColorScheme::light));
        m_bar->selectAt(2);
        const QRect edge(0, 0, 7, 28);
        const QRect others(100, 0, 216, 28);
        const QImage edgeBefore = m_bar->grab(edge).toImage();
        const QImage othersBefore = m_bar->grab(others).toImage();
        QCOMPARE(name(u"W"_s.repeated(500)).size(), 500);
        QCOMPARE(m_bar->grab(edge).toImage(), edgeBefore);
        QCOMPARE(m_bar->grab(others).toImage(), othersBefore);
    }

private:
    void makeBar()
    {
        m_selected.clear();
        m_bar = std::make_unique<ReorderableTabBar>(*m_preferences);
        m_bar->resize(m_bar->sizeHint());
        m_bar->onSelect = [this](const QString& id) { m_selected.append(id); };
    }

    [[nodiscard]] QPoint middleOf(int index) const
    {
        return {m_bar->width() * (2 * index + 1) / 6, m_bar->height() / 2};
    }

    void drag(QPoint place) { QTest::mouseMove(m_bar.get(), place); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PreferenceStore> m_preferences;
    std::unique_ptr<ReorderableTabBar> m_bar;
    QStringList m_selected;
};

QTEST_MAIN(ReorderableTabBarTest)
#include "ReorderableTabBarTest.moc"
