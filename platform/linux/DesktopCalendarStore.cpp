#include "platform/linux/DesktopCalendarStore.h"

#include "platform/linux/EvolutionCalendarStore.h"
#include "platform/linux/IcsCalendarStore.h"

#include <algorithm>

/// What the stores have answered so far, in their order.
struct DesktopCalendarStore::Request {
    DateSpan span;
    std::vector<std::optional<QList<CalendarEvent>>> answers;
};

DesktopCalendarStore::DesktopCalendarStore(const QStringList& folders)
{
    add(std::make_unique<EvolutionCalendarStore>());
    add(std::make_unique<IcsCalendarStore>(folders));
}

DesktopCalendarStore::~DesktopCalendarStore() = default;

void DesktopCalendarStore::add(std::unique_ptr<CalendarStore> store)
{
    store->onChange = [this] {
        if (onChange)
            onChange();
    };
    store->onEvents = [this, index = m_stores.size()](const DateSpan& span,
                                                      const QList<CalendarEvent>& events) {
        take(index, span, events);
    };
    m_stores.push_back(std::move(store));
}

std::optional<int> DesktopCalendarStore::status() const
{
    std::optional<int> status = CalendarAccess::denied;
    for (const auto& store : m_stores) {
        if (store->status() == CalendarAccess::full)
            return CalendarAccess::full;
        if (!store->status())
            status.reset();
    }
    return status;
}

void DesktopCalendarStore::requestAccess(std::function<void(bool)> completion)
{
    const auto left = std::make_shared<size_t>(m_stores.size());
    for (const auto& store : m_stores) {
        store->requestAccess([this, left, completion](bool) {
            if (--*left == 0)
                completion(status() == CalendarAccess::full);
        });
    }
}

void DesktopCalendarStore::fetch(const DateSpan& span)
{
    m_requests.push_back({span, std::vector<std::optional<QList<CalendarEvent>>>(m_stores.size())});
    for (const auto& store : m_stores)
        store->fetch(span);
}

void DesktopCalendarStore::close()
{
    m_requests.clear();
    for (const auto& store : m_stores)
        store->close();
}

void DesktopCalendarStore::take(size_t index, const DateSpan& span,
                                const QList<CalendarEvent>& events)
{
    const auto request = std::ranges::find_if(m_requests, [&](const Request& open) {
        return open.span == span && !open.answers.at(index);
    });
    if (request == m_requests.end())
        return;
    request->answers.at(index) = events;
    if (!std::ranges::all_of(request->answers,
                             [](const auto& answer) { return answer.has_value(); }))
        return;
    QList<CalendarEvent> all;
    for (const auto& answer : request->answers)
        all += *answer;
    m_requests.erase(request);
    if (onEvents)
        onEvents(span, all);
}
