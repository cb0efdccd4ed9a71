#pragma once

#include <csignal>

/// Makes a signal do nothing while it lives. What stood for it before comes back, as the status
/// line that may follow shall find it.
class IgnoredSignal {
public:
    explicit IgnoredSignal(int number)
        : m_number(number)
        , m_before(std::signal(number, SIG_IGN))
    {
    }
    ~IgnoredSignal()
    {
        if (m_before != SIG_ERR)
            std::signal(m_number, m_before);
    }
    IgnoredSignal(const IgnoredSignal&) = delete;
    IgnoredSignal& operator=(const IgnoredSignal&) = delete;

private:
    int m_number;
    void (*m_before)(int);
};
