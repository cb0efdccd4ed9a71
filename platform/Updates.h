#pragma once

#include <QString>

#include <functional>

/// What the system knows about a newer version of this program.
struct UpdateCheck {
    enum class Result {
        upToDate,
        available,
        notFromPackage, // the system's packages do not include this copy of the program
        failed,
    };

    Result result = Result::failed;
    QString version; // the newer one, in the package's own spelling; only when `available`

    bool operator==(const UpdateCheck&) const = default;
};

/// The system's own service for keeping programs up to date. Main thread only.
class Updates {
public:
    virtual ~Updates() = default;

    /// Whether there is such a service on this system.
    [[nodiscard]] virtual bool canCheck() const = 0;

    /// Asks the service, which may take a minute. `done` is called once, later; not at all when
    /// this object goes first. A check that is asked for while another runs joins it.
    virtual void check(std::function<void(const UpdateCheck&)> done) = 0;
};
