// What the first opening of the panel and the Settings cost: from the wish to see them to the first
// paint, and the processor while all their characters move. Needs a display.

#include "bench/Median.h"
#include "characters/CharacterGridView.h"
#include "tests/app/TestProgram.h"

#include <QApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <ctime>

namespace {

constexpr int openings = 11;
constexpr int animatedMilliseconds = 10'000;

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

double processorSeconds()
{
    timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return double(used.tv_sec) + double(used.tv_nsec) / 1e9;
}

void open(Program& program, PaintWatch& watch)
{
    watch.hasPainted = false;
    program.delegate.showSettings(u"character"_s);
    SettingsWindow* window = program.delegate.settings().window();
    for (QWidget* each : window->findChildren<QWidget*>())
        each->installEventFilter(&watch);
    while (!watch.hasPainted)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    PaintWatch watch;
    Median panel;
    Median first;
    Median again;
    for (int round = 0; round < openings; ++round) {
        const QTemporaryDir home;
        Program program(home, true);
        program.delegate.applicationDidFinishLaunching({.background = true});
        panel.time([&] {
            watch.hasPainted = false;
            program.delegate.showPanel();
            for (QWidget* each : program.delegate.panelWindow().findChildren<QWidget*>())
                each->installEventFilter(&watch);
            while (!watch.hasPainted)
                QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        });
        first.time([&] { open(program, watch); });
        program.delegate.settings().window()->close();
        again.time([&] { open(program, watch); });
    }
    const QTemporaryDir home;
    Program program(home, true);
    program.delegate.applicationDidFinishLaunching({.background = true});
    open(program, watch);
    QElapsedTimer clock;
    clock.start();
    const double before = processorSeconds();
    while (clock.elapsed() < animatedMilliseconds)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const double share = (processorSeconds() - before) / (double(clock.elapsed()) / 1000);
    std::printf("| the panel's first opening, all its tabs made, to the first paint | %.0f ms |\n"
                "| Settings on the Character page, first time, to the first paint | %.0f ms |\n"
                "| the same again | %.0f ms |\n"
                "| while it and the panel animate | %.1f %% of a core |\n",
                panel.milliseconds(), first.milliseconds(), again.milliseconds(), 100 * share);
}
