#pragma once

#include "platform/CalendarStore.h"

#include <QStringList>

#include <memory>
#include <vector>

/// All calendars of the desktop: those of Evolution Data Server and those in .ics files, as one
/// store. Status 3 when one of the two has that.
class DesktopCalendarStore final : public CalendarStore {
public:
    /// The .ics files are those below `folders`.
    explicit DesktopCalendarStore(const QStringList& folders);
    ~DesktopCalendarStore() override;

    [[nodiscard]] std::optional<int> status() const override;
    void requestAccess(std::function<void(bool)> completion) override;
    void fetch(const DateSpan& span) override;
    void close() override;

private:
    struct Request;
    void add(std::unique_ptr<CalendarStore> store);
    void take(size_t index, const DateSpan& span, const QList<CalendarEvent>& events);

    std::vector<std::unique_ptr<CalendarStore>> m_stores;
    std::vector<Request> m_requests; // in the order of asking
};
