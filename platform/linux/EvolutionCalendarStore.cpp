#include "platform/linux/EvolutionCalendarStore.h"

#include "platform/linux/CalendarParser.h"

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto longestRetry = 10min;
constexpr qsizetype answersKept = 4;
constexpr auto sourcesMark = "/"_L1; // no calendar's id

} // namespace

/// What one calendar answered, on its way to another thread.
struct EvolutionCalendarStore::Text {
    QString id;
    QStringList events;
    QHash<QByteArray, QByteArray> zones;

    [[nodiscard]] QByteArray calendar() const
    {
        QByteArray text = "BEGIN:VCALENDAR\n"_ba;
        for (const QByteArray& zone : zones)
            text += zone + '\n';
        for (const QString& event : events)
            text += event.toUtf8() + '\n';
        return text + "END:VCALENDAR\n";
    }
};

struct EvolutionCalendarStore::Parsed {
    QString id;
    ParsedCalendar calendar;
};

EvolutionCalendarStore::EvolutionCalendarStore(const EvolutionTimes& times,
                                               const QDBusConnection& bus)
    : m_times(times)
    , m_server(bus, times.call)
    , m_retryDelay(times.retry)
{
    m_server.onChange = [this] { noteChange(); };
    m_server.onOwner
        = [this](const QString& service, bool isRunning) { ownerChanged(service, isRunning); };
    m_settle.setSingleShot(true);
    m_settle.setInterval(times.settle);
    m_settle.callOnTimeout([this] {
        if (onChange)
            onChange();
    });
    m_retry.setSingleShot(true);
    m_retry.callOnTimeout([this] { tryAgain(); });
}

EvolutionCalendarStore::~EvolutionCalendarStore()
{
    close();
}

void EvolutionCalendarStore::requestAccess(std::function<void(bool)> completion)
{
    find([this, completion = std::move(completion)] {
        completion(*m_status == CalendarAccess::full);
    });
}

void EvolutionCalendarStore::fetch(const DateSpan& span)
{
    m_waiting.append(span);
    next();
}

void EvolutionCalendarStore::close()
{
    m_worker.forget();
    for (const QString& id : m_calendars.keys())
        closeCalendar(id);
    m_server.forget();
    m_settle.stop();
    m_retry.stop();
    m_retryDelay = m_times.retry;
    m_known.clear();
    m_failed.clear();
    m_waiting.clear();
    m_fetch.reset();
    m_status.reset();
}

void EvolutionCalendarStore::find(std::function<void()> then)
{
    m_server.find([this, then = std::move(then)](bool isInstalled) {
        m_status = isInstalled ? CalendarAccess::full : CalendarAccess::denied;
        then();
    });
}

/// One fetch at a time, in steps: the list of calendars, opening those that are not yet open,
/// asking all for their events, reading the texts, perhaps asking for time zones and reading again.
void EvolutionCalendarStore::next()
{
    if (m_fetch || m_waiting.isEmpty())
        return;
    m_fetch = Fetch{.span = m_waiting.takeFirst()};
    find([this] {
        if (*m_status == CalendarAccess::full)
            readSources();
        else
            finish();
    });
}

void EvolutionCalendarStore::readSources()
{
    m_fetch->calendars = m_known.keys(); // should the list not be had
    std::ranges::sort(m_fetch->calendars);
    if (m_failed.contains(sourcesMark))
        return finish();
    m_server.readSources([this](const std::optional<CalendarSources>& sources) {
        if (sources)
            return takeSources(*sources);
        fail(sourcesMark);
        finish();
    });
}

void EvolutionCalendarStore::takeSources(const CalendarSources& sources)
{
    const QStringList& enabled = m_fetch->calendars = sources.calendars;
    for (const QString& id : m_calendars.keys()) {
        if (!enabled.contains(id))
            closeCalendar(id);
    }
    m_known.removeIf([&](const auto& known) { return !enabled.contains(known.key()); });
    m_fetch->outstanding = 1; // this loop
    for (const QString& id : enabled) {
        if (m_calendars.contains(id) || m_failed.contains(id))
            continue;
        ++m_fetch->outstanding;
        openCalendar(id);
    }
    stepDone(&EvolutionCalendarStore::queryCalendars);
}

void EvolutionCalendarStore::openCalendar(const QString& id)
{
    m_server.open(id, [this, id](const std::optional<OpenCalendar>& opened) {
        if (opened) {
            m_calendars.insert(id, {.address = *opened});
            m_server.watch(*opened, [this, id](const QString& view) {
                if (const auto watched = m_calendars.find(id); watched != m_calendars.end())
                    watched->address.view = view;
            });
        } else {
            fail(id);
        }
        stepDone(&EvolutionCalendarStore::queryCalendars);
    });
}

void EvolutionCalendarStore::queryCalendars()
{
    m_fetch->outstanding = 1;
    for (const QString& id : std::as_const(m_fetch->calendars)) {
        const auto calendar = m_calendars.constFind(id);
        if (calendar == m_calendars.cend())
            continue;
        ++m_fetch->outstanding;
        m_server.query(calendar->address, m_fetch->span,
                       [this, id](const std::optional<QStringList>& texts) {
                           if (texts) {
                               m_fetch->texts.insert(id, *texts);
                           } else {
                               closeCalendar(id);
                               fail(id);
                           }
                           stepDone(&EvolutionCalendarStore::readTexts);
                       });
    }
    stepDone(&EvolutionCalendarStore::readTexts);
}

/// Called once for each answer that the present step waits for, and once by the step itself.
void EvolutionCalendarStore::stepDone(void (EvolutionCalendarStore::*nextStep)())
{
    if (--m_fetch->outstanding == 0)
        (this->*nextStep)();
}

void EvolutionCalendarStore::readTexts()
{
    QList<Text> texts;
    for (auto text = m_fetch->texts.cbegin(); text != m_fetch->texts.cend(); ++text)
        texts.append({text.key(), text.value(), m_calendars.value(text.key()).zones});
    const auto work = [texts, span = m_fetch->span] {
        QList<Parsed> parsed;
        for (const Text& text : texts)
            parsed.append({text.id, parseCalendar(text.calendar(), span)});
        return parsed;
    };
    m_worker.run(work, [this](const QList<Parsed>& calendars) { readZones(calendars); });
}

/// The zones that the texts name without bringing them along; once.
void EvolutionCalendarStore::readZones(const QList<Parsed>& calendars)
{
    if (std::exchange(m_fetch->hasZones, true))
        return takeParsed(calendars);
    m_fetch->outstanding = 1;
    for (const auto& [id, parsed] : calendars) {
        const Calendar calendar = m_calendars.value(id);
        for (const QByteArray& zone : parsed.unknownZones) {
            if (calendar.zones.contains(zone))
                continue;
            ++m_fetch->outstanding;
            m_server.readZone(
                calendar.address, zone, [this, id = id, zone](const QByteArray& text) {
                    if (const auto asked = m_calendars.find(id); asked != m_calendars.end())
                        asked->zones.insert(zone, text);
                    stepDone(&EvolutionCalendarStore::readTexts);
                });
        }
    }
    if (m_fetch->outstanding > 1)
        stepDone(&EvolutionCalendarStore::readTexts);
    else
        takeParsed(calendars);
}

void EvolutionCalendarStore::takeParsed(const QList<Parsed>& calendars)
{
    QHash<QString, QList<CalendarEvent>> events;
    for (const auto& [id, parsed] : calendars)
        events.insert(id, parsed.events);
    finish(events);
}

/// `events` are those of the calendars that have answered; for the others their last words count.
void EvolutionCalendarStore::finish(const QHash<QString, QList<CalendarEvent>>& events)
{
    const Fetch fetch = *m_fetch;
    m_fetch.reset();
    QList<CalendarEvent> all;
    for (const QString& id : fetch.calendars) {
        QList<Answer>& known = m_known[id];
        if (events.contains(id)) {
            known.removeIf([&](const Answer& answer) { return answer.span == fetch.span; });
            known.append({fetch.span, events.value(id)});
            if (known.size() > answersKept)
                known.removeFirst();
        }
        const auto answer = std::ranges::find(known, fetch.span, &Answer::span);
        if (answer != known.end())
            all += answer->events;
    }
    if (m_failed.isEmpty())
        m_retryDelay = m_times.retry;
    if (onEvents)
        onEvents(fetch.span, all);
    next();
}

void EvolutionCalendarStore::closeCalendar(const QString& id)
{
    if (m_calendars.contains(id))
        m_server.close(m_calendars.take(id).address);
}

void EvolutionCalendarStore::noteChange()
{
    if (!m_settle.isActive())
        m_settle.start();
}

/// What an owner had open is gone with it. A new one that we did not wake ourselves has news.
void EvolutionCalendarStore::ownerChanged(const QString& service, bool isRunning)
{
    m_failed.clear();
    for (const QString& id : m_calendars.keys()) {
        if (m_calendars.value(id).address.service == service)
            closeCalendar(id);
    }
    if (!isRunning)
        scheduleRetry();
    else if (!m_fetch)
        noteChange();
}

void EvolutionCalendarStore::fail(const QString& what)
{
    m_failed.insert(what);
    scheduleRetry();
}

void EvolutionCalendarStore::scheduleRetry()
{
    if (!m_retry.isActive())
        m_retry.start(m_retryDelay);
}

void EvolutionCalendarStore::tryAgain()
{
    m_retryDelay = std::min<std::chrono::milliseconds>(m_retryDelay * 2, longestRetry);
    m_failed.clear();
    noteChange();
}
