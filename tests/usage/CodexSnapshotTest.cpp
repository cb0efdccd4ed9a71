#include "usage/CodexSnapshot.h"

#include "tests/support/ProcessGroups.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto ample = 30s; // for an exchange that comes to its end
constexpr auto brief = 300ms; // for one that does not

// An answer of the real server, with made-up figures.
const QByteArray limits = R"({"limitId": "codex", "planType": "plus",
    "primary": {"usedPercent": 42, "windowDurationMins": 300, "resetsAt": 1795380570},
    "secondary": {"usedPercent": 13, "windowDurationMins": 10080, "resetsAt": 1795776970},
    "credits": {"hasCredits": false}, "individualLimit": null})";

QByteArray compact(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).toJson(QJsonDocument::Compact);
}

QByteArray limitsReply()
{
    return R"({"id":2,"result":{"ordinaryUsageAllowed":true,"rateLimits":)" + compact(limits)
        + "}}";
}

/// A server that greets, waits for our request and then runs `answer`, a piece of shell.
QByteArray serverThat(const QByteArray& answer)
{
    return R"(#!/bin/sh
read -r line && echo '{"id":1,"result":{"userAgent":"x"}}'
read -r line && read -r line
)" + answer
        + '\n';
}

QByteArray serverThatSays(const QByteArray& line)
{
    return serverThat("cat <<'END'\n" + line + "\nEND");
}

QJsonObject object(const QByteArray& data)
{
    return QJsonDocument::fromJson(data).object();
}

QString errorIn(const QByteArray& data)
{
    return object(data).value("error"_L1).toString();
}

} // namespace

class CodexSnapshotTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Before the search folders are first asked for.
        QVERIFY(m_home.isValid());
        qputenv("HOME", QFile::encodeName(m_home.path()));
        QVERIFY(QDir(m_home.path()).mkpath(u".local/bin"_s));
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_support = m_folder->filePath(u"share/Gridwell"_s);
        QVERIFY(QDir(m_folder->path()).mkdir(u"bin"_s));
        qputenv("PATH", QFile::encodeName(m_folder->filePath(u"bin"_s)) + ":/usr/bin:/bin");
    }

    void binaryIsSearchedInOrder()
    {
        const QString later = m_home.filePath(u".local/bin/codex"_s);
        writeFile(later, "#!/bin/sh\n", 0700);
        QCOMPARE(CodexSnapshot::codexBinary(), later);
        QVERIFY(QDir(m_folder->path()).mkpath(u"folder/codex"_s));
        QVERIFY(QDir(m_folder->path()).mkdir(u"plain"_s));
        writeFile(m_folder->filePath(u"plain/codex"_s), "", 0600);
        const QString first = m_folder->filePath(u"bin/codex"_s);
        writeFile(first, "#!/bin/sh\n", 0700);
        qputenv(
            "PATH",
            QFile::encodeName("::/nonexistent:%1/folder:%1/plain:%1/bin"_L1.arg(m_folder->path())));
        QCOMPARE(CodexSnapshot::codexBinary(), first);
        QVERIFY(QFile::remove(first));
        QCOMPARE(CodexSnapshot::codexBinary(), later);
        QVERIFY(QFile::remove(later));
        qunsetenv("PATH");
        QCOMPARE(CodexSnapshot::codexBinary(), std::nullopt);
        QCOMPARE(errorIn(CodexSnapshot::read(ample, m_support)), u"Codex CLI not found"_s);
        QVERIFY(!QFileInfo::exists(m_support));
    }

    void limitsAreAskedForReadAndSaved()
    {
        // It keeps what it was given: arguments, search path, lines.
        install(R"(#!/bin/sh
here=${0%/*}
echo "$@" >"$here/arguments"
echo "$PATH" >"$here/path"
exec 3>"$here/lines"
read -r line; echo "$line" >&3
echo '{"id":1,"result":{}}'
read -r line; echo "$line" >&3
read -r line; echo "$line" >&3
echo ')" + limitsReply()
                + "'\ncat >&3\n");
        const QByteArray data = CodexSnapshot::read(ample, m_support);
        const QJsonObject snapshot = object(data);
        QCOMPARE(snapshot.keys(), QStringList({u"allowed"_s, u"observed_at"_s, u"windows"_s}));
        QCOMPARE(snapshot.value("allowed"_L1).toBool(), true);
        const qint64 age = QDateTime::currentSecsSinceEpoch()
            - qint64(snapshot.value("observed_at"_L1).toDouble());
        QVERIFY(age >= 0 && age < 3600);
        QJsonObject expected = object(limits);
        for (const QString& key : {u"limitId"_s, u"planType"_s, u"credits"_s, u"individualLimit"_s})
            expected.remove(key);
        QCOMPARE(snapshot.value("windows"_L1).toObject(), expected);

        const QString file = m_support + u"/codex-usage.json"_s;
        QCOMPARE(contentsOf(file), data);
        QCOMPARE(permissionsOf(file), 0600);
        QCOMPARE(QDir(m_support).entryList(QDir::Files | QDir::Hidden).size(), 1);

        const QString bin = m_folder->filePath(u"bin"_s);
        QCOMPARE(contentsOf(bin + u"/arguments"_s), "app-server\n");
        QCOMPARE(QString::fromUtf8(contentsOf(bin + u"/path"_s)),
                 "%1:/opt/homebrew/bin:/usr/local/bin:%2/.local/bin:%1:/usr/bin:/bin\n"_L1.arg(
                     bin, m_home.path()));
        QCOMPARE(
            contentsOf(bin + u"/lines"_s),
            R"({"id":1,"method":"initialize","params":{"clientInfo":{"name":"Vexlo","version":"0"}}}
{"method":"initialized","params":{}}
{"id":2,"method":"account/rateLimits/read","params":{}}
)");
    }

    void repliesAreFoundInWhateverElseComes_data()
    {
        QTest::addColumn<QByteArray>("script");
        const QByteArray reply = limitsReply();
        QTest::newRow("other messages around it") << serverThatSays(
            R"(no JSON at all
[{"id":2,"result":{}}]
{"method":"account/updated","params":{}}
{"id":2,"method":"server/asks","params":{}}
{"id":3,"error":{"code":-1,"message":"other"}}
{"id":"2","error":"other"}
{"id":2.5,"result":{}}

)" + reply);
        QTest::newRow("two lines in one write") << "#!/bin/sh\nprintf '%s\\n%s\\n' "
                                                   R"('{"id":1,"result":{}}' ')"
                + reply + "'\ncat >/dev/null\n";
        QTest::newRow("single bytes") << "#!/usr/bin/env python3\nimport sys\n"
                                         "for line in ('{\"id\":1,\"result\":{}}', '"
                + reply
                + "'):\n    sys.stdin.readline()\n"
                  "    for byte in (line + '\\n').encode():\n"
                  "        sys.stdout.buffer.write(bytes([byte]))\n"
                  "        sys.stdout.buffer.flush()\n";
        QTest::newRow("after an over-long line")
            << serverThat("head -c 3000000 /dev/zero | tr '\\0' x; echo; echo '" + reply + "'");
        QTest::newRow("nested deep before it")
            << serverThat("head -c 100000 /dev/zero | tr '\\0' '['; echo; echo '" + reply + "'");
        QTest::newRow("an error that is null")
            << serverThatSays(R"({"error":null,)" + reply.mid(1));
        QTest::newRow("ended at once after it") << serverThatSays(reply) + "kill -9 $$\n";
    }

    void repliesAreFoundInWhateverElseComes()
    {
        QFETCH(QByteArray, script);
        install(script);
        const QJsonObject snapshot = object(CodexSnapshot::read(ample, m_support));
        QCOMPARE(snapshot.value("windows"_L1)["primary"_L1]["usedPercent"_L1].toInt(), 42);
    }

    void limitsAreTakenFromTheRightPlace_data()
    {
        QTest::addColumn<QByteArray>("result");
        QTest::addColumn<QByteArray>("snapshot"); // without its time
        const QByteArray week = R"({"usedPercent":7,"windowDurationMins":10080})";
        QTest::newRow("by limit id")
            << R"({"rateLimits":{"primary":{"usedPercent":1}},"rateLimitsByLimitId":{"codex":{"primary":)"
                + week + R"(,"secondary":null},"other":{}}})"
            << R"({"windows":{"primary":)" + week + "}}";
        for (const QByteArray& none :
             {"null"_ba, "{}"_ba, R"({"other":{"primary":{}}})"_ba, R"({"codex":null})"_ba}) {
            QTest::addRow("by limit id: %s", none.constData())
                << R"({"rateLimits":{"secondary":)" + week + R"(},"rateLimitsByLimitId":)" + none
                    + "}"
                << R"({"windows":{"secondary":)" + week + "}}";
        }
        QTest::newRow("nothing") << "{}"_ba
                                 << R"({"windows":{}})"_ba;
        QTest::newRow("other types") << R"({"rateLimits":[1],"rateLimitsByLimitId":"x"})"_ba
                                     << R"({"windows":{}})"_ba;
        QTest::newRow("use not allowed") << R"({"ordinaryUsageAllowed":false})"_ba
                                         << R"({"allowed":false,"windows":{}})"_ba;
        QTest::newRow("use not told") << R"({"ordinaryUsageAllowed":null})"_ba
                                      << R"({"windows":{}})"_ba;
    }

    void limitsAreTakenFromTheRightPlace()
    {
        QFETCH(QByteArray, result);
        QFETCH(QByteArray, snapshot);
        QJsonObject saved = object(CodexSnapshot::save(object(result), m_support));
        QVERIFY(saved.contains("observed_at"_L1));
        saved.remove("observed_at"_L1);
        QCOMPARE(saved, object(snapshot));
    }

    void answerIsGivenEvenWhenItCannotBeSaved()
    {
        QVERIFY(QDir().mkpath(m_support + u"/codex-usage.json"_s)); // a folder in its place
        QVERIFY(object(CodexSnapshot::save(object(R"({"rateLimits":{}})"), m_support))
                    .contains("windows"_L1));
        QCOMPARE(QDir(m_support).entryList(QDir::Files | QDir::Hidden).size(), 0);
    }

    void errorsAreToldWithoutTheBackendsAnswer_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* name, const QByteArray& error, const QString& text) {
            QTest::newRow(name) << serverThatSays(R"({"error":)" + error + R"(,"id":2})") << text;
        };
        row("message", R"({"code":-32600,"message":"codex account authentication required"})",
            u"-32600: codex account authentication required"_s);
        row("with a body",
            R"({"code":-32603,"message":"GET https://x/usage failed: 401 Unauthorized; content-type=text/plain; body={\"email\":\"ada@example.test\"}"})",
            u"-32603: GET https://x/usage failed: 401 Unauthorized"_s);
        row("text", R"("not logged in")", u"not logged in"_s);
        row("no message", R"({"data":"x; content-type=y; ada@example.test"})", u"{\"data\":\"x"_s);
        row("number", "7", u"7"_s);
        QTest::newRow("to the greeting")
            << "#!/bin/sh\nread -r line\necho '{\"id\":1,\"error\":{\"message\":\"no\"}}'\n"_ba
            << u"no"_s;
    }

    void errorsAreToldWithoutTheBackendsAnswer()
    {
        QFETCH(QByteArray, script);
        install(script);
        QTEST(errorIn(CodexSnapshot::read(ample, m_support)), "error");
        QVERIFY(!QFileInfo::exists(m_support));
    }

    void serversThatNeverAnswerAreEnded_data()
    {
        QTest::addColumn<QByteArray>("script");
        // Each tells its group's number first.
        const QByteArray start = "#!/bin/sh\necho $$ >\"${0%/*}/group\"\n";
        QTest::newRow("silent") << start + "exec sleep 60\n";
        QTest::newRow("ignores SIGTERM")
            << start + "trap '' TERM HUP\nwhile :; do sleep 60; done\n";
        QTest::newRow("floods") << start + "yes '{\"id\":3}'\n";
        QTest::newRow("floods without an end of line") << start + "cat /dev/zero\n";
        QTest::newRow("script whose child keeps the pipe")
            << start + "(trap '' TERM; sleep 60) &\nwait\n";
        QTest::newRow("reads nothing, says one thing")
            << start + "echo '{\"id\":1,\"result\":{}}'\nsleep 60\n";
    }

    void serversThatNeverAnswerAreEnded()
    {
        QFETCH(QByteArray, script);
        install(script);
        // The group's number must be told before time is up, on however slow a machine.
        auto timeout = std::chrono::milliseconds(brief);
        pid_t group = 0;
        QString error;
        for (; group == 0 && timeout < ample; timeout *= 4) {
            error = errorIn(CodexSnapshot::read(timeout, m_support));
            group = contentsOf(m_folder->filePath(u"bin/group"_s)).trimmed().toInt();
        }
        QVERIFY(error.startsWith("Codex App Server did not return limits within "_L1));
        QVERIFY(group > 0);
        QVERIFY(!groupIsAlive(group));
        QVERIFY(!QFileInfo::exists(m_support));
    }

    void serverThatEndsWithoutAnAnswer()
    {
        install("#!/bin/sh\nexit 1\n");
        QCOMPARE(errorIn(CodexSnapshot::read(10s, m_support)),
                 u"Codex App Server did not return limits within 10 seconds"_s);
        install("#!/nonexistent/node\n");
        QCOMPARE(errorIn(CodexSnapshot::read(10s, m_support)), u"No such file or directory"_s);
    }

    void failuresBecomeMessages_data()
    {
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("message");
        const QString login = u"Please log in to Codex: run codex login"_s;
        const QString other = u"Can't read Codex. Please log in: run codex login"_s;
        QTest::newRow("no program")
            << u"Codex CLI not found"_s << u"Install Codex to see its limits"_s;
        QTest::newRow("not found alone") << u"404 Not Found"_s << other;
        QTest::newRow("401") << u"failed: 401"_s << login;
        QTest::newRow("capitals") << u"AUTHENTICATION required"_s << login;
        QTest::newRow("sign in") << u"please Sign in"_s << login;
        QTest::newRow("time is up")
            << u"Codex App Server did not return limits within 10 seconds"_s << other;
        QTest::newRow("empty") << QString() << other;
    }

    void failuresBecomeMessages()
    {
        QFETCH(QString, failure);
        QTEST(CodexSnapshot::message(failure), "message");
    }

private:
    void install(const QByteArray& script)
    {
        writeFile(m_folder->filePath(u"bin/codex"_s), script, 0700);
    }

    QTemporaryDir m_home;
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_support;
};

QTEST_GUILESS_MAIN(CodexSnapshotTest)
#include "CodexSnapshotTest.moc"
