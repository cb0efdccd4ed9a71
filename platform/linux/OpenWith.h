#pragma once

#include "platform/AddressOpener.h"

#include <QObject>
#include <QString>

#include <chrono>

/// Opens addresses with `xdg-open`, which finds the desktop's own way.
///
/// It may run as long as the program that it starts, and outlives this one. It has failed when it
/// ends with an error within `patience`.
class OpenWith final : public QObject, public AddressOpener {
    Q_OBJECT

public:
    /// `program` is a path, or a name to look for in the search path.
    explicit OpenWith(QString program = QStringLiteral("xdg-open"),
                      std::chrono::milliseconds patience = std::chrono::seconds(2));

    void open(const QUrl& address, std::function<void(bool isOpen)> done) override;

private:
    QString m_program;
    std::chrono::milliseconds m_patience;
};
