#pragma once

#include "platform/CalendarStore.h"
#include "platform/Worker.h"
#include "platform/linux/FolderWatch.h"

#include <QHash>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <vector>

class PreferenceStore;

/// The folders that the user keeps .ics files in: the preference "calendarFolders", without which
/// `~/.local/share/calendars` and `~/.calendars`. Absolute paths, of folders that need not exist.
[[nodiscard]] QStringList calendarFolders(const PreferenceStore& preferences);

/// The calendars in all .ics files below some folders. Status 3 when there is such a file, else 2.
///
/// Hidden files and folders do not count, and nothing beyond some hundred folders and some ten
/// thousand files. What is no whole calendar, or larger than 16 MiB, is passed over until it
/// changes.
class IcsCalendarStore final : public CalendarStore {
public:
    /// What is known of one file, so that only files that change are read again.
    struct File {
        struct Stamp {
            quint64 device = 0;
            quint64 node = 0;
            qint64 size = -1;
            qint64 changedNanoseconds = 0;
            bool operator==(const Stamp&) const = default;
        };
        struct Answer {
            DateSpan span;
            QList<CalendarEvent> events;
        };
        Stamp stamp;
        DateSpan extent; // nothing of the file lies outside
        QList<Answer> answers; // the latest last
    };
    using Files = QHash<QString, File>;

    /// Changes are told once within `settle`.
    explicit IcsCalendarStore(QStringList folders,
                              std::chrono::milliseconds settle = std::chrono::milliseconds(200));
    ~IcsCalendarStore() override;

    [[nodiscard]] std::optional<int> status() const override { return m_status; }
    void requestAccess(std::function<void(bool)> completion) override;
    void fetch(const DateSpan& span) override;
    void close() override;

private:
    struct Job;
    struct Outcome;
    void next();
    void take(const Job& job, const Outcome& outcome);

    QStringList m_folders;
    std::optional<int> m_status;
    Files m_files;
    std::vector<Job> m_jobs; // that wait
    bool m_isWorking = false; // on one that waits no more
    std::unique_ptr<FolderWatch> m_watch; // while awake
    QTimer m_settle;
    Worker m_worker;
};
