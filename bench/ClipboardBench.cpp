// How long the clipboard keeps the main thread from anything else, while another program copies
// large things. Needs a display and xclip. With a number of seconds as argument it also counts how
// often the program wakes up while nothing is copied.

#include "platform/PreferenceStore.h"
#include "platform/linux/DesktopClipboard.h"
#include "today/ClipboardShelf.h"
#include "today/ClipboardShelfView.h"
#include "today/ShelfPictures.h"

#include <QApplication>
#include <QBuffer>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QMimeData>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// The processor time that this thread has had, in milliseconds: other programs leave it alone.
double ownTime()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

/// Measures how long each event keeps the main thread.
class WatchedApplication : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        if (m_isBusy) // an event within another
            return QApplication::notify(receiver, event);
        m_isBusy = true;
        QElapsedTimer timer;
        timer.start();
        const double ownStart = ownTime();
        const bool result = QApplication::notify(receiver, event);
        const double own = ownTime() - ownStart;
        longest = std::max(longest, double(timer.nsecsElapsed()) / 1e6);
        longestOwn = std::max(longestOwn, own);
        allOwn += own;
        m_isBusy = false;
        return result;
    }

    void reset() { longest = longestOwn = allOwn = 0; }

    double longest = 0; // milliseconds
    double longestOwn = 0; // without the waits for the processor
    double allOwn = 0;

private:
    bool m_isBusy = false;
};

void waitFor(const std::function<bool()>& isDone)
{
    while (!isDone())
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// A PNG of about `megabytes` (2^20 bytes).
QByteArray picture(int megabytes, quint32 seed)
{
    QImage image(1024, megabytes * 342, QImage::Format_RGB888); // noise: it does not get smaller
    QRandomGenerator random(seed);
    random.fillRange(reinterpret_cast<quint32*>(image.bits()), image.sizeInBytes() / 4);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

/// The number of times that this process has gone to sleep by itself.
long sleeps()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    const QByteArray key = "\nvoluntary_ctxt_switches:";
    return text.mid(text.indexOf(key) + key.size()).trimmed().split('\n').constFirst().toLong();
}

struct Bench {
    ClipboardShelf& shelf;
    WatchedApplication& watch;
    QString file;

    void copy(const char* what, const QByteArray& bytes, const QString& type)
    {
        QFile contents(file);
        if (!contents.open(QIODevice::WriteOnly) || contents.write(bytes) != bytes.size())
            return;
        contents.close();
        QProcess owner;
        const QUuid top = shelf.items().isEmpty() ? QUuid() : shelf.items().constFirst().id;
        owner.start(u"xclip"_s,
                    {u"-quiet"_s, u"-selection"_s, u"clipboard"_s, u"-t"_s, type, u"-i"_s, file});
        owner.waitForStarted();
        QApplication::processEvents();
        watch.reset();
        waitFor([&] { return !shelf.items().isEmpty() && shelf.items().constFirst().id != top; });
        for (int turn = 0; turn < 20; ++turn) // and what follows: the view, the list's file
            QApplication::processEvents();
        std::printf("| %s | %.1f | %.1f | %.1f |\n", what, watch.longest, watch.longestOwn,
                    watch.allOwn);
        owner.kill();
        owner.waitForFinished();
        std::fflush(stdout);
    }
};

} // namespace

int main(int argc, char** argv)
{
    WatchedApplication application(argc, argv);
    const QTemporaryDir folder;
    PreferenceStore preferences(folder.filePath(u"preferences.json"_s));
    preferences.setBoolean(ClipboardShelf::enabledKey, true);
    DesktopClipboard board(pictureTypes(), ClipboardShelf::privateTypes());
    ClipboardShelf shelf(folder.filePath(u"ClipboardRecent"_s), board, preferences);
    ClipboardShelfView view(shelf);
    view.resize(view.sizeHint());
    view.show();
    shelf.onChange = [&view] { view.reload(); };
    Bench bench{shelf, application, folder.filePath(u"copied"_s)};
    waitFor([&view] { return view.isActiveWindow(); });

    std::printf("| copied by another program | longest event, ms | processor time, ms | of all "
                "events, ms |\n|---|---|---|---|\n");
    bench.copy("10 characters", "0123456789", u"UTF8_STRING"_s);
    bench.copy("1 MiB of text", QByteArray(1 << 20, 'x'), u"UTF8_STRING"_s);
    bench.copy("16 MiB of text", QByteArray(16 << 20, 'x'), u"UTF8_STRING"_s);
    bench.copy("a PNG of 16 MiB", picture(16, 1), u"image/png"_s);
    shelf.clear();
    for (int count = 1; count <= ClipboardShelf::itemLimit; ++count) {
        QMimeData dropped;
        dropped.setData(ContentType::png, picture(1, quint32(count)));
        shelf.addDropped(dropped);
        waitFor([&shelf, count] { return shelf.items().size() == count; });
    }
    bench.copy("a PNG of 1 MiB beside 30 pictures", picture(1, 40), u"image/png"_s);
    bench.copy("the oldest of 30 again", picture(1, 4), u"image/png"_s);
    QElapsedTimer back;
    back.start();
    (void)shelf.copy(shelf.items().constFirst());
    std::printf("| one of them copied back | %.1f | | |\n", double(back.nsecsElapsed()) / 1e6);

    if (argc > 1) {
        const int seconds = QByteArray(argv[1]).toInt();
        view.hide();
        bool isOver = false;
        waitFor([&] { return !QApplication::activeWindow(); });
        const long before = sleeps();
        QTimer::singleShot(std::chrono::seconds(seconds), [&isOver] { isOver = true; });
        waitFor([&isOver] { return isOver; });
        std::printf("| wake-ups in %d s with nothing copied | %ld | | |\n", seconds,
                    sleeps() - before - 1);
    }
}
