#include "usage/ServiceUsage.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

template<typename Condition>
QList<LimitWindow> filtered(const QList<LimitWindow>& windows, Condition condition)
{
    QList<LimitWindow> found;
    std::copy_if(windows.begin(), windows.end(), std::back_inserter(found), condition);
    return found;
}

} // namespace

bool LimitWindow::active(Date now) const
{
    return !reset || *reset > now;
}

bool LimitWindow::isWeekly() const
{
    return name == "Weekly"_L1;
}

std::optional<Date> ServiceUsage::observation(const LimitWindow& window) const
{
    return window.observed ? window.observed : observed;
}

bool ServiceUsage::isCurrent(const LimitWindow& window, Date now) const
{
    const std::optional<Date> measured = observation(window);
    return measured && window.active(now)
        && std::chrono::duration<double>(now - *measured).count() < freshnessSeconds;
}

bool ServiceUsage::isUnreset(const LimitWindow& window, Date now) const
{
    return window.reset ? window.active(now) : isCurrent(window, now);
}

QList<LimitWindow> ServiceUsage::current(Date now) const
{
    return filtered(windows, [&](const LimitWindow& window) { return isCurrent(window, now); });
}

std::optional<LimitWindow> ServiceUsage::lowest(Date now) const
{
    const QList<LimitWindow> candidates = current(now);
    const auto least = std::min_element(
        candidates.begin(), candidates.end(),
        [](const LimitWindow& a, const LimitWindow& b) { return a.remaining < b.remaining; });
    return least == candidates.end() ? std::nullopt : std::optional(*least);
}

QList<LimitWindow> ServiceUsage::unresetWindows(Date now) const
{
    return filtered(windows, [&](const LimitWindow& window) { return isUnreset(window, now); });
}
