// What one run of the status line costs: start to exit of the bridge, of the smallest program there
// is, and of two scripts that do the same as the bridge. Then how long the bridge takes at most
// when its input or its folder is at its worst. Prints two Markdown tables.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;
using Command = std::vector<std::string>;

constexpr int runCount = 200;
constexpr int worstCaseRuns = 5;
constexpr int otherSessions = 5; // known to the snapshot beside the one that is timed

/// What Claude Code sends, about 1.5 KB, with figures that differ from run to run.
std::string statusLineInput(const std::string& session, int run)
{
    const std::string folder = R"("/home/ada/code/a-project-with-a-name-of-usual-length)";
    const auto resetsAt = std::to_string(std::time(nullptr) + 9000);
    return R"({"session_id":")" + session + R"(","transcript_path":)" + folder + '/'
        + std::string(300, 't') + R"(.jsonl","cwd":)" + folder + R"(","prompt_id":"5d0c7c3a-2222",)"
        + R"("model":{"id":"claude-example-1","display_name":"Example 1"},"workspace":{)"
        + R"("current_dir":)" + folder + R"(","project_dir":)" + folder + R"(","added_dirs":[)"
        + folder + R"("]},"version":"2.1.330","output_style":{"name":"default"},)"
        + R"("cost":{"total_cost_usd":0.12,"total_duration_ms":91000,"total_api_duration_ms":)"
        + std::to_string(run) + R"(,"total_lines_added":10,"total_lines_removed":2},)"
        + R"("context_window":{"total_input_tokens":9000,"total_output_tokens":700,)"
        + R"("context_window_size":200000,"current_usage":null,"used_percentage":null,)"
        + R"("remaining_percentage":null},"exceeds_200k_tokens":false,"fast_mode":false,)"
        + R"("thinking":{"enabled":true},"vim":{"mode":"NORMAL"},"padding":")"
        + std::string(150, 'p') + R"(","rate_limits":{"five_hour":{"used_percentage":)"
        + std::to_string(run / 10) + '.' + std::to_string(run % 10) + R"(,"resets_at":)" + resetsAt
        + R"(},"seven_day":{"used_percentage":41,"resets_at":)" + resetsAt + "}}}\n";
}

int memoryFile(const std::string& bytes)
{
    const int file = memfd_create("input", MFD_CLOEXEC);
    if (write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        std::perror("input");
    lseek(file, 0, SEEK_SET);
    return file;
}

/// Start to exit of `command` with `input`, which is closed, as standard input. Ends the program
/// when the command fails: its time would mean nothing.
Milliseconds timed(const Command& command, int input)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    pid_t child = -1;
    int status = -1;
    const auto start = std::chrono::steady_clock::now();
    if (posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0)
        waitpid(child, &status, 0);
    const auto end = std::chrono::steady_clock::now();
    posix_spawn_file_actions_destroy(&actions);
    close(input);
    if (status != 0) {
        std::fprintf(stderr, "%s failed\n", arguments[0]);
        std::exit(1);
    }
    return end - start;
}

/// A new folder with the bridge in it, removed at the end.
class SupportFolder {
public:
    SupportFolder()
    {
        std::string name = std::filesystem::temp_directory_path() / "vexlo-bench-XXXXXX";
        m_path = mkdtemp(name.data());
        std::filesystem::copy_file(VEXLO_BRIDGE, bridge());
    }
    ~SupportFolder() { std::filesystem::remove_all(m_path); }
    SupportFolder(const SupportFolder&) = delete;
    SupportFolder& operator=(const SupportFolder&) = delete;

    [[nodiscard]] std::string path() const { return m_path; }
    [[nodiscard]] std::string bridge() const { return m_path + "/vexlo-claude-bridge"; }

private:
    std::string m_path;
};

struct Candidate {
    std::string name;
    Command command;
    std::vector<Milliseconds> times = {};
};

void compareStarts()
{
    const std::array<SupportFolder, 3> folders;
    const std::string sources = VEXLO_BENCH_SOURCE;
    std::vector<Candidate> candidates{
        {"`/bin/true`", {"/bin/true"}},
        {"bridge", {folders[0].bridge()}},
        {"shell and jq", {"/bin/sh", sources + "/peer.sh", folders[1].path()}},
        {"Python 3", {"/usr/bin/python3", sources + "/peer.py", folders[2].path()}},
    };
    for (const Candidate& candidate : candidates) {
        for (int other = 0; other < otherSessions; ++other)
            timed(candidate.command,
                  memoryFile(statusLineInput("other " + std::to_string(other), 0)));
    }
    for (int run = 1; run <= runCount; ++run) {
        for (Candidate& candidate : candidates)
            candidate.times.push_back(
                timed(candidate.command, memoryFile(statusLineInput("timed", run))));
    }

    std::printf("| start to exit, %d runs | median, ms | 95 %% below, ms |\n|---|---|---|\n",
                runCount);
    for (Candidate& candidate : candidates) {
        std::sort(candidate.times.begin(), candidate.times.end());
        std::printf("| %s | %.2f | %.2f |\n", candidate.name.c_str(),
                    candidate.times[runCount / 2].count(),
                    candidate.times[runCount * 95 / 100].count());
    }
}

void worstCase(const char* name, const std::string& bridge, const std::function<int()>& input)
{
    Milliseconds longest{};
    for (int run = 0; run < worstCaseRuns; ++run)
        longest = std::max(longest, timed({bridge}, input()));
    std::printf("| %s | %.1f |\n", name, longest.count());
}

void timeWorstCases()
{
    constexpr std::size_t mebibyte = 1024 * 1024;
    const SupportFolder folder;
    std::printf("\n| bridge, longest of %d | ms |\n|---|---|\n", worstCaseRuns);
    worstCase("empty input", folder.bridge(), [] { return memoryFile({}); });
    worstCase("1 MiB of small arrays", folder.bridge(), [] {
        std::string input = R"({"a":[)";
        while (input.size() < mebibyte - 8)
            input += "[],";
        return memoryFile(input + "0]}");
    });
    worstCase("10 MiB", folder.bridge(),
              [] { return memoryFile(std::string(10 * mebibyte, ' ')); });
    worstCase("nested 100,000 deep", folder.bridge(),
              [] { return memoryFile(R"({"a":)" + std::string(100'000, '[')); });
    worstCase("endless input", folder.bridge(), [] { return open("/dev/zero", O_RDONLY); });

    std::array<int, 2> silent;
    if (pipe2(silent.data(), O_CLOEXEC) != 0)
        return;
    worstCase("silent input", folder.bridge(), [&] { return dup(silent[0]); });
    const int lock = open(folder.path().c_str(), O_RDONLY | O_CLOEXEC);
    flock(lock, LOCK_EX);
    worstCase("folder locked", folder.bridge(),
              [] { return memoryFile(statusLineInput("timed", 1)); });
    worstCase("folder locked, input never ends", folder.bridge(), [&] {
        const std::string input = statusLineInput("timed", 1);
        if (write(silent[1], input.data(), input.size()) < 0)
            std::perror("input");
        return dup(silent[0]);
    });
    flock(lock, LOCK_UN);
    std::ofstream large(folder.path() + "/claude-usage.json");
    large << R"({"rate_limits":{},"a":[0)";
    for (std::size_t i = 0; i < 2 * mebibyte - 100; ++i)
        large << ",0";
    large << "]}";
    large.close();
    worstCase("4 MiB stored", folder.bridge(),
              [run = 0]() mutable { return memoryFile(statusLineInput("timed", ++run)); });
}

} // namespace

int main()
{
    compareStarts();
    timeWorstCases();
}
