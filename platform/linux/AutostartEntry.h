#pragma once

#include "platform/LoginItem.h"

#include <QByteArray>
#include <QCoreApplication>

/// The login item as a desktop entry among those that the desktop starts by itself.
class AutostartEntry final : public LoginItem {
    Q_DECLARE_TR_FUNCTIONS(AutostartEntry)

public:
    /// The entry lies in `autostart` below `configFolder`; neither need exist. `program` is the
    /// absolute path of the program to start.
    explicit AutostartEntry(const QString& configFolder = userConfigFolder(),
                            QString program = QCoreApplication::applicationFilePath());

    [[nodiscard]] Status status() const override;
    std::optional<QString> enable() override;
    std::optional<QString> disable() override;
    void mend() override;

    [[nodiscard]] const QString& file() const { return m_file; }

private:
    [[nodiscard]] static QString userConfigFolder();
    [[nodiscard]] QByteArray contents() const;

    QString m_file;
    QString m_program;
};
