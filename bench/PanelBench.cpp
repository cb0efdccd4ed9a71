// What drawing costs: the status item's picture, one step of the clock, the whole panel, and the
// time from the wish to see the panel to its first paint. Needs a display.

#include "bench/Median.h"
#include "characters/CustomCharacterLibrary.h"
#include "characters/SpriteImages.h"
#include "characters/ThemeFile.h"
#include "panel/PanelWindow.h"
#include "panel/UsagePanelView.h"
#include "platform/ApplicationPaths.h"
#include "platform/PreferenceStore.h"
#include "today/DemoCalendar.h"
#include "usage/DemoUsage.h"

#include <QApplication>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 200;
constexpr int openings = 40;
constexpr double clockStep = 0.06; // seconds of the characters' time in one step

/// Notes the first paint of whatever it watches.
class PaintWatch : public QObject {
public:
    bool eventFilter(QObject*, QEvent* event) override
    {
        hasPainted = hasPainted || event->type() == QEvent::Paint;
        return false;
    }

    bool hasPainted = false;
};

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const QTemporaryDir folder;
    const PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
    const ApplicationPaths paths = ApplicationPaths::find(true);
    const CustomCharacterLibrary library(folder.filePath(u"characters"_s), paths.resources);
    const SpeechFont speechFont(paths.resources);
    const PixelTheme theme = PixelTheme::loadSelected(
        preferences, themeRoots(paths), [&library](const QString& id) { return library.art(id); });
    const Date now = currentDate();
    const QList<ServiceUsage> services = QList{Demo::calendar(now, now, {})} + Demo::all();
    auto* panel = new UsagePanelView;
    PanelWindow window;
    window.addPage(QStringLiteral("usage"), panel);
    window.onShown = window.onClosed = [] {};
    const Palette palette = paletteFor(ColorScheme::dark);
    panel->setColors(palette);
    window.setColors(palette);
    panel->setTheme(&theme);
    panel->setLively(true);
    panel->setSpeechFont(&speechFont);
    panel->setSpeech(true, 0);
    panel->setSpokenCalendar(services.first());
    panel->setServices(services);
    panel->showCards();

    Median menuPicture;
    Median tick;
    Median paint;
    Median opening;
    for (int round = 0; round < rounds; ++round)
        menuPicture.time([&] { (void)menuImage(theme, round, MascotState::active, 2); });
    PaintWatch watch;
    for (QWidget* card : panel->findChildren<QWidget*>())
        card->installEventFilter(&watch);
    for (int round = 0; round < openings; ++round) {
        watch.hasPainted = false;
        opening.time([&] {
            panel->setServices(services);
            panel->showCards();
            window.showPopover(QPoint(900, 10));
            while (!watch.hasPainted)
                QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        });
        if (round < openings - 1)
            window.hide();
        QApplication::processEvents();
    }
    for (int round = 0; round < rounds; ++round) {
        tick.time([&] {
            panel->setAnimationTime(round * clockStep);
            QApplication::processEvents();
        });
        paint.time([&] { (void)panel->grab(); });
    }
    std::printf("| one `menuImage` at 44 pixels | %.3f ms |\n"
                "| one step of the clock, Today and two services | %.3f ms |\n"
                "| one paint of the whole panel | %.3f ms |\n"
                "| from the click to the first paint | %.1f ms |\n",
                menuPicture.milliseconds(), tick.milliseconds(), paint.milliseconds(),
                opening.milliseconds());
}
