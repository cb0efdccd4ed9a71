#pragma once

#include "platform/LenientJson.h"

#include <QByteArray>
#include <QString>

#include <nlohmann/json.hpp>

#include <exception>

/// Connects Vexlo to Claude Code, which reports its limits to a status-line command alone.
///
/// Connecting installs the bridge in the support folder and points the user's status line at it;
/// the bridge goes on showing a status line that the user had before. Disconnecting puts that back.
/// Claude Code's settings are the user's: they are backed up first, replaced in one step, keep
/// their permissions, and what we do not know in them survives in value.
class ClaudeSetup {
public:
    /// Why something could not be done, in one text for the user.
    class Failure : public std::exception {
    public:
        explicit Failure(QString text)
            : m_text(std::move(text))
        {
        }
        [[nodiscard]] const QString& text() const { return m_text; }
        [[nodiscard]] const char* what() const noexcept override
        {
            return "Claude Code connection";
        }

    private:
        QString m_text;
    };

    struct Paths {
        QString settings; // Claude Code's own file; it and its folder need not exist
        QString supportDirectory;
        QString bundledBridge; // the bridge as it came with Vexlo
    };

    explicit ClaudeSetup(Paths paths);

    /// The user's settings file: in `CLAUDE_CONFIG_DIR` when that is set, else in "~/.claude".
    [[nodiscard]] static QString settingsPath();

    /// Gives the message to show, or throws a `Failure`.
    QString connect();
    /// Gives the message to show, or throws a `Failure`.
    QString disconnect();
    /// Whether the status line is ours now. Settings that cannot be read are not.
    [[nodiscard]] bool isConnected() const;
    /// Brings an installed bridge, or an older one, up to this version. Does nothing when the
    /// status line is not ours. Throws a `Failure`.
    void refreshIfConnected();

private:
    using Json = nlohmann::json;

    struct Settings {
        Json members = Json::object(); // with `oddities` in disguise
        QByteArray bytes; // as read
        LenientJson::Disguise oddities{{}}; // what we cannot read but must not lose
        bool exists = false;
    };

    QString connectLocked();
    [[nodiscard]] QString putPreviousBack(const Settings& settings) const;
    [[nodiscard]] Settings readSettings() const;
    [[nodiscard]] bool ownsStatusLine(const Settings& settings) const;
    [[nodiscard]] bool usesLegacyBridge(const Settings& settings) const;
    void installBridge() const;
    void backUpSettings(const Settings& settings) const;
    [[nodiscard]] int settingsMode() const;
    void replaceSettings(const Settings& before, const QByteArray& contents) const;
    void removeVexloFiles() const;

    [[nodiscard]] QString installedBridge() const;
    [[nodiscard]] QString legacyBridge() const;
    [[nodiscard]] QString previousStatusLine() const;

    Paths m_paths;
};
