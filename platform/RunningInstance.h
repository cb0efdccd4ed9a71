#pragma once

#include <functional>

/// What another start of the program, a keyboard shortcut or a script may ask of the running one.
struct InstanceActions {
    std::function<void()> toggle; // opens or closes the panel
    std::function<void()> show; // opens it
    std::function<void()> refresh;
    std::function<void()> quit;
};

/// The one running program of a session.
class RunningInstance {
public:
    enum class Claim {
        first, // this is the one now
        taken, // another one runs
        impossible, // the session has no means to tell
    };
    enum class Request { toggle, quit };

    virtual ~RunningInstance() = default;

    /// Becomes the running program, unless there is one, and answers requests with `actions` from
    /// then on.
    virtual Claim claim(const InstanceActions& actions) = 0;

    /// Asks the running program. False when there is none or it does not answer.
    virtual bool send(Request request) = 0;
};
