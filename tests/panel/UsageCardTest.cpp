#include "panel/UsageCard.h"

#include "platform/DesktopAppearance.h"

#include <QImage>
#include <QPainter>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const Date now{1'795'376'898s};
const QColor cardColor(0x8f, 0x6a, 0xd6);

ServiceUsage service(const QList<LimitWindow>& windows)
{
    return {.id = u"claude"_s,
            .name = u"Claude"_s,
            .windows = windows,
            .observed = now,
            .freshnessSeconds = 900};
}

UsageCard card(const ServiceUsage& usage, UsageDisplayMode mode = UsageDisplayMode::left)
{
    return usageCard(usage, mode, cardColor, QLocale::c(), now);
}

} // namespace

class UsageCardTest : public QObject {
    Q_OBJECT

private slots:
    void tonesChangeAtTheirEdges()
    {
        QCOMPARE(meterTone(0), MeterTone::red);
        QCOMPARE(meterTone(10), MeterTone::red);
        QCOMPARE(meterTone(10.1), MeterTone::yellow);
        QCOMPARE(meterTone(25), MeterTone::yellow);
        QCOMPARE(meterTone(25.5), MeterTone::normal);
    }

    void titlesAreShort()
    {
        QCOMPARE(meterTitle(u"5-hour"_s), u"5hr"_s);
        QCOMPARE(meterTitle(u"Completions"_s), u"CODE"_s);
        QCOMPARE(meterTitle(u"weekly"_s), u"WEEKL"_s); // not the name that is known
        QCOMPARE(meterTitle(u"é👩‍👩‍👧bcdef"_s), u"É👩‍👩‍👧BCD"_s);
    }

    void meterShowsWhatTheModeAsksForInTheToneOfWhatIsLeft()
    {
        const LimitWindow low{u"5-hour"_s, 5, now + 1h, {}};
        const MeterRow used = card(service({low}), UsageDisplayMode::used).meters.first();
        QCOMPARE(used.shown, 95.0);
        QCOMPARE(used.figure, u"95% used"_s);
        QCOMPARE(used.remaining, 5.0);
        QVERIFY(!used.isStale);
        QVERIFY(used.reset.startsWith("Reset "_L1));

        const LimitWindow passed{u"Weekly"_s, 50, now, {}};
        const MeterRow old = card(service({passed})).meters.first();
        QVERIFY(old.isStale);
        QVERIFY(old.reset.startsWith("Previous reset "_L1));
    }

    void cardWithoutLimitsSaysWhy()
    {
        ServiceUsage waiting = service({});
        waiting.error = u"Waiting for Claude Code data"_s;
        QCOMPARE(card(waiting).status, u"Waiting for Claude Code data"_s);
        QCOMPARE(card(waiting).error, QString());
        QCOMPARE(card(waiting).meters.size(), 2);
        QCOMPARE(card(waiting).meters.first().figure, u"—"_s);

        ServiceUsage failing = service({{u"5-hour"_s, 50, now + 1h, {}}});
        failing.error = u"Please log in"_s;
        QCOMPARE(card(failing).error, u"Please log in"_s);
        QCOMPARE(card(failing).status, u"Updated just now"_s);
        QVERIFY(card(failing).spoken().contains("5hr 50% left"_L1));
    }

    void nothingOverlapsHoweverLongTheTexts()
    {
        ServiceUsage usage = service({{u"a"_s, 1, now + 1h, {}}, {u"b"_s, 2, {}, {}}});
        usage.error
            = u"A long explanation of what went wrong that takes several lines"_s.repeated(3);
        const CardLayout layout = cardLayout(card(usage), QFont());
        const MeterStyle style;
        QCOMPARE(layout.meterMiddles.size(), 2);
        QVERIFY(layout.meterMiddles[1] - layout.meterMiddles[0] > style.resetOffset + 8);
        QVERIFY(layout.error.top() > layout.meterMiddles[1] + style.trackSize.height() / 2);
        QVERIFY(layout.status.top() >= layout.error.bottom());
        QVERIFY(layout.frame.contains(layout.status));
        QVERIFY(layout.frame.contains(layout.character));
        QVERIFY(layout.height > layout.frame.bottom());
    }

    void fillEndsWhereTheFigureSays()
    {
        const Palette palette = paletteFor(ColorScheme::dark);
        const auto drawn = [&](double remaining, bool isStale) {
            QImage image(340, 60, QImage::Format_RGB32);
            image.fill(palette.cardBackground);
            QPainter painter(&image);
            drawMeter(painter, 20,
                      {.title = u"5hr"_s,
                       .remaining = remaining,
                       .shown = remaining,
                       .isStale = isStale,
                       .color = cardColor},
                      palette);
            return image;
        };
        // Half of 112 from 134 on: the fill's last column is 189.
        const QImage half = drawn(50, false);
        QCOMPARE(half.pixelColor(150, 20), cardColor);
        QCOMPARE(half.pixelColor(188, 20), cardColor);
        QVERIFY(half.pixelColor(191, 20) != cardColor);
        QVERIFY(half.pixelColor(191, 20) != palette.cardBackground); // the track goes on
        QCOMPARE(half.pixelColor(248, 20), palette.cardBackground);
        QCOMPARE(drawn(10, false).pixelColor(140, 20), palette.warningRed);
        QVERIFY(drawn(50, true).pixelColor(150, 20) != cardColor);
        QCOMPARE(drawn(0, false).pixelColor(136, 20), half.pixelColor(200, 20));
    }
};

QTEST_MAIN(UsageCardTest)
#include "UsageCardTest.moc"
