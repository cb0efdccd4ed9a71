#include "tests/real/LoopbackService.h"
#include "tests/support/TestFiles.h"
#include "usage/CodexSnapshot.h"
#include "usage/SnapshotFiles.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <future>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int skipExitCode = 77;
const QString outside = QStringLiteral(VEXLO_OUTSIDE_PROGRAMS "/codex/node_modules/");
const QByteArray address = "ada@example.test";

/// The folder of the native program that the downloaded script starts; empty when it is not there.
QString nativeFolder()
{
    const QStringList packages = QDir(outside + u"@openai"_s).entryList({u"codex-*"_s}, QDir::Dirs);
    for (const QString& package : packages) {
        const QString vendor = outside + "@openai/"_L1 + package + "/vendor"_L1;
        const QStringList targets = QDir(vendor).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        for (const QString& target : targets) {
            for (const QString& folder : {u"bin"_s, u"codex"_s}) {
                const QString path = vendor + u'/' + target + u'/' + folder;
                if (QFileInfo(path + u"/codex"_s).isExecutable())
                    return path;
            }
        }
    }
    return {};
}

QByteArray base64(const QJsonObject& object)
{
    return QJsonDocument(object)
        .toJson(QJsonDocument::Compact)
        .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

/// An unsigned token of a made-up plan member, good for some days.
QString loginToken()
{
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    const QJsonObject header{{"alg"_L1, "none"_L1}, {"typ"_L1, "JWT"_L1}};
    const QJsonObject payload{
        {"iat"_L1, now},
        {"exp"_L1, now + 5 * 86400},
        {"email"_L1, QString::fromUtf8(address)},
        {"https://api.openai.com/auth"_L1,
         QJsonObject{{"chatgpt_plan_type"_L1, "plus"_L1},
                     {"chatgpt_user_id"_L1, "user-1"_L1},
                     {"chatgpt_account_id"_L1, "acct-1"_L1}}},
    };
    return QString::fromUtf8(base64(header) + '.' + base64(payload) + ".c2lnbmVk");
}

} // namespace

// Codex itself, in a home of its own and before a service that answers as we like.
class CodexTest : public QObject {
    Q_OBJECT

private slots:
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

    void limitsArrive_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("script") << outside + u".bin"_s;
        QTest::newRow("native program") << nativeFolder();
    }

    void limitsArrive()
    {
        QFETCH(QString, folder);
        useCodexIn(folder);
        logIn();
        const qint64 reset = QDateTime::currentSecsSinceEpoch() + 3600;
        m_usage = "{\"email\": \"" + address
            + "\", "
              R"("user_id": "user-1", "account_id": "acct-1", "plan_type": "plus", "rate_limit": {"allowed": true, "limit_reached": false,
               "primary_window": {"used_percent": 42, "limit_window_seconds": 18000,
                                  "reset_after_seconds": 3600, "reset_at": )"
            + QByteArray::number(reset)
            + R"(}, "secondary_window": {"used_percent": 13, "limit_window_seconds": 604800,
                                  "reset_after_seconds": 400000, "reset_at": )"
            + QByteArray::number(reset + 400'000) + R"(}}, "additional_rate_limits": null,
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
        useCodexIn(outside + u".bin"_s);
        QCOMPARE(codexUsage(read(30s)).error, CodexSnapshot::loginMessage());
        QVERIFY(!QFileInfo::exists(m_support));
    }

    void refusedLoginIsToldWithoutTheAnswersText()
    {
        useCodexIn(outside + u".bin"_s);
        logIn();
        m_status = "401 Unauthorized";
        m_usage = "{\"detail\": \"unknown user " + address + "\"}";
        const QByteArray document = read(30s);
        QVERIFY(m_wasAsked);
        QCOMPARE(codexUsage(document).error, CodexSnapshot::loginMessage());
        QVERIFY2(!document.contains(address), document.constData());
    }

    void serverThatWaitsForItsServiceIsEnded_data() { limitsArrive_data(); }

    void serverThatWaitsForItsServiceIsEnded()
    {
        QFETCH(QString, folder);
        useCodexIn(folder);
        logIn();
        m_usage.clear(); // it never answers
        QElapsedTimer timer;
        std::chrono::milliseconds timeout = 1500ms;
        QByteArray document;
        // Time must be up during the call to the service, on however slow a machine.
        for (; !m_wasAsked && timeout < 60s; timeout *= 2) {
            timer.start();
            document = read(timeout);
            qInfo("ended %lld ms after its start, with %lld ms given", (long long)timer.elapsed(),
                  (long long)timeout.count());
        }
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

    void useCodexIn(const QString& folder)
    {
        QVERIFY(QFileInfo(folder + u"/codex"_s).isExecutable());
        qputenv("PATH", QFile::encodeName(folder) + ':' + m_path);
        QCOMPARE(CodexSnapshot::codexBinary(), folder + u"/codex"_s);
    }

    void logIn()
    {
        const QString token = loginToken();
        const QJsonObject login{
            {"auth_mode"_L1, "chatgpt"_L1},
            {"OPENAI_API_KEY"_L1, QJsonValue()},
            {"tokens"_L1,
             QJsonObject{{"id_token"_L1, token},
                         {"access_token"_L1, token},
                         {"refresh_token"_L1, "made-up"_L1},
                         {"account_id"_L1, "acct-1"_L1}}},
            {"last_refresh"_L1, QDateTime::currentDateTimeUtc().toString(Qt::ISODate)},
        };
        writeFile(m_home->filePath(u"auth.json"_s), QJsonDocument(login).toJson());
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

    const QByteArray m_path = qgetenv("PATH");
    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<LoopbackService> m_service;
    QByteArray m_status; // of the usage page
    QByteArray m_usage; // its body; empty to let the caller wait
    bool m_wasAsked = false;
    QString m_support;
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (!QFileInfo::exists(outside + u".bin/codex"_s)) {
        qInfo("SKIP: Codex is not installed in the build folder");
        return skipExitCode;
    }
    CodexTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "CodexTest.moc"
