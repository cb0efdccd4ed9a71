#include "characters/CharacterChoiceView.h"
#include "characters/CharacterGridLayout.h"
#include "characters/CharacterGridView.h"
#include "characters/CharacterImportDialog.h"
#include "characters/CharacterImportRow.h"
#include "characters/CharacterSlotView.h"
#include "platform/TextFonts.h"
#include "tests/support/TestFiles.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QMouseEvent>
#include <QProcess>
#include <QTemporaryDir>
#include <QPointer>
#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

const QString uuid = u"8aab3c1e-0000-4000-8000-00000000000f"_s;
const PixelFrame standing{u"CC"_s, u"DD"_s};
const PixelFrame raised{u"DD"_s, u"CC"_s};

/// Everybody in it looks alike: two steps of standing, one of the arms up.
PixelTheme theme()
{
    PixelTheme theme = PixelTheme::fallback();
    theme.findArt = [](const QString&) {
        return CharacterArt{
            .color = u"#112233"_s, .frames = {standing, standing, raised}, .frameDuration = 0.5};
    };
    return theme;
}

QList<CatalogGroup> groups(int count, int characters)
{
    QList<CatalogGroup> list;
    for (int i = 0; i < count; ++i) {
        CatalogGroup group{.name = u"Group %1"_s.arg(i)};
        for (int j = 0; j < characters; ++j)
            group.characters.append(
                {.id = u"%1-%2"_s.arg(i).arg(j), .name = u"Name %1%2"_s.arg(i).arg(j)});
        list.append(group);
    }
    return list;
}

/// The newest one: older ones may be on their way out.
CharacterChoiceView* tile(QWidget& parent, const QString& id)
{
    CharacterChoiceView* found = nullptr;
    for (auto* view : parent.findChildren<CharacterChoiceView*>()) {
        if (view->characterID() == id)
            found = view;
    }
    return found;
}

/// Gives the keyboard to `window`.
void activate(QWidget& window)
{
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
}

/// A grid that shows `list`, large enough for three rows of four.
std::unique_ptr<CharacterGridView> shownGrid(const PixelTheme& theme,
                                             const QList<CatalogGroup>& list)
{
    auto grid = std::make_unique<CharacterGridView>();
    grid->setTheme(&theme);
    grid->setGroups(list);
    grid->resize(400, 400);
    grid->show();
    activate(*grid);
    return grid;
}

/// Presses the left button `count` times in quick succession, as Qt tells of it.
void pressInARow(QWidget& widget, int count)
{
    const QPointF place(10, 10);
    for (int i = 0; i < count; ++i) {
        const auto type = i % 2 == 1 ? QEvent::MouseButtonDblClick : QEvent::MouseButtonPress;
        QMouseEvent event(type, place, widget.mapToGlobal(place), Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        event.setTimestamp(quint64(1000 + 100 * i));
        QApplication::sendEvent(&widget, &event);
    }
}

/// The first control of `window` that the keyboard reaches and a screen reader has no name for.
QString namelessControl(const QWidget& window)
{
    for (auto* widget : window.findChildren<QWidget*>()) {
        QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(widget);
        if (widget->focusPolicy() != Qt::NoFocus && spoken
            && spoken->text(QAccessible::Name).isEmpty())
            return QString::fromLatin1(widget->metaObject()->className());
    }
    return {};
}

/// The pixels of `widget`, or of `area` in it, that are exactly `color`.
int pixelsOf(QWidget& widget, const QColor& color, const QRect& area = {0, 0, -1, -1})
{
    const QImage image = widget.grab(area).toImage();
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            count += image.pixelColor(x, y) == color;
    }
    return count;
}

CustomCharacterFile character(const QString& id, const QString& name)
{
    CustomCharacterFile file = CustomCharacterFile::blank();
    file.id = id;
    file.name = name;
    return file;
}

} // namespace

class CharacterPickersTest : public QObject {
    Q_OBJECT

private slots:
    void tileIsPickedByAReleaseWithinItAndByKey()
    {
        CharacterChoiceView view(u"koi"_s);
        view.resize(view.sizeHint());
        view.show();
        QTest::mouseClick(&view, Qt::LeftButton); // nobody listens
        QStringList picked;
        view.onSelect = [&](const QString& id) { picked.append(id); };
        QTest::mousePress(&view, Qt::LeftButton);
        QTest::mouseMove(&view, QPoint(-5, 5));
        QTest::mouseRelease(&view, Qt::LeftButton, {}, QPoint(-5, 5));
        QCOMPARE(picked.size(), 0);
        QTest::mouseClick(&view, Qt::LeftButton);
        QTest::keyClick(&view, Qt::Key_Space);
        QTest::keyClick(&view, Qt::Key_Return);
        QCOMPARE(picked, QStringList(3, u"koi"_s));
        QVERIFY(!view.isSelected()); // that is the owner's matter
        view.setSelected(true);
        QTest::keyClick(&view, Qt::Key_Return); // the window's now
        QCOMPARE(picked.size(), 3);
    }

    void onlyTheSecondClickInARowResetsASlot()
    {
        CharacterSlotView deaf(u"menu"_s);
        pressInARow(deaf, 2); // nobody listens
        CharacterSlotView view(u"menu"_s);
        QString calls;
        view.onActivate = [&] { calls += u'a'; };
        view.onReset = [&] { calls += u'r'; };
        pressInARow(view, 4);
        QCOMPARE(calls, u"araa"_s);
        calls.clear();
        QTest::keyClick(&view, Qt::Key_Space);
        QTest::keyClick(&view, Qt::Key_Delete);
        QCOMPARE(calls, u"ar"_s);
    }

    void activeSlotStandsOut()
    {
        CharacterSlotView view(u"menu"_s);
        view.resize(view.sizeHint());
        const Palette colors = paletteFor(ColorScheme::light);
        view.setColors(colors);
        const auto edge = [&] {
            QImage image(view.size(), QImage::Format_RGB32);
            image.fill(Qt::white);
            view.render(&image, {}, {}, {});
            return image.pixelColor(1, view.height() / 2);
        };
        QVERIFY(edge().lightness() > 220); // within the thin line
        view.setActive(true);
        QCOMPARE(edge(), colors.accent); // within the thick one
    }

    void badgesAreDrawnOrCounted()
    {
        CharacterChoiceView view(u"koi"_s);
        view.resize(view.sizeHint());
        const Palette colors = paletteFor(ColorScheme::light);
        QCOMPARE(pixelsOf(view, colors.accent), 0);
        view.setBadges({u"Menu"_s});
        const int one = pixelsOf(view, colors.accent);
        QVERIFY(one > 100);
        view.setBadges({u"Menu"_s, u"Z"_s});
        const int two = pixelsOf(view, colors.accent);
        QVERIFY(two > one);
        view.setBadges({u"Menu"_s, u"A place with a long name"_s, u"Another"_s});
        const int counted = pixelsOf(view, colors.accent);
        QVERIFY(counted > one);
        const QRect margin(0, 0, 5, view.height());
        QCOMPARE(pixelsOf(view, colors.accent, margin), 0);
        QVERIFY(view.accessibleDescription().contains("Another"_L1));
        view.setBadges({u"A place with a very long name"_s});
        QCOMPARE(pixelsOf(view, colors.accent, margin), 0);
        QVERIFY(pixelsOf(view, colors.accent) > two);
    }

    void tilesAreRadioButtonsWithOneTabStop()
    {
        QWidget box;
        QList<CharacterChoiceView*> tiles;
        for (int i = 0; i < 3; ++i) {
            tiles.append(new CharacterChoiceView(QString::number(i), &box));
            tiles[i]->setGeometry(100 * i, 0, 88, 98);
            tiles[i]->setCharacterName(u"Name %1"_s.arg(i));
            tiles[i]->onSelect = [&tiles](const QString& id) {
                for (auto* tile : tiles)
                    tile->setSelected(tile->characterID() == id);
            };
        }
        tiles[1]->setSelected(true);
        box.show();
        activate(box);
        QVERIFY(!(tiles[0]->focusPolicy() & Qt::TabFocus));
        QVERIFY(tiles[1]->focusPolicy() & Qt::TabFocus);
        tiles[1]->setFocus();
        QTest::keyClick(tiles[1], Qt::Key_Right);
        QVERIFY(tiles[2]->isSelected() && !tiles[1]->isSelected());
        tiles[2]->setBadges({u"Menu"_s});
        QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(tiles[2]);
        QCOMPARE(spoken->role(), QAccessible::RadioButton);
        QCOMPARE(spoken->text(QAccessible::Name), u"Name 2"_s);
        QCOMPARE(spoken->text(QAccessible::Description), u"Menu"_s);
        QVERIFY(spoken->state().checked);
        tiles[2]->setSelected(false);
        QVERIFY(!spoken->state().checked);
    }

    void characterIsDrawnOnlyWhenItLooksOtherwise()
    {
        AnimatedCharacter shown;
        const PixelTheme drawing = theme();
        const auto drawn = [&](const CharacterAnimation& animation, qreal ratio = 1) {
            return shown.next(drawing, u"koi"_s, animation, 58, ratio).has_value();
        };
        QVERIFY(drawn({}));
        QVERIFY(!drawn({.seconds = 0.4}));
        QVERIFY(!drawn({.seconds = 0.5})); // another frame with the same rows
        QVERIFY(drawn({.seconds = 1.0}));
        QVERIFY(drawn({.seconds = 1.0}, 2));
        QVERIFY(drawn({.seconds = 1.0, .colors = {{u"koi"_s, Qt::red}}}, 2));
        QVERIFY(drawn({.seconds = 2.0, .lowLimit = MascotState::tired}));
        QVERIFY(!drawn({.seconds = 2.9, .lowLimit = MascotState::tired})); // it is slower
        QVERIFY(drawn({.seconds = 3.0, .lowLimit = MascotState::tired})); // the drop slides
        shown.forget();
        QVERIFY(drawn({.seconds = 3.0, .lowLimit = MascotState::tired}));
    }

    void smallGroupsShareARow()
    {
        const CharacterGridStyle style{.tile = {80, 90}, .gap = 10, .edge = 0};
        const auto places = [&](const QList<GridGroup>& list) {
            return gridPlaces(list, 350, style).groups; // four columns
        };
        const auto shared = places({{2, 50}, {0, 50}, {2, 170}, {1, 50}});
        QCOMPARE(shared[0].heading.top(), shared[2].heading.top());
        QCOMPARE(shared[2].tiles, (QList<QPointF>{{180, 18}, {270, 18}}));
        QVERIFY(shared[3].heading.top() > 18 + 90);
        const auto wide = places({{2, 50}, {2, 171}});
        QVERIFY(wide[1].heading.top() > wide[0].tiles[0].y());
        const auto wrapped = places({{5, 50}, {1, 50}});
        QCOMPARE(wrapped[0].tiles[4], QPointF(0, 18 + 90 + 10));
        QVERIFY(wrapped[1].heading.top() > wrapped[0].tiles[4].y() + 90);
        QCOMPARE(gridPlaces({{2, 50}}, 20, style).groups[0].tiles[1].x(), 0.0);
    }

    void gridDrawsWhatIsInSightAndOnlyAnew()
    {
        const PixelTheme drawing = theme();
        const auto grid = shownGrid(drawing, groups(30, 4));
        CharacterChoiceView* first = tile(*grid, u"0-0"_s);
        CharacterChoiceView* last = tile(*grid, u"29-3"_s);
        QVERIFY(!first->characterImage().isNull());
        QVERIFY(last->characterImage().isNull());
        const qint64 before = first->characterImage().cacheKey();
        grid->setAnimation({.seconds = 0.6});
        QCOMPARE(first->characterImage().cacheKey(), before);
        grid->setAnimation({.seconds = 1.1});
        QVERIFY(first->characterImage().cacheKey() != before);
        grid->setSelected(u"29-3"_s);
        QVERIFY(!last->characterImage().isNull());
        QVERIFY(last->visibleRegion().contains(last->rect().center()));
    }

    void newGroupsKeepTheKeyboardAndTheMarks()
    {
        const PixelTheme drawing = theme();
        const auto grid = shownGrid(drawing, groups(20, 4));
        grid->setSelected(u"0-1"_s);
        grid->setBadges({{u"0-1"_s, {u"Menu"_s}}});
        tile(*grid, u"15-2"_s)->setFocus();
        const int place = tile(*grid, u"15-2"_s)->mapTo(grid.get(), QPoint()).y();
        QVERIFY(place < grid->height()); // it came into sight
        grid->setGroups(groups(21, 4));
        QCOMPARE(QApplication::focusWidget(), tile(*grid, u"15-2"_s));
        QCOMPARE(tile(*grid, u"15-2"_s)->mapTo(grid.get(), QPoint()).y(), place);
        QVERIFY(tile(*grid, u"0-1"_s)->isSelected());
        QCOMPARE(tile(*grid, u"0-1"_s)->badges(), QStringList{u"Menu"_s});
        QCOMPARE(namelessControl(*grid), QString());
        grid->setGroups(groups(1, 1)); // the tile with the keyboard is gone
        QVERIFY(tile(*grid, u"0-0"_s)->focusPolicy() & Qt::TabFocus);

        const QPointer picked = tile(*grid, u"0-0"_s);
        bool isThere = false;
        grid->onSelect = [&](const QString&) {
            grid->setGroups(groups(2, 2));
            isThere = !picked.isNull();
        };
        QTest::keyClick(picked, Qt::Key_Space);
        QVERIFY(isThere);
        QTRY_VERIFY(!picked);
    }

    void gridGrowsWithTheText()
    {
        const PixelTheme drawing = theme();
        const auto grid = shownGrid(drawing, groups(2, 2));
        const double scale = textScale();
        QCOMPARE(tile(*grid, u"0-0"_s)->size(), (QSizeF(88, 98) * scale).toSize());
        QCOMPARE(tile(*grid, u"0-0"_s)->characterImage().width(), qRound(58 * scale));
        const CharacterChoiceView* below = tile(*grid, u"1-0"_s);
        QCOMPARE(below->y() > 2 * 98, scale > 1.5); // two groups fit into a row of usual size
    }

    void searchFiltersAndLeadsToTheTiles()
    {
        const PixelTheme drawing = theme();
        const auto grid = shownGrid(drawing, groups(3, 4));
        QStringList picked;
        grid->onSelect = [&](const QString& id) { picked.append(id); };
        grid->setSelected(u"0-0"_s);
        auto* search = grid->findChild<QLineEdit*>();
        search->setFocus();
        QTest::keyClicks(search, u" NAME 2"_s);
        QVERIFY(tile(*grid, u"0-0"_s)->isHidden());
        QVERIFY(tile(*grid, u"2-0"_s)->y() < 30); // moved up
        QTest::keyClick(search, Qt::Key_Down);
        QCOMPARE(QApplication::focusWidget(), tile(*grid, u"2-0"_s));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QCOMPARE(picked, QStringList{u"2-0"_s});

        search->setText(u"zebra"_s);
        const auto labels = grid->findChildren<QLabel*>();
        QVERIFY(std::ranges::any_of(labels, [](const QLabel* label) {
            return label->isVisible() && label->text().contains("zebra"_L1);
        }));
        QTest::keyClick(search, Qt::Key_Escape);
        QVERIFY(!tile(*grid, u"0-0"_s)->isHidden());
        search->setText(u"name 1"_s);
        grid->setGroups(groups(2, 4));
        QVERIFY(tile(*grid, u"0-0"_s)->isHidden());
    }

    void droppedCharacterFilesAreHandedOver()
    {
        CharacterGridView grid;
        QMimeData data;
        data.setUrls({QUrl(u"file:///tmp/a%20b.json"_s), QUrl(u"file:///tmp/c.txt"_s),
                      QUrl(u"https://example.org/d.json"_s)});
        const auto accepts = [&](const QMimeData& mime) {
            QDragEnterEvent event({5, 5}, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
            event.ignore();
            QApplication::sendEvent(&grid, &event);
            return event.isAccepted();
        };
        QVERIFY(!accepts(data)); // nobody takes them
        QStringList dropped;
        grid.onDropFiles = [&](const QStringList& paths) { dropped = paths; };
        QVERIFY(accepts(data));
        QDropEvent drop({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&grid, &drop);
        QCOMPARE(dropped, QStringList{u"/tmp/a b.json"_s});
        QMimeData others;
        others.setUrls({QUrl(u"file:///tmp/c.txt"_s)});
        QVERIFY(!accepts(others));
    }

    void importAsksAboutTwins()
    {
        const QTemporaryDir folder;
        const auto write = [&](const QString& name, const CustomCharacterFile& file) {
            writeFile(folder.filePath(name), file.toJson());
            return folder.filePath(name);
        };
        write(u"local/old.json"_s, character(uuid, u"Rover"_s));
        const CustomCharacterLibrary library(folder.filePath(u"local"_s), {});
        const QString sameId = write(u"a.json"_s, character(uuid, u"Rover II"_s));
        const QString sameName = write(u"b.json"_s, character(u"koi"_s, u"rover"_s));
        const QString stranger = write(u"c.json"_s, character(u"rex"_s, u"Rex"_s));
        auto found = importCandidates({sameId, sameName, stranger, sameId, folder.path()}, library);
        QCOMPARE(found.size(), 4);
        QCOMPARE(found[0].answer, ImportAnswer::replace);
        QCOMPARE(found[0].imported().id, uuid);
        found[0].answer = ImportAnswer::keepBoth;
        QVERIFY(found[0].imported().isValid() && found[0].imported().id != uuid);
        found[0].answer = ImportAnswer::skip;
        QVERIFY(!found[0].isWanted());
        QCOMPARE(found[1].twin->name, u"Rover"_s);
        QCOMPARE(found[1].imported().id, u"koi"_s);
        found[1].answer = ImportAnswer::replace;
        QCOMPARE(found[1].imported().id, uuid);
        QVERIFY(!found[2].twin && found[2].isWanted());
        QVERIFY(!found[3].isWanted() && !found[3].error.isEmpty());
    }

    void importShowsWhatGoesInOnBothGrounds()
    {
        const QTemporaryDir folder;
        CustomCharacterFile file = character(uuid, u"Rover"_s);
        file.color = u"#112233"_s;
        file.frames = {PixelFrame(24, QString(24, u'C'))};
        file.motion = u"idle"_s;
        writeFile(folder.filePath(u"a.json"_s), file.toJson());
        writeFile(folder.filePath(u"b.json"_s), "[]");
        const QStringList paths{folder.filePath(u"a.json"_s), folder.filePath(u"b.json"_s)};
        CustomCharacterLibrary library(folder.filePath(u"local"_s), {});
        CharacterImportDialog dialog(paths, library, theme(), paletteFor(ColorScheme::light));
        dialog.show();
        QCoreApplication::processEvents();
        QCOMPARE(namelessControl(dialog), QString());
        for (const QLabel* label : dialog.findChildren<QLabel*>())
            QVERIFY2(label->isHidden() || label->height() >= label->heightForWidth(label->width()),
                     qPrintable(label->text()));
        const auto rows = dialog.findChildren<CharacterImportRow*>();
        const int large = qRound(58 * textScale());
        const int small = qRound(22 * textScale());
        QCOMPARE(pixelsOf(*rows[0], QColor(0x11, 0x22, 0x33)), 2 * (large * large + small * small));
        const QImage row = rows[0]->grab().toImage();
        const int middle = row.height() / 2;
        QCOMPARE(row.pixelColor(4, middle), paletteFor(ColorScheme::light).cardBackground);
        QCOMPARE(row.pixelColor(qRound(108 * textScale()), middle),
                 paletteFor(ColorScheme::dark).cardBackground);
    }

    void allIsWellWithTextTwiceAsLarge()
    {
        // The desktop's text size is settled once a program runs.
        QProcess again;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QT_FONT_DPI"_s, u"192"_s);
        environment.insert(u"QT_ENABLE_HIGHDPI_SCALING"_s, u"0"_s); // large text, not a fine screen
        again.setProcessEnvironment(environment);
        again.setProcessChannelMode(QProcess::ForwardedChannels);
        again.start(QCoreApplication::applicationFilePath(),
                    {u"gridGrowsWithTheText"_s, u"importShowsWhatGoesInOnBothGrounds"_s});
        QVERIFY(again.waitForFinished());
        QCOMPARE(again.exitCode(), 0);
    }

    void importPutsInWhatIsWantedAndSaysWhatFailed()
    {
        const QTemporaryDir folder;
        const QString good = folder.filePath(u"good.json"_s);
        const QString bad = folder.filePath(u"bad.json"_s);
        writeFile(good, character(uuid, u"Rover"_s).toJson());
        writeFile(bad, "[]");
        CustomCharacterLibrary library(folder.filePath(u"local/own"_s), {});
        writeFile(folder.filePath(u"local"_s), "in the way");
        CharacterImportDialog dialog({good, bad}, library, theme(), paletteFor(ColorScheme::dark));
        dialog.show();
        dialog.accept();
        QVERIFY(dialog.isVisible());
        const auto rows = dialog.findChildren<CharacterImportRow*>();
        QVERIFY(std::ranges::any_of(rows.first()->findChildren<QLabel*>(), [](const QLabel* label) {
            return label->isVisible() && label->text().contains("could not be written"_L1);
        }));
        QFile::remove(folder.filePath(u"local"_s));
        dialog.accept();
        QVERIFY(!dialog.isVisible());
        QCOMPARE(library.localCharacters().size(), 1);

        CharacterImportDialog again({good}, library, theme(), paletteFor(ColorScheme::light));
        auto* answers = again.findChild<QComboBox*>();
        QCOMPARE(answers->accessibleName(), u"What to do with Rover"_s);
        answers->setCurrentIndex(answers->findData(int(ImportAnswer::skip)));
        again.accept();
        QCOMPARE(library.localCharacters().size(), 1);
    }
};

QTEST_MAIN(CharacterPickersTest)
#include "CharacterPickersTest.moc"
