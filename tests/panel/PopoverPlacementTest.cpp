#include "panel/PopoverPlacement.h"

#include <QTest>

using Anchor = std::optional<QPoint>;

class PopoverPlacementTest : public QObject {
    Q_OBJECT

private slots:
    void popoverStaysBesideTheItemAndOnItsScreen_data()
    {
        QTest::addColumn<Anchor>("anchor");
        QTest::addColumn<QRect>("screen");
        QTest::addColumn<QRect>("available");
        QTest::addColumn<QRect>("place");
        const QRect screen(0, 0, 1280, 800);
        const QRect barAbove(0, 30, 1280, 770);
        const QRect barBelow(0, 0, 1280, 760);
        QTest::newRow("below a bar above")
            << Anchor({900, 15}) << screen << barAbove << QRect(730, 37, 340, 400);
        QTest::newRow("never off the right edge")
            << Anchor({1270, 15}) << screen << barAbove << QRect(934, 37, 340, 400);
        QTest::newRow("never off the left edge")
            << Anchor({5, 15}) << screen << barAbove << QRect(6, 37, 340, 400);
        QTest::newRow("above a bar below")
            << Anchor({900, 780}) << screen << barBelow << QRect(730, 354, 340, 400);
        QTest::newRow("right of a bar at the left")
            << Anchor({20, 400}) << screen << QRect(40, 0, 1240, 800) << QRect(46, 200, 340, 400);
        QTest::newRow("left of a bar at the right")
            << Anchor({1260, 790}) << screen << QRect(0, 0, 1240, 800) << QRect(894, 394, 340, 400);
        QTest::newRow("bar that takes no room")
            << Anchor({900, 15}) << screen << screen << QRect(730, 37, 340, 400);
        QTest::newRow("second screen")
            << Anchor({2000, 15}) << QRect(1280, -100, 1920, 1080) << QRect(1280, -100, 1920, 1080)
            << QRect(1830, 37, 340, 400);
        QTest::newRow("no place known, bar above")
            << Anchor() << screen << barAbove << QRect(934, 36, 340, 400);
        QTest::newRow("no place known, bar below")
            << Anchor() << screen << barBelow << QRect(934, 354, 340, 400);
        QTest::newRow("small screen") << Anchor({100, 10}) << QRect(0, 0, 320, 240)
                                      << QRect(0, 20, 320, 220) << QRect(6, 26, 308, 208);
    }

    void popoverStaysBesideTheItemAndOnItsScreen()
    {
        QFETCH(Anchor, anchor);
        QFETCH(QRect, screen);
        QFETCH(QRect, available);
        QTEST(popoverGeometry(anchor, screen, available, {340, 400}), "place");
    }
};

QTEST_GUILESS_MAIN(PopoverPlacementTest)
#include "PopoverPlacementTest.moc"
