#pragma once

#include <cerrno>
#include <string_view>
#include <utility>

#include <unistd.h>

/// Owns a file descriptor; a negative number stands for none.
class OwnedDescriptor {
public:
    explicit OwnedDescriptor(int number)
        : m_number(number)
    {
    }
    ~OwnedDescriptor() { close(); }
    OwnedDescriptor(const OwnedDescriptor&) = delete;
    OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;

    [[nodiscard]] int number() const { return m_number; }

    /// False when the system reports that something written is lost.
    bool close()
    {
        const int number = std::exchange(m_number, -1);
        return number < 0 || ::close(number) == 0;
    }

private:
    int m_number;
};

/// Writes `bytes` whole. False when the system takes no more.
inline bool writeAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}
