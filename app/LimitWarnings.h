#pragma once

#include "usage/ServiceUsage.h"

#include <QCoreApplication>
#include <QHash>
#include <QImage>
#include <QStringList>

#include <chrono>
#include <functional>

class Notifier;
class PreferenceStore;

/// Tells the user when the tightest limit of a service runs low: once in each period of that limit.
///
/// The preferences hold one marker for each service, limit and period, set before anything is
/// shown, so that a notice that nobody could see is not tried again. Main thread only.
class LimitWarnings {
    Q_DECLARE_TR_FUNCTIONS(LimitWarnings)

public:
    static constexpr double threshold = 10; // percent left; belongs to the warned
    /// Two reset times no farther apart are one: sources that reckon with "in so many seconds" give
    /// the same reset a little differently every time.
    static constexpr std::chrono::seconds resetDrift{60};

    LimitWarnings(PreferenceStore& preferences, Notifier& notifier);

    /// Looks at the services with `visibleIDs`, as far as `usageByID` has them, in that order.
    void checkWarnings(const QStringList& visibleIDs, const QHash<QString, ServiceUsage>& usageByID,
                       Date now = currentDate());

    /// Gives the picture beside the notice of the service with this id; may be left empty.
    std::function<QImage(const QString& id)> picture;

private:
    [[nodiscard]] bool isNewPeriod(const QString& limit, std::chrono::seconds reset);
    void warn(const ServiceUsage& usage, const LimitWindow& window);

    PreferenceStore& m_preferences;
    Notifier& m_notifier;
    QHash<QString, std::chrono::seconds> m_lastResets; // of warned limits, by their markers' start
};
