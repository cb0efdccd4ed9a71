// What a month of 20,000 events takes: reading their text, in another thread, and making the record
// of the Today card, on the main thread.

#include "bench/Median.h"
#include "platform/linux/CalendarParser.h"
#include "today/CalendarSource.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr int eventCount = 20'000;
constexpr int textRounds = 5;
constexpr int recordRounds = 200;
constexpr Date june = std::chrono::sys_days(std::chrono::June / 1 / 2026);
constexpr Date july = std::chrono::sys_days(std::chrono::July / 1 / 2026);

/// Answers each fetch with the same events when it is told to.
class ReadyStore final : public CalendarStore {
public:
    explicit ReadyStore(QList<CalendarEvent> events)
        : m_events(std::move(events))
    {
    }
    [[nodiscard]] std::optional<int> status() const override { return CalendarAccess::full; }
    void requestAccess(std::function<void(bool)> completion) override { completion(true); }
    void fetch(const DateSpan& span) override { m_asked.append(span); }
    void close() override { }

    void answer()
    {
        for (const DateSpan& span : std::exchange(m_asked, {}))
            onEvents(span, m_events);
    }

private:
    QList<CalendarEvent> m_events;
    QList<DateSpan> m_asked;
};

QByteArray calendar()
{
    QByteArray text = "BEGIN:VCALENDAR\r\n";
    for (int i = 0; i < eventCount; ++i) {
        const QByteArray day = QByteArray::number(1 + i % 30).rightJustified(2, '0');
        const QByteArray hour = QByteArray::number(i % 23).rightJustified(2, '0');
        text += "BEGIN:VEVENT\r\nUID:" + QByteArray::number(i) + "\r\nSUMMARY:Meeting "
            + QByteArray::number(i) + "\r\nDTSTART;TZID=Europe/Berlin:202606" + day + "T" + hour
            + "0000\r\nDTEND;TZID=Europe/Berlin:202606" + day + "T" + hour
            + "3000\r\nDESCRIPTION:What it is about\r\nEND:VEVENT\r\n";
    }
    return text + "END:VCALENDAR\r\n";
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QByteArray text = calendar();
    Median reading;
    ParsedCalendar parsed;
    for (int round = 0; round < textRounds; ++round)
        reading.time([&] { parsed = parseCalendar(text, {june, july}); });

    ReadyStore store(parsed.events);
    CalendarSource source(store);
    const Date noon = june + std::chrono::hours(12);
    if (source.usage(noon, noon))
        return 1;
    store.answer();
    Median record;
    std::optional<ServiceUsage> usage;
    for (int round = 0; round < recordRounds; ++round)
        record.time([&] { usage = source.usage(noon, noon); });

    std::printf("| reading %lld events (%.1f MB) | %.0f ms |\n| their record (%lld in the agenda, "
                "%lld days) | %.3f ms |\n",
                (long long)parsed.events.size(), double(text.size()) / 1e6, reading.milliseconds(),
                (long long)usage->agenda.size(), (long long)usage->eventDays.size(),
                record.milliseconds());
}
