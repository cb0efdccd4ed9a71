#include "platform/Worker.h"

#include <QPointer>

Worker::Worker(int mostThreads, std::chrono::milliseconds rest)
{
    m_pool.setMaxThreadCount(mostThreads);
    m_pool.setExpiryTimeout(int(rest.count()));
}

Worker::~Worker()
{
    cancel();
    forget();
    m_pool.waitForDone();
}

void Worker::run(std::function<void()> work)
{
    m_pool.start(std::move(work));
}

void Worker::forget()
{
    ++m_era;
    m_pool.clear();
}

const Cancellation& Worker::cancellation()
{
    if (!m_cancellation)
        m_cancellation.emplace();
    return *m_cancellation;
}

void Worker::cancel()
{
    if (m_cancellation)
        m_cancellation->cancel();
}

void Worker::start(std::function<std::function<void()>()> work, QObject* context)
{
    // The pointer to the context is copied on the way and looked into on the main thread alone.
    m_pool.start([this, work = std::move(work), context = QPointer(context), era = m_era] {
        std::function<void()> answer = work();
        QMetaObject::invokeMethod(
            &m_relay,
            [this, context, era, answer = std::move(answer)] {
                if (context && era == m_era)
                    answer();
            },
            Qt::QueuedConnection);
    });
}
