#include "platform/StartedProgram.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>
#include <vector>

namespace {

/// Texts in the form that the system's calls take: pointers that end with a null.
class TextVector {
public:
    explicit TextVector(const QStringList& texts)
    {
        for (const QString& text : texts)
            m_bytes.push_back(QFile::encodeName(text));
        for (QByteArray& bytes : m_bytes)
            m_pointers.push_back(bytes.data());
        m_pointers.push_back(nullptr);
    }
    [[nodiscard]] char** data() { return m_pointers.data(); }

private:
    std::vector<QByteArray> m_bytes;
    std::vector<char*> m_pointers;
};

/// What the child finds open: the three standard descriptors and nothing else.
class FileActions {
public:
    FileActions(int input, int output)
    {
        posix_spawn_file_actions_init(&m_actions);
        connectTo(STDIN_FILENO, input, O_RDONLY);
        connectTo(STDOUT_FILENO, output, O_WRONLY);
        connectTo(STDERR_FILENO, StartedProgram::nowhere, O_WRONLY);
        posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
    }
    ~FileActions() { posix_spawn_file_actions_destroy(&m_actions); }
    Q_DISABLE_COPY_MOVE(FileActions)

    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    void connectTo(int descriptor, int ours, int mode)
    {
        if (ours == StartedProgram::nowhere)
            posix_spawn_file_actions_addopen(&m_actions, descriptor, "/dev/null", mode, 0);
        else
            posix_spawn_file_actions_adddup2(&m_actions, ours, descriptor);
    }

    posix_spawn_file_actions_t m_actions{};
};

/// Our own handling of signals is none of the child's business.
class Attributes {
public:
    explicit Attributes(StartedProgram::Ties ties)
    {
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_init(&m_attributes);
        const int group
            = ties == StartedProgram::Ties::ownGroup ? POSIX_SPAWN_SETPGROUP : POSIX_SPAWN_SETSID;
        posix_spawnattr_setflags(&m_attributes,
                                 short(group | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
        posix_spawnattr_setpgroup(&m_attributes, 0);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
    }
    ~Attributes() { posix_spawnattr_destroy(&m_attributes); }
    Q_DISABLE_COPY_MOVE(Attributes)

    [[nodiscard]] const posix_spawnattr_t* get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
};

} // namespace

StartedProgram startProgram(const ProgramCommand& command, StartedProgram::Ties ties, int input,
                            int output)
{
    const FileActions actions(input, output);
    const Attributes attributes(ties);
    TextVector arguments(QStringList(command.program) + command.arguments);
    TextVector environment(command.environment.toStringList());
    StartedProgram started;
    started.error
        = ::posix_spawn(&started.processId, QFile::encodeName(command.program).constData(),
                        actions.get(), attributes.get(), arguments.data(), environment.data());
    if (started.error != 0)
        started.processId = 0;
    return started;
}
