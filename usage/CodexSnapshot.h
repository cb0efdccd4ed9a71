#pragma once

#include "platform/Cancellation.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <array>
#include <chrono>
#include <optional>

/// Asks the Codex command-line tool for the account's limits.
///
/// Codex tells them only through its "app-server": newline-delimited JSON-RPC over the standard
/// input and output of a short-lived child.
class CodexSnapshot {
public:
    static constexpr std::chrono::seconds defaultTimeout{10};
    /// The limits that are copied from an answer, by the names that Codex gives them.
    static constexpr std::array<QLatin1StringView, 2> windowKeys{QLatin1StringView("primary"),
                                                                 QLatin1StringView("secondary")};
    /// The snapshot's name in the support folder.
    static const QString fileName;

    /// Starts the app server, asks it and ends it. Blocks for at most `timeout` and 1 s more; no
    /// process that it started is left. From any thread.
    ///
    /// Gives the bytes of a JSON object: the snapshot ("observed_at", "windows", "allowed"), which
    /// has then been written to "codex-usage.json" in the folder `saveTo`, or one with the single
    /// key "error", a text that holds nothing personal.
    [[nodiscard]] static QByteArray read(std::chrono::milliseconds timeout, const QString& saveTo,
                                         const Cancellation* cancellation = nullptr);

    /// The first executable file called "codex" in the folders of `PATH`, then in `searchFolders`.
    [[nodiscard]] static std::optional<QString> codexBinary();

    /// Where Codex's installers put it, whatever `PATH` says.
    [[nodiscard]] static const QStringList& searchFolders();

    /// The user-facing message for a failure text.
    [[nodiscard]] static QString message(const QString& failure);

    /// What `message` gives when the user is to log in.
    [[nodiscard]] static QString loginMessage();

    /// Makes the snapshot from the app server's answer to "account/rateLimits/read", writes it to
    /// "codex-usage.json" in `folder` and returns its bytes, whether or not it could be written.
    static QByteArray save(const QJsonObject& result, const QString& folder);
};
