#include "usage/CodexSnapshot.h"

#include "platform/ChildProcess.h"
#include "platform/Date.h"
#include "platform/Files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestLine = 1 << 20;
// After its answer the server leaves by itself within a tenth of a second of its input closing. It
// may be writing its renewed login then, so it gets ample time.
constexpr std::chrono::milliseconds leavingPatience{500};

constexpr int initializeId = 1;
constexpr int limitsId = 2;

class Texts {
    Q_DECLARE_TR_FUNCTIONS(CodexSnapshot)
};

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray failure(const QString& text)
{
    return compact({{"error"_L1, text}});
}

QByteArray line(const QJsonObject& message)
{
    return compact(message) + '\n';
}

QByteArray initializeRequest()
{
    const QString version = QCoreApplication::applicationVersion();
    const QJsonObject client{
        {"name"_L1, "Vexlo"_L1},
        {"version"_L1, version.isEmpty() ? u"0"_s : version},
    };
    return line({{"id"_L1, initializeId},
                 {"method"_L1, "initialize"_L1},
                 {"params"_L1, QJsonObject{{"clientInfo"_L1, client}}}});
}

QByteArray limitsRequest()
{
    return line({{"method"_L1, "initialized"_L1}, {"params"_L1, QJsonObject()}})
        + line({{"id"_L1, limitsId},
                {"method"_L1, "account/rateLimits/read"_L1},
                {"params"_L1, QJsonObject()}});
}

/// Describes the "error" member of a reply. The body of the backend's answer, which Codex appends
/// to its message, is left out: it can hold the user's address, and its words mean nothing here.
QString errorDescription(const QJsonValue& error)
{
    QString text;
    if (error.isString()) {
        text = error.toString();
    } else if (const QJsonObject object = error.toObject(); object.value("message"_L1).isString()) {
        text = object.value("message"_L1).toString();
        if (const QJsonValue code = object.value("code"_L1); code.isDouble())
            text.prepend(QString::number(code.toInteger()) + ": "_L1);
    } else if (error.isObject()) {
        text = QString::fromUtf8(compact(object));
    } else {
        text = error.toVariant().toString();
    }
    return text.left(text.indexOf("; content-type="_L1)); // the whole text when it is not there
}

/// Our side of one exchange with the app server.
class Exchange {
public:
    Exchange(ChildProcess& server, QString saveTo)
        : m_server(server)
        , m_saveTo(std::move(saveTo))
    {
        m_server.write(initializeRequest());
    }

    /// Takes the server's next bytes. Gives the outcome once there is one.
    std::optional<QByteArray> take(const QByteArray& bytes)
    {
        m_buffer += bytes;
        qsizetype start = 0;
        for (qsizetype end = 0; (end = m_buffer.indexOf('\n', start)) >= 0; start = end + 1) {
            // What is over-long is no reply of ours, and neither is its tail.
            if (!std::exchange(m_inLongLine, false)) {
                if (const auto outcome = takeLine(m_buffer.mid(start, end - start)))
                    return outcome;
            }
        }
        m_buffer.remove(0, start);
        if (m_buffer.size() > longestLine) {
            m_buffer.clear();
            m_inLongLine = true;
        }
        return std::nullopt;
    }

private:
    std::optional<QByteArray> takeLine(const QByteArray& text)
    {
        const QJsonObject message = QJsonDocument::fromJson(text).object();
        const int id = message.value("id"_L1).toInt();
        // The server has requests of its own, numbered as it likes.
        if ((id != initializeId && id != limitsId) || message.contains("method"_L1))
            return std::nullopt;
        if (const QJsonValue error = message.value("error"_L1);
            !error.isUndefined() && !error.isNull())
            return failure(errorDescription(error));
        if (id == limitsId)
            return CodexSnapshot::save(message.value("result"_L1).toObject(), m_saveTo);
        if (!std::exchange(m_hasAsked, true))
            m_server.write(limitsRequest());
        return std::nullopt;
    }

    ChildProcess& m_server;
    QString m_saveTo;
    QByteArray m_buffer;
    bool m_inLongLine = false;
    bool m_hasAsked = false;
};

QProcessEnvironment serverEnvironment(const QString& binary)
{
    // Codex is often a script whose interpreter stands beside it, out of a desktop session's PATH.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QStringList path = QStringList(QFileInfo(binary).path()) + CodexSnapshot::searchFolders()
        + QStringList(environment.value(u"PATH"_s));
    environment.insert(u"PATH"_s, path.join(u':'));
    return environment;
}

} // namespace

const QString CodexSnapshot::fileName = u"codex-usage.json"_s;

const QStringList& CodexSnapshot::searchFolders()
{
    static const QStringList folders{
        u"/opt/homebrew/bin"_s,
        u"/usr/local/bin"_s,
        QDir::homePath() + "/.local/bin"_L1,
    };
    return folders;
}

std::optional<QString> CodexSnapshot::codexBinary()
{
    const QStringList folders
        = qEnvironmentVariable("PATH").split(u':', Qt::SkipEmptyParts) + searchFolders();
    for (const QString& folder : folders) {
        const QFileInfo file(QDir(folder).absoluteFilePath(u"codex"_s));
        if (file.isFile() && file.isExecutable())
            return file.filePath();
    }
    return std::nullopt;
}

QByteArray CodexSnapshot::read(std::chrono::milliseconds timeout, const QString& saveTo,
                               const Cancellation* cancellation)
{
    const std::optional<QString> binary = codexBinary();
    if (!binary)
        return failure(u"Codex CLI not found"_s);

    const QDeadlineTimer deadline(timeout);
    ChildProcess server({.program = *binary,
                         .arguments = {u"app-server"_s},
                         .environment = serverEnvironment(*binary)},
                        cancellation);
    if (!server.isRunning())
        return failure(server.startError());

    Exchange exchange(server, saveTo);
    QByteArray bytes;
    while (server.wait(bytes, deadline) == ChildProcess::Event::output) {
        if (const std::optional<QByteArray> outcome = exchange.take(bytes)) {
            server.end(leavingPatience);
            return *outcome;
        }
        bytes.clear();
    }
    server.end();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout).count();
    return failure("Codex App Server did not return limits within %1 seconds"_L1.arg(
        QString::number(seconds)));
}

QByteArray CodexSnapshot::save(const QJsonObject& result, const QString& folder)
{
    QJsonObject limits = result.value("rateLimits"_L1).toObject();
    if (const QJsonValue codex
        = result.value("rateLimitsByLimitId"_L1).toObject().value("codex"_L1);
        codex.isObject())
        limits = codex.toObject();

    QJsonObject windows;
    for (const QLatin1StringView key : windowKeys) {
        if (const QJsonValue window = limits.value(key); window.isObject())
            windows.insert(key, window);
    }
    QJsonObject snapshot{
        {"observed_at"_L1, secondsSince1970(currentDate())},
        {"windows"_L1, windows},
    };
    if (const QJsonValue allowed = result.value("ordinaryUsageAllowed"_L1);
        !allowed.isUndefined() && !allowed.isNull())
        snapshot.insert("allowed"_L1, allowed);

    const QByteArray bytes = compact(snapshot);
    makePrivateFolder(folder);
    // An answer that could not be kept is an answer all the same, and the next one is soon here.
    [[maybe_unused]] const ReplaceStatus ignored = replaceFile(
        folder + u'/' + fileName, bytes, {.temporaryPrefix = u"codex-"_s, .durable = false});
    return bytes;
}

QString CodexSnapshot::loginMessage()
{
    return Texts::tr("Please log in to Codex: run codex login");
}

QString CodexSnapshot::message(const QString& failure)
{
    static const std::array loginWords{
        "login"_L1, "logged"_L1, "sign in"_L1, "auth"_L1, "token"_L1, "401"_L1, "unauthorized"_L1,
    };
    const QString text = failure.toLower();
    if (text.contains("not found"_L1) && text.contains("cli"_L1))
        return Texts::tr("Install Codex to see its limits");
    if (std::any_of(loginWords.begin(), loginWords.end(),
                    [&](QLatin1StringView word) { return text.contains(word); }))
        return loginMessage();
    return Texts::tr("Can't read Codex. Please log in: run codex login");
}
