#include "platform/linux/OpenWith.h"

#include "platform/Descriptor.h"
#include "platform/StartedProgram.h"

#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTimer>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

/// A child that is looked after until it ends, but judged before that when it takes its time.
class WatchedChild : public QObject {
public:
    WatchedChild(pid_t process, std::chrono::milliseconds patience,
                 std::function<void(bool)> judged, QObject* parent)
        : QObject(parent)
        , m_process(process)
        , m_end(int(::syscall(SYS_pidfd_open, process, 0)))
        , m_notifier(m_end.value(), QSocketNotifier::Read)
        , m_judged(std::move(judged))
    {
        connect(&m_notifier, &QSocketNotifier::activated, this, &WatchedChild::reap);
        QTimer::singleShot(patience, this, [this] { judge(true); });
    }

private:
    void reap()
    {
        m_notifier.setEnabled(false);
        int status = 0;
        ::waitpid(m_process, &status, 0);
        judge(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        deleteLater();
    }

    void judge(bool isGood)
    {
        if (const auto judged = std::exchange(m_judged, nullptr))
            judged(isGood);
    }

    pid_t m_process;
    Descriptor m_end; // becomes readable when the child has ended
    QSocketNotifier m_notifier;
    std::function<void(bool)> m_judged;
};

} // namespace

OpenWith::OpenWith(QString program, std::chrono::milliseconds patience)
    : m_program(std::move(program))
    , m_patience(patience)
{
}

void OpenWith::open(const QUrl& address, std::function<void(bool isOpen)> done)
{
    const QString argument
        = address.isLocalFile() ? address.toLocalFile() : QString::fromLatin1(address.toEncoded());
    const QString program = QStandardPaths::findExecutable(m_program);
    if (!program.isEmpty()) {
        const StartedProgram started = startProgram({.program = program, .arguments = {argument}},
                                                    StartedProgram::Ties::ownSession);
        if (started.processId != 0) {
            new WatchedChild(started.processId, m_patience, std::move(done), this);
            return;
        }
    }
    QTimer::singleShot(0, this, [done = std::move(done)] { done(false); });
}
