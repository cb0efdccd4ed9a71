#include "tests/real/LoopbackService.h"
#include "tests/support/TestFiles.h"
#include "usage/ClaudeSetup.h"
#include "usage/SnapshotFiles.h"

#include <TestPaths.h>

#include <QDateTime>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 90'000; // ms; for a start on a slow machine
const QString program
    = QStringLiteral(VEXLO_OUTSIDE_PROGRAMS "/claude-code/node_modules/.bin/claude");

/// One event of a streamed answer.
QByteArray event(const QByteArray& name, const QByteArray& rest)
{
    return "event: " + name + "\ndata: {\"type\":\"" + name + '"' + rest + "}\n\n";
}

QByteArray streamedAnswer()
{
    const QByteArray usage = R"("usage":{"input_tokens":5,"output_tokens":3})";
    return event("message_start",
                 R"(,"message":{"id":"msg_1","type":"message","role":"assistant","model":"x",)"
                 R"("content":[],"stop_reason":null,"stop_sequence":null,)"
                     + usage + "}")
        + event("content_block_start", R"(,"index":0,"content_block":{"type":"text","text":""})")
        + event("content_block_delta",
                R"(,"index":0,"delta":{"type":"text_delta","text":"Hello."})")
        + event("content_block_stop", R"(,"index":0)")
        + event("message_delta",
                R"(,"delta":{"stop_reason":"end_turn","stop_sequence":null},)" + usage)
        + event("message_stop", "");
}

} // namespace

// Claude Code itself, on a terminal and in a home of its own, before a service that answers as we
// like. Its home's name needs quoting.
class ClaudeCodeTest : public QObject {
    Q_OBJECT

private slots:
    void limitsArriveThroughTheStatusLine()
    {
        const QTemporaryDir folder(QDir::tempPath() + "/Ada's home XXXXXX"_L1);
        const QString home = folder.path();
        const QString support = home + "/.local/share/Gridwell"_L1;
        const qint64 reset = QDateTime::currentSecsSinceEpoch() + 3600;
        LoopbackService service;
        service.onRequest = [reset](const QByteArray& request) {
            return request.startsWith("POST /v1/messages")
                ? answer(reset)
                : LoopbackService::Reply{"404 Not Found", "{}"};
        };
        logIn(home);
        ClaudeSetup setup({
            .settings = home + "/.claude/settings.json"_L1,
            .supportDirectory = support,
            .bundledBridge = QStringLiteral(VEXLO_BUILD_TREE "/libexec/vexlo/vexlo-claude-bridge"),
        });
        setup.connect();

        QProcess terminal;
        terminal.setProcessEnvironment(environment(home, service.address()));
        terminal.setWorkingDirectory(home + "/project"_L1);
        terminal.setProcessChannelMode(QProcess::MergedChannels);
        terminal.start(u"script"_s,
                       {u"-qfc"_s, "stty rows 40 cols 120; exec \"$CLAUDE\""_L1, u"/dev/null"_s});
        QByteArray screen;
        const auto shows = [&](const QByteArray& text) {
            screen += terminal.readAll();
            return screen.contains(text);
        };
        // It runs the bridge when it starts; the limits come with its first answer.
        QVERIFY2(QTest::qWaitFor([&] { return shows("waiting"); }, patience), screen.constData());
        QCOMPARE(claudeUsage(support).error, u"Waiting for Claude Code data"_s);
        terminal.write("hello");
        QVERIFY2(QTest::qWaitFor([&] { return shows("hello"); }, patience), screen.constData());
        terminal.write("\r");
        QVERIFY2(QTest::qWaitFor([&] { return shows("77%"); }, patience), screen.constData());

        const ServiceUsage usage = claudeUsage(support);
        QCOMPARE(usage.error, std::nullopt);
        QCOMPARE(usage.windows.size(), 2);
        QCOMPARE(usage.windows[0].name, u"5-hour"_s);
        QCOMPARE(usage.windows[0].remaining, 76.5);
        QCOMPARE(usage.windows[0].reset, Date(std::chrono::seconds(reset)));
        QCOMPARE(usage.windows[1].remaining, 59.0);
        QCOMPARE(usage.current().size(), 2);
        terminal.kill(); // its terminal goes, and Claude Code with it
        terminal.waitForFinished();
    }

private:
    /// One answer that carries the account's limits in its headers.
    static LoopbackService::Reply answer(qint64 reset)
    {
        const QByteArray prefix = "anthropic-ratelimit-unified-";
        const QByteArray weekReset = QByteArray::number(reset + 400'000);
        return {
            .body = streamedAnswer(),
            .contentType = "text/event-stream",
            .headers = prefix + "status: allowed\r\n" + prefix + "5h-utilization: 0.235\r\n"
                + prefix + "5h-status: allowed\r\n" + prefix
                + "5h-reset: " + QByteArray::number(reset) + "\r\n" + prefix
                + "7d-utilization: 0.41\r\n" + prefix + "7d-status: allowed\r\n" + prefix
                + "7d-reset: " + weekReset + "\r\n" + prefix + "representative-claim: five_hour\r\n"
                + prefix + "reset: " + QByteArray::number(reset) + "\r\n",
        };
    }

    /// A made-up plan member who has answered Claude Code's first questions.
    static void logIn(const QString& home)
    {
        QVERIFY(QDir(home).mkpath(u"project"_s));
        const qint64 later = QDateTime::currentMSecsSinceEpoch() + 86'400'000;
        writeFile(home + "/.claude/.credentials.json"_L1,
                  R"({"claudeAiOauth": {
            "accessToken": "sk-ant-oat01-made-up", "refreshToken": "sk-ant-ort01-made-up",
            "scopes": ["user:inference", "user:profile"], "subscriptionType": "pro",
            "expiresAt": )"
                      + QByteArray::number(later) + "}}");
        writeFile(home + "/.claude.json"_L1,
                  R"({"hasCompletedOnboarding": true, "theme": "dark",
            "projects": {")"
                      + home.toUtf8() + R"(/project": {"hasTrustDialogAccepted": true}}})");
    }

    static QProcessEnvironment environment(const QString& home, const QByteArray& service)
    {
        const std::pair<QString, QString> variables[]{
            {u"HOME"_s, home},
            {u"PATH"_s, qEnvironmentVariable("PATH")},
            {u"TERM"_s, u"xterm-256color"_s},
            {u"LC_ALL"_s, u"C.UTF-8"_s},
            {u"CLAUDE"_s, program},
            {u"ANTHROPIC_BASE_URL"_s, QString::fromUtf8(service)},
            {u"CLAUDE_CODE_DISABLE_NONESSENTIAL_TRAFFIC"_s, u"1"_s},
            {u"DISABLE_AUTOUPDATER"_s, u"1"_s},
        };
        QProcessEnvironment environment;
        for (const auto& [name, value] : variables)
            environment.insert(name, value);
        return environment;
    }
};

int main(int argc, char** argv)
{
    return runAgainst<ClaudeCodeTest>(program, argc, argv);
}

#include "ClaudeCodeTest.moc"
