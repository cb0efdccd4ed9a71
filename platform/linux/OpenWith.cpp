#include "platform/linux/OpenWith.h"

#include "platform/Descriptor.h"

#include <QFile>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTimer>

#include <csignal>
#include <fcntl.h>
#include <optional>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

/// Starts `program` with one argument, away from our terminal, session and descriptors, so that
/// nothing that ends us ends what the user opened.
std::optional<pid_t> spawnDetached(const QByteArray& program, const QByteArray& argument)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);

    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);

    QByteArray name = program;
    QByteArray text = argument;
    char* const arguments[] = {name.data(), text.data(), nullptr};
    pid_t child = 0;
    const int error
        = ::posix_spawn(&child, program.constData(), &actions, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? std::optional(child) : std::nullopt;
}

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
    const QByteArray argument
        = address.isLocalFile() ? QFile::encodeName(address.toLocalFile()) : address.toEncoded();
    const QString program = QStandardPaths::findExecutable(m_program);
    if (!program.isEmpty()) {
        if (const auto child = spawnDetached(QFile::encodeName(program), argument)) {
            new WatchedChild(*child, m_patience, std::move(done), this);
            return;
        }
    }
    QTimer::singleShot(0, this, [done = std::move(done)] { done(false); });
}
