#include "usage/KeychainStore.h"

#include "platform/linux/SecretServiceStore.h"

#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;

// Against the keyring daemon of the private session that the test runs in.
class KeychainStoreTest : public QObject {
    Q_OBJECT

private slots:
    void keysAreTrimmedKeptAndRemoved()
    {
        SecretServiceStore secrets;
        KeychainStore keychain(secrets);
        const QString provider = u"openrouter"_s;
        QCOMPARE(keychain.key(provider), std::nullopt);
        QVERIFY(keychain.setKey(u"  sk-ö-1\n"_s, provider));
        QCOMPARE(keychain.key(provider), u"sk-ö-1"_s);
        QCOMPARE(keychain.key(u"zai"_s), std::nullopt);

        // At the address that the outside world knows it by.
        QProcess tool;
        tool.start(u"secret-tool"_s,
                   {u"lookup"_s, u"service"_s, u"vexlo.openrouter"_s, u"account"_s, u"vexlo"_s});
        QVERIFY(tool.waitForFinished());
        QCOMPARE(QString::fromUtf8(tool.readAllStandardOutput()).trimmed(), u"sk-ö-1"_s);

        QVERIFY(!keychain.setKey(u" \t\n"_s, provider));
        QCOMPARE(keychain.key(provider), u"sk-ö-1"_s);
        QVERIFY(keychain.removeKey(provider));
        QCOMPARE(keychain.key(provider), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(KeychainStoreTest)
#include "KeychainStoreTest.moc"
