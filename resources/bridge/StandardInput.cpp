#include "resources/bridge/StandardInput.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>
#include <unistd.h>

namespace {

constexpr std::size_t chunkSize = 64 * 1024; // bytes; what a pipe holds

/// Whether there is something to read, or the end, before `deadline`.
bool isReadable(int descriptor, std::chrono::steady_clock::time_point deadline)
{
    using namespace std::chrono;
    pollfd waiting = {.fd = descriptor, .events = POLLIN, .revents = 0};
    for (;;) {
        const auto left = ceil<milliseconds>(deadline - steady_clock::now());
        if (left.count() <= 0)
            return false;
        const int ready = poll(&waiting, 1, static_cast<int>(left.count()));
        if (ready >= 0 || errno != EINTR)
            return ready > 0;
    }
}

} // namespace

Input readInput(int descriptor, std::chrono::steady_clock::time_point deadline,
                std::size_t byteLimit)
{
    Input input;
    std::string& bytes = input.bytes;
    while (!input.hasEnded && bytes.size() < byteLimit && isReadable(descriptor, deadline)) {
        const std::size_t before = bytes.size();
        bytes.resize(std::min(before + chunkSize, byteLimit));
        const ssize_t count = read(descriptor, bytes.data() + before, bytes.size() - before);
        bytes.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        input.hasEnded = count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN);
    }
    return input;
}
