#include "panel/WelcomeWindow.h"

#include "characters/CharacterChoiceView.h"
#include "characters/SpeechFont.h"
#include "panel/WelcomeMascot.h"
#include "platform/TextFonts.h"

#include <QApplication>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using Result = WelcomeController::Result;

/// Everybody moves at every step.
PixelTheme theme()
{
    PixelTheme theme = PixelTheme::fallback();
    theme.findArt = [](const QString&) {
        return CharacterArt{.color = u"#112233"_s,
                            .frames = {{u"CD"_s, u"DC"_s}},
                            .livelyFrames = {{u"CC"_s, u"DD"_s}, {u"DD"_s, u"CC"_s}}};
    };
    return theme;
}

CharacterChoiceView* tile(const WelcomeController& welcome, const QString& title)
{
    for (auto* view : welcome.window()->findChildren<CharacterChoiceView*>()) {
        if (view->characterName() == title)
            return view;
    }
    return nullptr;
}

} // namespace

class WelcomeWindowTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_results.clear();
        m_welcome = std::make_unique<WelcomeController>(
            theme(), m_speech, TodayChoice::both,
            [this](const Result& result) { m_results.append(result); });
    }

    void returnTakesWhatIsSuggested()
    {
        m_welcome->show();
        QVERIFY(tile(*m_welcome, u"Both"_s)->isSelected());
        QVERIFY(tile(*m_welcome, u"Vexlo"_s)->isSelected());
        QTest::keyClick(m_welcome->window(), Qt::Key_Return);
        QTRY_COMPARE(m_results, (QList{Result{TodayChoice::both, u"vexlo"_s}}));
        QVERIFY(!m_welcome->isOpen());
        m_welcome->finish(); // a second press that was under way
        QCOMPARE(m_results.size(), 1);
    }

    void picksAreHandedOver()
    {
        m_welcome->show();
        QTest::mouseClick(tile(*m_welcome, u"AI limits"_s), Qt::LeftButton);
        QTest::mouseClick(tile(*m_welcome, u"Chip"_s), Qt::LeftButton);
        QVERIFY(tile(*m_welcome, u"AI limits"_s)->isSelected());
        QVERIFY(!tile(*m_welcome, u"Both"_s)->isSelected());
        QTest::mouseClick(m_welcome->window()->findChild<QPushButton*>(), Qt::LeftButton);
        QTRY_COMPARE(m_results, (QList{Result{TodayChoice::ai, u"chip"_s}}));
        QCOMPARE(rawValue(m_results.first().today), u"ai"_s);
    }

    void closingHandsNothingOver()
    {
        m_welcome->show();
        m_welcome->window()->close();
        QVERIFY(!m_welcome->isOpen());
        QCoreApplication::processEvents();
        QCOMPARE(m_results.size(), 0);
        m_welcome->animate(); // a step that was under way
        m_welcome->show();
        QVERIFY(m_welcome->isOpen());
    }

    void ownerMayDeleteItWhenItIsDone()
    {
        m_welcome = std::make_unique<WelcomeController>(theme(), m_speech, TodayChoice::ai,
                                                        [this](const Result& result) {
                                                            m_welcome.reset();
                                                            m_results.append(result);
                                                        });
        m_welcome->show();
        m_welcome->window()->findChild<QPushButton*>()->click();
        QTRY_COMPARE(m_results.size(), 1);
        QVERIFY(!m_welcome);
    }

    void onlyReducedMotionStandsStill()
    {
        m_welcome->setMotion(true, false);
        m_welcome->show();
        CharacterChoiceView* volt = tile(*m_welcome, u"Volt"_s);
        const QImage first = volt->characterImage();
        m_welcome->animate();
        QVERIFY(volt->characterImage() != first);
        m_welcome->setMotion(false, true);
        const QImage still = volt->characterImage();
        for (int i = 0; i < 8; ++i) {
            m_welcome->animate();
            QCOMPARE(volt->characterImage(), still);
        }
    }

    void everyTextHasItsRoom()
    {
        m_welcome->setTrayHint(u"A long hint about how to get a status bar "_s.repeated(4));
        m_welcome->show();
        QCoreApplication::processEvents();
        const QSize usual(520, 470);
        QCOMPARE(m_welcome->window()->width() > usual.width(), textScale() > 1);
        const auto labels = m_welcome->window()->findChildren<QLabel*>();
        QCOMPARE(labels.size(), 6);
        for (const QLabel* label : labels)
            QVERIFY2(label->height() >= label->heightForWidth(label->width()),
                     qPrintable(label->text()));
        const QSize room = m_welcome->window()->screen()->availableSize();
        QVERIFY(m_welcome->window()->height() < room.height());
    }

    void allIsWellWithLargeText()
    {
        // The desktop's text size is settled once a program runs.
        QProcess again;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QT_FONT_DPI"_s, u"192"_s);
        environment.insert(u"QT_ENABLE_HIGHDPI_SCALING"_s, u"0"_s); // large text, not a fine screen
        again.setProcessEnvironment(environment);
        again.setProcessChannelMode(QProcess::ForwardedChannels);
        again.start(QCoreApplication::applicationFilePath(), {u"everyTextHasItsRoom"_s});
        QVERIFY(again.waitForFinished());
        QCOMPARE(again.exitCode(), 0);
    }

    void hintMakesRoomForItself()
    {
        m_welcome->show();
        const QSize usual = m_welcome->window()->size();
        QCOMPARE(usual, QSize(520, 470));
        m_welcome->setTrayHint(u"Get a tray."_s);
        QVERIFY(m_welcome->window()->height() > usual.height() + 20);
        m_welcome->setTrayHint({});
        QCOMPARE(m_welcome->window()->size(), usual);
    }

    void mascotTypesWhatItSays()
    {
        WelcomeMascot mascot(QApplication::font(), 1);
        mascot.resize(480, 64);
        mascot.setColors(paletteFor(ColorScheme::light));
        const auto ink = [&] {
            const QImage image = mascot.grab().toImage();
            int count = 0;
            for (int x = 292; x < image.width(); ++x)
                count += image.pixelColor(x, 24).lightness() < 128;
            return count;
        };
        mascot.say(u"HHHHHH"_s);
        QCOMPARE(ink(), 0);
        mascot.typeOn(2);
        const int two = ink();
        mascot.typeOn(2);
        QVERIFY(two > 0 && ink() > two);
        QVERIFY(mascot.isTyping());
        mascot.typeOn(99);
        QVERIFY(!mascot.isTyping());
        mascot.say(u"H"_s);
        QVERIFY(mascot.isTyping());
        QCOMPARE(mascot.accessibleName(), u"H"_s);
    }

    void keyboardReachesEveryRowOnce()
    {
        m_welcome->show();
        m_welcome->window()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_welcome->window()));
        QStringList stops;
        for (int i = 0; i < 4; ++i) {
            stops.append(QApplication::focusWidget()->accessibleName());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(stops, (QStringList{{}, u"Both"_s, u"Vexlo"_s, {}})); // Start says its own text
        QTest::keyClick(tile(*m_welcome, u"Both"_s), Qt::Key_Left);
        QVERIFY(tile(*m_welcome, u"AI limits"_s)->isSelected());
    }

    void previewIsDrawnWithoutAWindow()
    {
        const QTemporaryDir folder;
        const Palette colors = paletteFor(ColorScheme::dark);
        m_welcome->setColors(colors);
        QVERIFY(m_welcome->writePreview(folder.filePath(u"welcome.png"_s)));
        QVERIFY(!m_welcome->isOpen());
        const QImage image(folder.filePath(u"welcome.png"_s));
        QCOMPARE(image.size(), QSize(520, 470));
        QCOMPARE(image.pixelColor(2, 2), colors.windowBackground);
        QCOMPARE(image.pixelColor(234, 24), QColor(0x11, 0x22, 0x33)); // the mascot
        QVERIFY(!m_welcome->writePreview(folder.filePath(u"no/such/folder.png"_s)));
    }

private:
    SpeechFont m_speech{QString()};
    QList<Result> m_results;
    std::unique_ptr<WelcomeController> m_welcome;
};

QTEST_MAIN(WelcomeWindowTest)
#include "WelcomeWindowTest.moc"
