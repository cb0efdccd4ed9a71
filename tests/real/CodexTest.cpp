#include "tests/real/LoopbackService.h"
#include "tests/support/TestFiles.h"
#include "usage/CodexSnapshot.h"
#include "usage/SnapshotFiles.h"

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <future>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString outside = QStringLiteral(VEXLO_OUTSIDE_PROGRAMS "/codex/node_modules/");
const QByteArray address = "ada@example.test";

QByteArray base64(const QByteArray& json)
{
    return json.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

/// An unsigned token of a made-up plan member, good for some days.
QByteArray loginToken()
{
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    return base64(R"({"alg":"none","typ":"JWT"})") + '.'
        + base64(R"({"iat":)" + QByteArray::number(now) + R"(,"exp":)"
                 + QByteArray::number(now + 5 * 86400) + R"(,"email":")" + address
                 + R"(","https://api.openai.com/auth":{"chatgpt_plan_type":"plus",)"
                   R"("chatgpt_user_id":"user-1","chatgpt_account_id":"acct-1"}})")
        + ".c2lnbmVk";
}

} // namespace

// Codex itself, in a home of its own and before a service that answers as we like.
class CodexTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("PATH", QFile::encodeName(outside + u".bin:"_s) + qgetenv("PATH"));
        QCOMPARE(CodexSnapshot::codexBinary(), outside + u".bin/codex"_s);
    }

    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_status = "200 OK";
        m_usage.clear();
        m_wasAsked = false;
        m_service = std::make_unique<LoopbackService>();
        m_service->onRequest = [this](const QByteArray& request) { return answer(request); };
        m_support = m_home->filePath(u"support"_s);
        qputenv("CODEX_HOME", QFile::encodeName(m_home->path()));
        writeFile(m_home->filePath(u"config.toml"_s),
                  "chatgpt_base_url = \"" + m_service->address() + "/backend-api/\"\n");
    }

    void limitsArrive()
    {
        logIn();
        const qint64 reset = QDateTime::currentSecsSinceEpoch() + 3600;
        m_usage = R"({"user_id": "user-1", "account_id": "acct-1", "plan_type": "plus",
            "rate_limit": {"allowed": true, "limit_reached": false,
                "primary_window": {"used_percent": 42, "limit_window_seconds": 18000,
                                   "reset_after_seconds": 3600, "reset_at": )"
            + QByteArray::number(reset) + R"(},
                "secondary_window": {"used_percent": 13, "limit_window_seconds": 604800,
                                     "reset_after_seconds": 400000, "reset_at": )"
            + QByteArray::number(reset + 400'000) + R"(}},
            "credits": {"has_credits": false, "unlimited": false, "balance": "0"}})";
        const ServiceUsage usage = codexUsage(read(30s));
        QVERIFY(m_wasAsked);
        QCOMPARE(usage.error, std::nullopt);
        QCOMPARE(usage.allowed, true);
        const QList<LimitWindow> expected{
            {u"Short limit"_s, 58, Date(std::chrono::seconds(reset)), {}},
            {u"Weekly"_s, 87, Date(std::chrono::seconds(reset + 400'000)), {}},
        };
        QCOMPARE(usage.windows, expected);
        QCOMPARE(savedCodexUsage(m_support).windows, expected);
    }

    void withoutLoginItSaysSo()
    {
        QCOMPARE(codexUsage(read(30s)).error, CodexSnapshot::loginMessage());
        QVERIFY(!QFileInfo::exists(m_support));
    }

    void refusedLoginIsToldWithoutTheAnswersText()
    {
        logIn();
        m_status = "401 Unauthorized";
        m_usage = "{\"detail\": \"unknown user " + address + "\"}";
        const QByteArray document = read(30s);
        QVERIFY(m_wasAsked);
        QCOMPARE(codexUsage(document).error, CodexSnapshot::loginMessage());
        QVERIFY2(!document.contains(address), document.constData());
    }

    void serverThatWaitsForItsServiceIsEnded()
    {
        logIn();
        m_usage.clear(); // it never answers
        QByteArray document;
        // Time must be up during the call to the service, on however slow a machine.
        for (auto timeout = 1500ms; !m_wasAsked && timeout < 60s; timeout *= 2)
            document = read(timeout);
        QVERIFY(m_wasAsked);
        QVERIFY(document.contains("did not return limits within"));
        QVERIFY(!QFileInfo::exists(m_support));
    }

private:
    /// What the service behind Codex says: the usage page as the test has it, and nothing else.
    std::optional<LoopbackService::Reply> answer(const QByteArray& request)
    {
        if (!request.startsWith("GET /backend-api/wham/usage "))
            return LoopbackService::Reply{.status = "404 Not Found",
                                          .body = R"({"detail":"none"})"};
        m_wasAsked = true;
        if (m_usage.isEmpty())
            return std::nullopt;
        return LoopbackService::Reply{.status = m_status, .body = m_usage};
    }

    void logIn()
    {
        const QByteArray token = loginToken();
        writeFile(
            m_home->filePath(u"auth.json"_s),
            R"({"auth_mode": "chatgpt", "OPENAI_API_KEY": null, "tokens": {"id_token": ")" + token
                + R"(", "access_token": ")" + token
                + R"(", "refresh_token": "made-up", "account_id": "acct-1"}, "last_refresh": ")"
                + QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toUtf8() + R"("})");
    }

    /// Reads in another thread, so that the backend can answer in this one. Nothing that was
    /// started may be left afterwards.
    QByteArray read(std::chrono::milliseconds timeout)
    {
        auto reading = std::async(std::launch::async,
                                  [=, this] { return CodexSnapshot::read(timeout, m_support); });
        const auto isDone = [&] { return reading.wait_for(0s) == std::future_status::ready; };
        if (!QTest::qWaitFor(isDone, 120'000))
            qFatal("the read never ended");
        if (const QString left = processInOurHome(); !left.isEmpty())
            QTest::qFail(qPrintable("left behind: "_L1 + left), __FILE__, __LINE__);
        return reading.get();
    }

    /// The command line of a process that was given this test's home, other than the test itself.
    QString processInOurHome() const
    {
        const QByteArray mark = "CODEX_HOME=" + QFile::encodeName(m_home->path());
        for (const QString& entry : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
            const QString folder = "/proc/"_L1 + entry;
            if (entry != QString::number(QCoreApplication::applicationPid())
                && contentsOf(folder + u"/environ"_s).split('\0').contains(mark))
                return QString::fromLocal8Bit(contentsOf(folder + u"/cmdline"_s))
                    .replace(u'\0', u' ');
        }
        return {};
    }

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<LoopbackService> m_service;
    QByteArray m_status; // of the usage page
    QByteArray m_usage; // its body; empty to let the caller wait
    bool m_wasAsked = false;
    QString m_support;
};

int main(int argc, char** argv)
{
    return runAgainst<CodexTest>(outside + u".bin/codex"_s, argc, argv);
}

#include "CodexTest.moc"
