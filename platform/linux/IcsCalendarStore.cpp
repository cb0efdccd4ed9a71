#include "platform/linux/IcsCalendarStore.h"

#include "platform/Files.h"
#include "platform/PreferenceStore.h"
#include "platform/linux/CalendarParser.h"

#include <QDir>
#include <QStandardPaths>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 fileLimit = 16LL << 20;
constexpr qsizetype foldersLimit = 256;
constexpr qsizetype filesLimit = 50'000;
constexpr qsizetype answersKept = 2; // the shown month and the one of the shown day
constexpr auto suffix = ".ics"_L1;

using File = IcsCalendarStore::File;

/// The .ics files below some folders.
struct Tree {
    QStringList files; // each once, sorted by folder and name
    QSet<QString> folders;
};

void addFolder(const QString& path, Tree& tree)
{
    // A link may lead back to where it stands.
    const QString folder = QFileInfo(path).canonicalFilePath();
    if (folder.isEmpty() || tree.folders.contains(folder) || tree.folders.size() >= foldersLimit)
        return;
    tree.folders.insert(folder);
    const QFileInfoList entries = QDir(folder).entryInfoList(
        {u"*"_s + suffix}, QDir::Files | QDir::AllDirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir())
            addFolder(entry.filePath(), tree);
        else if (tree.files.size() < filesLimit)
            tree.files.append(entry.filePath());
    }
}

Tree tree(const QStringList& folders)
{
    Tree found;
    for (const QString& folder : folders)
        addFolder(folder, found);
    return found;
}

File::Stamp stampOf(const QString& path)
{
    struct stat status { };
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return {};
    return {
        .device = status.st_dev,
        .node = status.st_ino,
        .size = status.st_size,
        .changedNanoseconds = status.st_ctim.tv_sec * 1'000'000'000LL + status.st_ctim.tv_nsec,
    };
}

QList<CalendarEvent> readAnswer(const QString& path, const DateSpan& span, File& file)
{
    const ParsedCalendar calendar = parseCalendar(readFile(path, fileLimit).contents, span);
    file.extent = calendar.extent;
    if (file.answers.size() >= answersKept)
        file.answers.removeFirst();
    file.answers.append({span, calendar.events});
    return calendar.events;
}

/// The events of the file at `path`, of which `file` says what is known, if anything.
QList<CalendarEvent> eventsIn(const QString& path, const DateSpan& span, File& file)
{
    const File::Stamp stamp = stampOf(path);
    if (file.stamp != stamp)
        file = {.stamp = stamp, .extent = {Date::min(), Date::max()}};
    for (const File::Answer& answer : std::as_const(file.answers)) {
        if (answer.span == span)
            return answer.events;
    }
    if (file.extent.start >= span.end || file.extent.end <= span.start)
        return {};
    return readAnswer(path, span, file);
}

} // namespace

/// A span to fetch, or without one only a look whether there is anything.
struct IcsCalendarStore::Job {
    std::optional<DateSpan> span;
    std::function<void(bool)> completion;
};

struct IcsCalendarStore::Outcome {
    Tree tree;
    Files files;
    QList<CalendarEvent> events;
};

QStringList calendarFolders(const PreferenceStore& preferences)
{
    const QString home = QDir::homePath();
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    QStringList folders;
    for (QString folder : preferences.texts(u"calendarFolders"_s)
                              .value_or(QStringList{data + "/calendars"_L1, u"~/.calendars"_s})) {
        if (folder == u'~' || folder.startsWith("~/"_L1))
            folder.replace(0, 1, home);
        if (QDir::isAbsolutePath(folder))
            folders.append(QDir::cleanPath(folder));
    }
    return folders;
}

IcsCalendarStore::IcsCalendarStore(QStringList folders, std::chrono::milliseconds settle)
    : m_folders(std::move(folders))
{
    m_settle.setSingleShot(true);
    m_settle.setInterval(settle);
    m_settle.callOnTimeout([this] {
        if (onChange)
            onChange();
    });
}

IcsCalendarStore::~IcsCalendarStore() = default;

void IcsCalendarStore::requestAccess(std::function<void(bool)> completion)
{
    m_jobs.push_back({.completion = std::move(completion)});
    next();
}

void IcsCalendarStore::fetch(const DateSpan& span)
{
    if (!m_watch) {
        m_watch = std::make_unique<FolderWatch>(suffix);
        m_watch->onChange = [this] {
            if (!m_settle.isActive())
                m_settle.start();
        };
    }
    m_jobs.push_back({.span = span});
    next();
}

void IcsCalendarStore::close()
{
    m_worker.forget();
    m_jobs.clear();
    m_isWorking = false;
    m_watch.reset();
    m_settle.stop();
    m_files.clear();
    m_status.reset();
}

/// Works on the job that has waited longest, on copies, in another thread; one job at a time, so that
/// each knows what the one before has read.
void IcsCalendarStore::next()
{
    if (m_isWorking || m_jobs.empty())
        return;
    m_isWorking = true;
    const Job job = std::move(m_jobs.front());
    m_jobs.erase(m_jobs.begin());
    const auto work = [folders = m_folders, known = m_files, span = job.span] {
        Outcome outcome{.tree = tree(folders)};
        if (!span)
            return outcome;
        for (const QString& path : std::as_const(outcome.tree.files)) {
            File file = known.value(path);
            outcome.events += eventsIn(path, *span, file);
            outcome.files.insert(path, file);
        }
        return outcome;
    };
    m_worker.run(work, [this, job](const Outcome& outcome) {
        m_isWorking = false;
        take(job, outcome); // who hears of it may ask for more
        next();
    });
}

void IcsCalendarStore::take(const Job& job, const Outcome& outcome)
{
    m_status = outcome.tree.files.isEmpty() ? CalendarAccess::denied : CalendarAccess::full;
    if (!job.span) {
        job.completion(*m_status == CalendarAccess::full);
        return;
    }
    m_files = outcome.files;
    QStringList missing = m_folders;
    missing.removeIf([](const QString& folder) { return QFileInfo(folder).isDir(); });
    if (m_watch->watch(outcome.tree.folders, missing))
        m_settle.start(); // something may have been written before the watch began
    if (onEvents)
        onEvents(*job.span, outcome.events);
}
