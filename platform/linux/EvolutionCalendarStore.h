#pragma once

#include "platform/CalendarStore.h"
#include "platform/Worker.h"
#include "platform/linux/EvolutionServer.h"

#include <QHash>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <chrono>

/// How long the store waits for what.
struct EvolutionTimes {
    std::chrono::milliseconds call = std::chrono::seconds(8); // for an answer, before it goes on
    std::chrono::milliseconds settle = std::chrono::milliseconds(200); // to tell changes at once
    /// Until what failed is tried again; twice as long each time, up to ten minutes.
    std::chrono::milliseconds retry = std::chrono::minutes(1);
};

/// The enabled calendars of Evolution Data Server, which GNOME's programs and Evolution use.
/// Status 3 when that is installed, else 2.
///
/// Until the first `fetch` nothing is started. A calendar that fails or hangs is left out of the
/// fetches until it is tried again or its server comes back.
class EvolutionCalendarStore final : public CalendarStore {
public:
    explicit EvolutionCalendarStore(const EvolutionTimes& times = {},
                                    const QDBusConnection& bus = QDBusConnection::sessionBus());
    ~EvolutionCalendarStore() override;

    [[nodiscard]] std::optional<int> status() const override { return m_status; }
    void requestAccess(std::function<void(bool)> completion) override;
    void fetch(const DateSpan& span) override;
    void close() override;

private:
    struct Calendar {
        OpenCalendar address;
        QHash<QByteArray, QByteArray> zones; // texts by name, empty for an unknown one
    };
    struct Answer {
        DateSpan span;
        QList<CalendarEvent> events;
    };
    /// The fetch that is under way.
    struct Fetch {
        DateSpan span;
        QStringList calendars; // ids of all enabled ones
        QHash<QString, QStringList> texts; // of those that have answered
        int outstanding = 0; // answers that the present step waits for
        bool hasZones = false; // those missing at first have been asked for
    };
    struct Text;
    struct Parsed;

    void find(std::function<void()> then);
    void next();
    void readSources();
    void takeSources(const CalendarSources& sources);
    void openCalendar(const QString& id);
    void queryCalendars();
    void readTexts();
    void readZones(const QList<Parsed>& calendars);
    void takeParsed(const QList<Parsed>& calendars);
    void finish(const QHash<QString, QList<CalendarEvent>>& events = {});
    void stepDone(void (EvolutionCalendarStore::*nextStep)());

    void closeCalendar(const QString& id);
    void noteChange();
    void ownerChanged(const QString& service, bool isRunning);
    void fail(const QString& what);
    void scheduleRetry();
    void tryAgain();

    EvolutionTimes m_times;
    EvolutionServer m_server;
    std::optional<int> m_status;
    QHash<QString, Calendar> m_calendars; // open ones by id
    QHash<QString, QList<Answer>> m_known; // the latest last
    QSet<QString> m_failed; // calendars, or `sourcesMark`
    QList<DateSpan> m_waiting;
    std::optional<Fetch> m_fetch;
    QTimer m_settle;
    QTimer m_retry;
    std::chrono::milliseconds m_retryDelay;
    Worker m_worker; // reads the texts
};
