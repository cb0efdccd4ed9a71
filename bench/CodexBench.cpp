// How much time our Codex client adds to the server's: the same exchange through the client and
// through the barest code that can hold it, in turns.

#include "bench/Median.h"
#include "usage/CodexSnapshot.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

extern char** environ;

namespace {

/// Reads until a line that holds `mark` has come.
void readReply(int from, const char* mark)
{
    std::string text;
    char buffer[65536];
    while (text.find(mark) == std::string::npos || text.back() != '\n') {
        const ssize_t count = ::read(from, buffer, sizeof buffer);
        if (count <= 0)
            return;
        text.append(buffer, size_t(count));
    }
}

void say(int to, const char* line)
{
    if (::write(to, line, std::char_traits<char>::length(line)) < 0)
        std::perror("write");
}

void bareExchange(const QString& program)
{
    int input[2];
    int output[2];
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0)
        return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const QByteArray path = QFile::encodeName(program);
    char name[] = "codex";
    char argument[] = "app-server";
    char* arguments[] = {name, argument, nullptr};
    pid_t child = 0;
    if (::posix_spawn(&child, path.constData(), &actions, nullptr, arguments, environ) != 0)
        return;
    posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    say(input[1],
        R"({"id":1,"method":"initialize","params":{"clientInfo":{"name":"Vexlo","version":"0"}}})"
        "\n");
    readReply(output[0], "\"id\":1");
    say(input[1],
        "{\"method\":\"initialized\",\"params\":{}}\n"
        "{\"id\":2,\"method\":\"account/rateLimits/read\",\"params\":{}}\n");
    readReply(output[0], "\"id\":2");
    ::close(input[1]);
    ::waitpid(child, nullptr, 0);
    ::close(output[0]);
}

void compare(const char* name, const QString& folder, int rounds)
{
    if (!QFileInfo::exists(folder + u"/codex"_s)) {
        std::printf("| %s | not installed | | |\n", name);
        return;
    }
    qputenv("PATH", QFile::encodeName(folder) + ':' + qgetenv("PATH"));
    const QTemporaryDir home;
    qputenv("CODEX_HOME", QFile::encodeName(home.path()));
    Median bare;
    Median client;
    bareExchange(folder + u"/codex"_s); // it sets up its home the first time
    for (int round = 0; round < rounds; ++round) {
        bare.time([&] { bareExchange(folder + u"/codex"_s); });
        client.time([&] {
            [[maybe_unused]] const QByteArray data
                = CodexSnapshot::read(CodexSnapshot::defaultTimeout, home.path());
        });
    }
    const double difference = client.milliseconds() - bare.milliseconds();
    std::printf("| %s | %.2f | %.2f | %.2f |\n", name, bare.milliseconds(), client.milliseconds(),
                difference);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    std::puts("| server | bare exchange, ms | our client, ms | difference |\n|---|---|---|---|");
    compare("answers at once", QStringLiteral(VEXLO_INSTANT_SERVER), 200);
    compare("Codex, logged out", QStringLiteral(VEXLO_OUTSIDE_PROGRAMS "/codex/node_modules/.bin"),
            20);
}
