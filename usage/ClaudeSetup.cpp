#include "usage/ClaudeSetup.h"

#include "platform/Date.h"
#include "platform/Files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <filesystem>

using namespace Qt::StringLiterals;

namespace {

constexpr int deepestSettings = 200; // levels; the writer recurses
constexpr int privateMode = 0600;
constexpr int executableMode = 0755;

constexpr auto statusLineKey = "statusLine";
constexpr auto commandKey = "command";
constexpr auto typeKey = "type";

class Texts {
    Q_DECLARE_TR_FUNCTIONS(ClaudeSetup)
};

/// `path` as the shell reads it back unchanged. Claude Code hands the command to a shell, where an
/// unquoted space would silently leave the status line blank.
QString shellQuoted(const QString& path)
{
    static const QRegularExpression special(u"[^A-Za-z0-9/._-]"_s);
    if (!path.contains(special))
        return path;
    static const QRegularExpression escaped(u"([$`\"\\\\])"_s);
    return u'"' + QString(path).replace(escaped, u"\\\\1"_s) + u'"';
}

/// The JSON value in `text`; absent when there is none or it is nested too deep.
std::optional<nlohmann::json> parsed(const std::string& text)
{
    bool isTooDeep = false;
    const auto watchDepth
        = [&isTooDeep](int depth, nlohmann::json::parse_event_t, nlohmann::json&) {
              isTooDeep = isTooDeep || depth > deepestSettings;
              return !isTooDeep;
          };
    nlohmann::json value = nlohmann::json::parse(text, watchDepth, /*allow_exceptions=*/false);
    return value.is_discarded() || isTooDeep ? std::nullopt : std::optional(std::move(value));
}

[[noreturn]] void failToWrite(const QString& path)
{
    throw ClaudeSetup::Failure(Texts::tr("Could not write %1").arg(path));
}

/// Creates the folder of a file of the user's, with the permissions that the user's umask gives.
void makeFolderOf(const QString& path)
{
    QDir().mkpath(QFileInfo(path).path());
}

void writeBytes(const QString& path, const QByteArray& bytes, const ReplaceOptions& options)
{
    switch (replaceFile(path, bytes, options)) {
    case ReplaceStatus::replaced:
        return;
    case ReplaceStatus::notWritten:
        failToWrite(path);
    case ReplaceStatus::notRenamed:
        throw ClaudeSetup::Failure(Texts::tr("Could not replace %1").arg(path));
    case ReplaceStatus::notWanted:
        throw ClaudeSetup::Failure(
            Texts::tr("%1 was changed by another program just now. Please try again.").arg(path));
    }
}

/// Sorted keys, two spaces of indent, a line feed at the end.
QByteArray prettyPrinted(const nlohmann::json& value, const LenientJson::Disguise& oddities)
{
    return QByteArray::fromStdString(oddities.restored(value.dump(2))) + '\n';
}

/// Whether the status line in `settings` runs the program at `path`.
bool commandNames(const nlohmann::json& settings, const QString& path)
{
    const auto statusLine = settings.find(statusLineKey);
    if (statusLine == settings.end() || !statusLine->is_object())
        return false;
    const auto command = statusLine->find(commandKey);
    if (command == statusLine->end() || !command->is_string())
        return false;
    const QString text = QString::fromStdString(command->get<std::string>());
    // A path with quotes of its own stands in the command in its quoted form alone.
    return text.contains(path) || text.contains(shellQuoted(path));
}

} // namespace

ClaudeSetup::ClaudeSetup(Paths paths)
    : m_paths(std::move(paths))
{
}

QString ClaudeSetup::settingsPath()
{
    const QString chosen = qEnvironmentVariable("CLAUDE_CONFIG_DIR");
    const QString folder = chosen.isEmpty() ? QDir::homePath() + "/.claude"_L1 : chosen;
    return QDir(folder).absoluteFilePath(u"settings.json"_s);
}

QString ClaudeSetup::installedBridge() const
{
    return m_paths.supportDirectory + "/vexlo-claude-bridge"_L1;
}

QString ClaudeSetup::legacyBridge() const
{
    return m_paths.supportDirectory + "/claude_bridge.py"_L1;
}

QString ClaudeSetup::previousStatusLine() const
{
    return m_paths.supportDirectory + "/previous-statusline.json"_L1;
}

ClaudeSetup::Settings ClaudeSetup::readSettings() const
{
    const ReadResult result = readFile(m_paths.settings);
    if (result.status == ReadStatus::missing)
        return {};
    LenientJson::Disguise oddities(result.contents.toStdString());
    std::optional<Json> members;
    if (result.status == ReadStatus::read)
        members = parsed(oddities.text());
    if (!members || !members->is_object())
        throw Failure(Texts::tr("Claude settings are not a JSON object: %1").arg(m_paths.settings));
    return {.members = std::move(*members),
            .bytes = result.contents,
            .oddities = std::move(oddities),
            .exists = true};
}

bool ClaudeSetup::ownsStatusLine(const Settings& settings) const
{
    return commandNames(settings.members, installedBridge()) || usesLegacyBridge(settings);
}

bool ClaudeSetup::usesLegacyBridge(const Settings& settings) const
{
    return commandNames(settings.members, legacyBridge());
}

bool ClaudeSetup::isConnected() const
{
    try {
        return ownsStatusLine(readSettings());
    } catch (const Failure&) {
        return false;
    }
}

void ClaudeSetup::installBridge() const
{
    const ReadResult bundled = readFile(m_paths.bundledBridge);
    if (bundled.status != ReadStatus::read)
        throw Failure(Texts::tr("The Claude bridge is missing from Vexlo.app. Reinstall Vexlo."));
    if (!makePrivateFolder(m_paths.supportDirectory))
        failToWrite(installedBridge());
    const QFileInfo installed(installedBridge());
    if (readFile(installedBridge()).contents == bundled.contents && installed.isExecutable())
        return;
    if (!QFileInfo::exists(installedBridge()))
        QFile::remove(installedBridge()); // a link to nowhere would be followed there
    // Replaced in one step: Claude Code may be running the old one at this moment.
    const ReplaceOptions options{
        .permissions = executableMode,
        .temporaryPrefix = u"vexlo-claude-bridge-"_s,
    };
    if (replaceFile(installedBridge(), bundled.contents, options) != ReplaceStatus::replaced)
        failToWrite(installedBridge());
}

void ClaudeSetup::backUpSettings(const Settings& settings) const
{
    if (!settings.exists)
        return;
    const auto seconds
        = std::chrono::floor<std::chrono::seconds>(currentDate()).time_since_epoch().count();
    const QString backup
        = m_paths.settings + ".gridwell-backup-"_L1 + QString::number(qint64(seconds));
    writeBytes(backup, settings.bytes, {.permissions = settingsMode()});
}

int ClaudeSetup::settingsMode() const
{
    std::error_code error;
    const std::filesystem::file_status status
        = std::filesystem::status(QFile::encodeName(m_paths.settings).toStdString(), error);
    return std::filesystem::is_regular_file(status)
        ? int(status.permissions() & std::filesystem::perms::all)
        : privateMode;
}

void ClaudeSetup::replaceSettings(const Settings& before, const QByteArray& contents) const
{
    backUpSettings(before);
    makeFolderOf(m_paths.settings);
    // Claude Code and editors write this file too. What they wrote in the meantime must not be
    // lost, also while ours went to the disk.
    writeBytes(m_paths.settings, contents, {.permissions = settingsMode(), .isStillWanted = [&] {
                                                return readFile(m_paths.settings).contents
                                                    == before.bytes;
                                            }});
}

QString ClaudeSetup::connect()
{
    makePrivateFolder(m_paths.supportDirectory);
    const FolderLock lock(m_paths.supportDirectory);
    return connectLocked();
}

/// The settings and the saved line belong together: no other process may change either in between.
QString ClaudeSetup::connectLocked()
{
    const Settings settings = readSettings();
    installBridge();
    const bool isLegacy = usesLegacyBridge(settings);
    if (ownsStatusLine(settings) && !isLegacy)
        return Texts::tr("Already connected.");

    const Json existing = settings.members.value(statusLineKey, Json());
    // Behind an older bridge of ours stands what the user had before it, saved already.
    if (!isLegacy && !existing.is_null())
        writeBytes(previousStatusLine(), prettyPrinted(existing, settings.oddities),
                   {.permissions = privateMode});
    else if (!isLegacy)
        QFile::remove(previousStatusLine());

    Json statusLine = existing.is_object() ? existing : Json::object();
    statusLine[typeKey] = commandKey;
    statusLine[commandKey] = shellQuoted(installedBridge()).toStdString();
    Json members = settings.members;
    members[statusLineKey] = std::move(statusLine);
    replaceSettings(settings, prettyPrinted(members, settings.oddities));
    return Texts::tr("Connected. Claude Code will supply usage on its next status line update.");
}

QString ClaudeSetup::disconnect()
{
    // A bridge that is running now looks for its own file under this lock before it writes, so that
    // the usage does not come back once it is gone.
    const FolderLock lock(m_paths.supportDirectory);
    const Settings settings = readSettings();
    QString message = Texts::tr("Disconnected. Your Claude status line was not Vexlo's, so it was "
                                "left unchanged.");
    if (ownsStatusLine(settings))
        message = putPreviousBack(settings);
    removeVexloFiles();
    return message;
}

QString ClaudeSetup::putPreviousBack(const Settings& settings) const
{
    Json members = settings.members;
    const LenientJson::Disguise saved(readFile(previousStatusLine()).contents.toStdString(),
                                      settings.oddities.text());
    const std::optional<Json> previous = parsed(saved.text());
    const bool hasPrevious = previous && !previous->is_null();
    if (hasPrevious)
        members[statusLineKey] = *previous;
    else
        members.erase(statusLineKey);
    const QByteArray contents = prettyPrinted(members, settings.oddities);
    replaceSettings(settings, QByteArray::fromStdString(saved.restored(contents.toStdString())));
    return hasPrevious ? Texts::tr("Your previous status line is back.")
                       : Texts::tr("Claude Code has no status line again.");
}

void ClaudeSetup::refreshIfConnected()
{
    const Settings settings = readSettings();
    if (!ownsStatusLine(settings))
        return;
    const FolderLock lock(m_paths.supportDirectory);
    if (usesLegacyBridge(settings))
        connectLocked();
    else
        installBridge();
}

void ClaudeSetup::removeVexloFiles() const
{
    for (const QString& file : {previousStatusLine(), legacyBridge(), installedBridge(),
                                m_paths.supportDirectory + "/claude-usage.json"_L1})
        QFile::remove(file);
}
