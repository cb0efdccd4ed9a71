#pragma once

#include "platform/Cancellation.h"

#include <QObject>
#include <QThreadPool>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>

/// Runs work beside the main thread and hands its results back through the event loop.
///
/// To be made, used and destroyed on the main thread; only the work itself runs elsewhere, on copies
/// of what it needs. With one thread, work is done and answered in the order in which it was given.
class Worker {
public:
    /// A thread that has had nothing to do for `rest` ends.
    explicit Worker(int mostThreads = 1, std::chrono::milliseconds rest = std::chrono::seconds(10));
    /// Cancels, forgets what has not begun, and waits for what has. Nothing is answered any more.
    ~Worker();
    Q_DISABLE_COPY_MOVE(Worker)

    /// Calls `work`, which must not throw, on a thread of the pool and `then` with its result on the
    /// main thread: unless `context` or this is gone by then, or `forget` was called meanwhile.
    template<typename Work, typename Then> void run(Work work, QObject* context, Then then)
    {
        using Result = std::invoke_result_t<Work&>;
        start(
            [work = std::move(work), then = std::move(then)]() mutable -> std::function<void()> {
                if constexpr (std::is_void_v<Result>) {
                    work();
                    return [then = std::move(then)]() mutable { then(); };
                } else {
                    auto result = std::make_shared<Result>(work());
                    return [then = std::move(then), result]() mutable { then(std::move(*result)); };
                }
            },
            context);
    }

    /// The same for an owner of this, which is there as long as this is.
    template<typename Work, typename Then> void run(Work work, Then then)
    {
        run(std::move(work), &m_relay, std::move(then));
    }

    /// Calls `work` on a thread of the pool; nobody waits for it.
    void run(std::function<void()> work);

    /// Takes back what has not begun, and answers nothing of what was given until now.
    void forget();

    /// What work that waits for others should look at.
    [[nodiscard]] const Cancellation& cancellation();
    /// Lets go of everything that waits, once and for good.
    void cancel();

private:
    void start(std::function<std::function<void()>()> work, QObject* context);

    QObject m_relay; // on the main thread; what is sent to it is lost with it
    quint64 m_era = 0; // answers to an earlier one are dropped
    std::optional<Cancellation> m_cancellation; // holds descriptors, so made when asked for
    QThreadPool m_pool;
};
