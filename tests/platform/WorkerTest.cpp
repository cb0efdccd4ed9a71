#include "platform/Worker.h"

#include <QSemaphore>
#include <QTest>
#include <QThread>

#include <atomic>
#include <poll.h>

using namespace Qt::StringLiterals;

namespace {

/// Lets what was sent to the main thread arrive: the answer to this is sent last.
void deliver(Worker& worker)
{
    QObject context;
    bool isDone = false;
    worker.run([] {}, &context, [&] { isDone = true; });
    QTRY_VERIFY(isDone);
}

} // namespace

class WorkerTest : public QObject {
    Q_OBJECT

private slots:
    void answersOnTheMainThreadInOrder()
    {
        Worker worker;
        QList<int> answers;
        QThread* workThread = nullptr;
        QThread* answerThread = nullptr;
        worker.run([&] { workThread = QThread::currentThread(); }, this,
                   [&] { answerThread = QThread::currentThread(); });
        for (int i = 0; i < 20; ++i)
            worker.run([i] { return std::make_unique<int>(i); }, this,
                       [&answers](std::unique_ptr<int> answer) { answers.append(*answer); });
        QTRY_COMPARE(answers.size(), 20);
        for (int i = 0; i < 20; ++i)
            QCOMPARE(answers[i], i);
        QVERIFY(workThread && workThread != QThread::currentThread());
        QCOMPARE(answerThread, QThread::currentThread());
    }

    void nothingIsAnsweredOnceItIsNotWanted_data()
    {
        QTest::addColumn<bool>("forgets");
        QTest::newRow("forgotten") << true;
        QTest::newRow("whose context is gone") << false;
    }

    void nothingIsAnsweredOnceItIsNotWanted()
    {
        QFETCH(bool, forgets);
        Worker worker;
        QSemaphore mayEnd;
        std::atomic_int begun = 0;
        int answered = 0;
        auto context = std::make_unique<QObject>();
        const auto work = [&] {
            ++begun;
            mayEnd.acquire();
        };
        worker.run(work, context.get(), [&] { ++answered; });
        worker.run(work, context.get(), [&] { ++answered; });
        QTRY_COMPARE(begun.load(), 1);
        if (forgets)
            worker.forget();
        else
            context.reset();
        mayEnd.release(2);
        deliver(worker);
        QCOMPARE(answered, 0);
        QCOMPARE(begun.load(), forgets ? 1 : 2); // what had not begun does not begin
    }

    void itsEndWaitsForWhatHasBegun()
    {
        auto worker = std::make_unique<Worker>();
        QSemaphore hasBegun;
        std::atomic_bool isOver = false;
        bool isAnswered = false;
        worker->run(
            [&, &cancellation = worker->cancellation()] {
                hasBegun.release();
                pollfd wait{.fd = cancellation.descriptor(), .events = POLLIN, .revents = 0};
                ::poll(&wait, 1, -1); // for ever, but for the cancellation
                isOver = true;
            },
            this, [&] { isAnswered = true; });
        hasBegun.acquire();
        worker.reset();
        QVERIFY(isOver);
        Worker other;
        deliver(other);
        QVERIFY(!isAnswered);
    }
};

QTEST_GUILESS_MAIN(WorkerTest)
#include "WorkerTest.moc"
