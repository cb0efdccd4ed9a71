#include "usage/CodexSnapshot.h"

#include "tests/support/ProcessGroups.h"
#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto ample = 30s; // for an exchange that comes to its end
constexpr auto brief = 300ms; // for one that does not

// An answer of the real server, with made-up figures.
const QByteArray windows
    = R"({"primary":{"usedPercent":42,"windowDurationMins":300,"resetsAt":1795380570},
"secondary":{"usedPercent":13,"windowDurationMins":10080,"resetsAt":1795776970}})"_ba.simplified();
const QByteArray reply
    = R"({"id":2,"result":{"ordinaryUsageAllowed":true,"rateLimits":{"limitId":"codex",
"credits":{"hasCredits":false},"individualLimit":null,)"_ba.simplified()
    + windows.mid(1) + "}}";

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

QString errorIn(const QByteArray& data)
{
    return jsonObject(data).value("error"_L1).toString();
}

} // namespace

class CodexSnapshotTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Before the search folders are first asked for.
        qputenv("HOME", QFile::encodeName(m_home.path()));
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_support = m_folder->filePath(u"share/Gridwell"_s);
        m_bin = m_folder->filePath(u"bin"_s);
        qputenv("PATH", QFile::encodeName(m_bin) + ":/usr/bin:/bin");
    }

    void binaryIsSearchedInOrder()
    {
        const QString later = m_home.filePath(u".local/bin/codex"_s);
        const QString first = m_bin + u"/codex"_s;
        writeFile(later, "#!/bin/sh\n", 0700);
        writeFile(first, "#!/bin/sh\n", 0700);
        writeFile(m_folder->filePath(u"plain/codex"_s), "", 0600);
        QVERIFY(QDir(m_folder->path()).mkpath(u"folder/codex"_s));
        const QString path = "::/nonexistent:%1/folder:%1/plain:%1/bin"_L1.arg(m_folder->path());
        qputenv("PATH", QFile::encodeName(path));
        QCOMPARE(CodexSnapshot::codexBinary(), first);
        QVERIFY(QFile::remove(first));
        QCOMPARE(CodexSnapshot::codexBinary(), later);
        QVERIFY(QFile::remove(later));
        qunsetenv("PATH");
        QCOMPARE(CodexSnapshot::codexBinary(), std::nullopt);
        QCOMPARE(errorIn(CodexSnapshot::read(ample, m_support)), u"Codex CLI not found"_s);
    }

    void limitsAreAskedForReadAndSaved()
    {
        // It keeps what it was given: arguments, search path, lines.
        install(R"(#!/bin/sh
exec 3>${0%/*}/given
echo "$@" >&3; echo "$PATH" >&3
read -r line; echo "$line" >&3
echo '{"id":1,"result":{}}'
read -r line; echo "$line" >&3; read -r line; echo "$line" >&3
echo ')" + reply + "'\ncat >&3\n");
        const QByteArray data = CodexSnapshot::read(ample, m_support);
        QJsonObject snapshot = jsonObject(data);
        const double observed = snapshot.take("observed_at"_L1).toDouble();
        QVERIFY(std::abs(observed - double(QDateTime::currentSecsSinceEpoch())) < 3600);
        QCOMPARE(snapshot, jsonObject(R"({"allowed":true,"windows":)" + windows + "}"));
        const QString file = m_support + u"/codex-usage.json"_s;
        QCOMPARE(contentsOf(file), data);
        QCOMPARE(permissionsOf(file), 0600);
        QCOMPARE(filesIn(m_support).size(), 1);
        QCOMPARE(QString::fromUtf8(contentsOf(m_bin + u"/given"_s)), R"(app-server
%1:/opt/homebrew/bin:/usr/local/bin:%2/.local/bin:%1:/usr/bin:/bin
{"id":1,"method":"initialize","params":{"clientInfo":{"name":"Vexlo","version":"0"}}}
{"method":"initialized","params":{}}
{"id":2,"method":"account/rateLimits/read","params":{}}
)"_L1.arg(m_bin, m_home.path()));
    }

    void repliesAreFoundInWhateverElseComes_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::newRow("other messages around it") << serverThatSays(
            R"(no JSON at all
[{"id":2,"result":{}}]
{"method":"account/updated","params":{}}
{"id":2,"method":"server/asks","params":{}}
{"id":3,"error":{"code":-1,"message":"other"}}
{"id":"2","error":"other"}
{"id":2.5,"result":{}}

)" + reply);
        QTest::newRow("two lines in one write")
            << "#!/bin/sh\nprintf '%s\\n%s\\n' '{\"id\":1,\"result\":{}}' '" + reply + "'\ncat\n";
        QTest::newRow("single bytes") << R"(#!/usr/bin/env python3
import sys
for line in ('{"id":1,"result":{}}', ')"
                + reply + R"('):
    sys.stdin.readline()
    for byte in (line + '\n').encode():
        sys.stdout.buffer.write(bytes([byte]))
        sys.stdout.buffer.flush()
)";
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
        const QByteArray data = CodexSnapshot::read(ample, m_support);
        QVERIFY2(jsonObject(data)["windows"_L1] == jsonObject(windows), data);
    }

    void limitsAreTakenFromTheRightPlaceAndGivenEvenWhenTheyCannotBeSaved()
    {
        QVERIFY(QDir().mkpath(m_support + u"/codex-usage.json"_s)); // a folder in its place
        const auto saved = [&](const QByteArray& result) {
            const QByteArray bytes = CodexSnapshot::save(jsonObject(result), m_support);
            return bytes.left(bytes.indexOf("\"observed_at\""))
                + bytes.mid(bytes.indexOf("\"windows\""));
        };
        const QByteArray other = R"({"primary":{"usedPercent":1},"secondary":null})";
        const QByteArray limits = R"({"rateLimits":)" + other + R"(,"rateLimitsByLimitId":)";
        QCOMPARE(saved(limits + R"({"x":{},"codex":{"secondary":{"usedPercent":7}}}})"),
                 R"({"windows":{"secondary":{"usedPercent":7}}})");
        for (const char* none : {"null", "{}", "3", R"({"x":{"primary":{}}})", R"({"codex":null})"})
            QCOMPARE(saved(limits + none + '}'), R"({"windows":{"primary":{"usedPercent":1}}})");
        for (const char* nothing :
             {"{}", R"({"rateLimits":[1]})", R"({"ordinaryUsageAllowed":null})"})
            QCOMPARE(saved(nothing), R"({"windows":{}})");
        QCOMPARE(saved(R"({"ordinaryUsageAllowed":false})"), R"({"allowed":false,"windows":{}})");
        QCOMPARE(filesIn(m_support).size(), 1);
    }

    void errorsAreToldWithoutTheBackendsAnswer()
    {
        const std::pair<const char*, QString> rows[]{
            {R"({"code":-32600,"message":"codex account authentication required"})",
             u"-32600: codex account authentication required"_s},
            {R"({"code":-32603,"message":"failed: 401; content-type=x; ada@example.test"})",
             u"-32603: failed: 401"_s},
            {R"("not logged in")", u"not logged in"_s},
            {R"({"data":"x; content-type=y; ada@example.test"})", u"{\"data\":\"x"_s},
            {"7", u"7"_s},
        };
        for (const auto& [error, text] : rows) {
            install(serverThatSays(R"({"error":)"_ba + error + R"(,"id":2})"));
            QCOMPARE(errorIn(CodexSnapshot::read(ample, m_support)), text);
        }
        install("#!/bin/sh\nread -r line\necho '{\"id\":1,\"error\":{\"message\":\"no\"}}'\n");
        QCOMPARE(errorIn(CodexSnapshot::read(ample, m_support)), u"no"_s);
        install("#!/bin/sh\nexit 1\n");
        QCOMPARE(errorIn(CodexSnapshot::read(10s, m_support)),
                 u"Codex App Server did not return limits within 10 seconds"_s);
        install("#!/nonexistent/node\n");
        QCOMPARE(errorIn(CodexSnapshot::read(ample, m_support)), u"No such file or directory"_s);
        QVERIFY(!QFileInfo::exists(m_support));
    }

    void serversThatNeverAnswerAreEnded_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::newRow("ignores SIGTERM") << "trap '' TERM HUP; while :; do sleep 60; done"_ba;
        QTest::newRow("floods") << "yes '{\"id\":3}'"_ba;
        QTest::newRow("floods without an end of line") << "cat /dev/zero"_ba;
        QTest::newRow("script whose child keeps the pipe") << "(trap '' TERM; sleep 60) & wait"_ba;
    }

    void serversThatNeverAnswerAreEnded()
    {
        QFETCH(QByteArray, script);
        install("#!/bin/sh\necho $$ >\"${0%/*}/group\"\n" + script + '\n');
        // The group's number must be told before time is up, on however slow a machine.
        auto timeout = std::chrono::milliseconds(brief);
        pid_t group = 0;
        QString error;
        for (; group == 0 && timeout < ample; timeout *= 4) {
            error = errorIn(CodexSnapshot::read(timeout, m_support));
            group = contentsOf(m_bin + u"/group"_s).trimmed().toInt();
        }
        QVERIFY(error.startsWith("Codex App Server did not return limits within "_L1));
        QVERIFY(group > 0);
        QVERIFY(groupIsGone(group));
        QVERIFY(!QFileInfo::exists(m_support));
    }

    void failuresBecomeMessages()
    {
        QCOMPARE(CodexSnapshot::message(u"Codex CLI not found"_s),
                 u"Install Codex to see its limits"_s);
        for (const QString& text : {u"failed: 401"_s, u"AUTHENTICATION required"_s,
                                    u"please Sign in"_s, u"not logged in"_s, u"bad token"_s})
            QCOMPARE(CodexSnapshot::message(text), u"Please log in to Codex: run codex login"_s);
        for (const QString& text : {u"404 Not Found"_s, u""_s,
                                    u"Codex App Server did not return limits within 10 seconds"_s})
            QCOMPARE(CodexSnapshot::message(text),
                     u"Can't read Codex. Please log in: run codex login"_s);
    }

private:
    void install(const QByteArray& script) { writeFile(m_bin + u"/codex"_s, script, 0700); }

    QTemporaryDir m_home;
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_bin;
    QString m_support;
};

QTEST_GUILESS_MAIN(CodexSnapshotTest)
#include "CodexSnapshotTest.moc"
