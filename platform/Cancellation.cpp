#include "platform/Cancellation.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>

Cancellation::Cancellation()
{
    int ends[2] = {-1, -1};
    // Without a pipe, which takes a process that is out of descriptors, nothing can be cancelled;
    // `poll` passes over the negative descriptor.
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0) {
        m_readEnd = Descriptor(ends[0]);
        m_writeEnd = Descriptor(ends[1]);
    }
}

void Cancellation::cancel() const
{
    const int before = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = ::write(m_writeEnd.value(), &byte, 1);
    errno = before;
}

bool Cancellation::isCancelled() const
{
    pollfd wait{.fd = m_readEnd.value(), .events = POLLIN, .revents = 0};
    return ::poll(&wait, 1, 0) > 0;
}
