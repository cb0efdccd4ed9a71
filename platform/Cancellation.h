#pragma once

#include "platform/Descriptor.h"

/// Ends waits in other threads early, once and for good.
class Cancellation {
public:
    Cancellation();

    /// From any thread, and from a signal handler.
    void cancel() const;
    [[nodiscard]] bool isCancelled() const;

    /// Becomes readable when cancelled, for use with `poll`; nothing is to be read from it.
    [[nodiscard]] int descriptor() const { return m_readEnd.value(); }

private:
    Descriptor m_readEnd;
    Descriptor m_writeEnd;
};
