#pragma once

class Cancellation;

/// While it lives, a signal that asks the program to quit cancels what it is doing instead, so that
/// children which are in groups of their own are ended too. One at a time.
class QuitSignals {
public:
    explicit QuitSignals(const Cancellation& cancellation);
    ~QuitSignals();
    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;

    /// The signal that came, 0 for none.
    [[nodiscard]] int received() const;
};
