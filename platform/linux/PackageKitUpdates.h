#pragma once

#include "platform/Updates.h"

#include <QCoreApplication>
#include <QDBusConnection>

#include <chrono>
#include <memory>
#include <vector>

/// Updates as PackageKit knows them, which stands before the distribution's package manager.
///
/// Asks which package the running program came with, and then whether that package has an update.
/// Nothing is downloaded or installed.
class PackageKitUpdates final : public Updates {
public:
    struct Options {
        /// Called when the bus is first needed: the system's bus is no business of most runs.
        std::function<QDBusConnection()> bus = &QDBusConnection::systemBus;
        QString program = QCoreApplication::applicationFilePath();
        std::chrono::milliseconds timeLimit = std::chrono::minutes(2); // for the whole check
    };

    explicit PackageKitUpdates(Options options);
    ~PackageKitUpdates() override;

    [[nodiscard]] bool canCheck() const override;
    void check(std::function<void(const UpdateCheck&)> done) override;

private:
    class Check;

    void finish(const UpdateCheck& outcome);

    Options m_options;
    std::unique_ptr<Check> m_check; // absent while none runs
    std::vector<std::function<void(const UpdateCheck&)>> m_waiting;
};
