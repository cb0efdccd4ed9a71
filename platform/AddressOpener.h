#pragma once

#include <QUrl>

#include <functional>

/// Opens addresses, files and folders with the user's programs for them. Main thread only.
class AddressOpener {
public:
    virtual ~AddressOpener() = default;

    /// Opens `address` and says later, once, whether that worked as far as can be told in short
    /// time. Says nothing when this object goes first; what was opened stays.
    virtual void open(const QUrl& address, std::function<void(bool isOpen)> done) = 0;
};
