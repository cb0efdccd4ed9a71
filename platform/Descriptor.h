#pragma once

#include <unistd.h>
#include <utility>

/// Owns one file descriptor and closes it.
class Descriptor {
public:
    Descriptor() = default;
    /// A negative `value`, as the system's failed calls give it, is an empty one.
    explicit Descriptor(int value)
        : m_value(value)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : m_value(std::exchange(other.m_value, -1))
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Descriptor() { reset(); }

    [[nodiscard]] bool isOpen() const { return m_value >= 0; }
    [[nodiscard]] int value() const { return m_value; }

    void reset()
    {
        if (m_value >= 0)
            ::close(std::exchange(m_value, -1));
    }

private:
    int m_value = -1;
};
