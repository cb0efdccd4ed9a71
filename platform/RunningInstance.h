#pragma once

#include <QString>

#include <functional>
#include <optional>

/// What another start of the program, a keyboard shortcut or a script may ask of the running one.
struct InstanceActions {
    std::function<void()> toggle; // opens or closes the panel
    std::function<void()> show; // opens it
    std::function<void()> refresh;
    std::function<void()> quit;
    std::function<void(const QString& tab)> showTab; // opens the panel on a tab
    std::function<void(const QString& pane)> settings;
    std::function<bool(const QString& text)> addTask;
};

/// The one running program of a session.
class RunningInstance {
public:
    enum class Claim {
        first, // this is the one now
        taken, // another one runs
        impossible, // the session has no means to tell
    };
    enum class Request { toggle, quit, settings, addTask };

    virtual ~RunningInstance() = default;

    /// Becomes the running program, unless there is one, and answers requests with `actions` from
    /// then on.
    virtual Claim claim(const InstanceActions& actions) = 0;

    /// Asks the running program; `argument` is the pane or the task. Absent when there is none or
    /// it does not answer, else whether it did as asked.
    virtual std::optional<bool> send(Request request, const QString& argument = {}) = 0;
};
