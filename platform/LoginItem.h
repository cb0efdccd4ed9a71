#pragma once

#include <QString>

#include <optional>

/// Whether the desktop starts the program when the user signs in.
class LoginItem {
public:
    enum class Status {
        disabled,
        enabled,
        pendingApproval, // the user has switched it off with the desktop's own means
    };

    virtual ~LoginItem() = default;

    [[nodiscard]] virtual Status status() const = 0;

    /// Asks to be started at login; an entry that waits for approval goes on waiting. Gives what
    /// went wrong, as a text for the user, or nothing.
    virtual std::optional<QString> enable() = 0;

    /// Asks not to be started any more. Gives what went wrong, or nothing.
    virtual std::optional<QString> disable() = 0;

    /// Points the entry, if there is one, to this program when the one it names has gone. For the
    /// program's start; failures stay silent.
    virtual void mend() = 0;
};
