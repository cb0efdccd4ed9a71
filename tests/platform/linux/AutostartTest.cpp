#include "platform/linux/AutostartEntry.h"

#include "app/LoginCommand.h"
#include "tests/support/TestFiles.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using Status = LoginItem::Status;

namespace {

/// A program that writes down its arguments, each in brackets.
QByteArray recorder(const QString& record)
{
    return "#!/bin/sh\nprintf '[%s]' \"$@\" >'" + record.toUtf8() + "'\n";
}

} // namespace

class AutostartTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_config = m_folder->filePath(u"config"_s);
    }

    void theDesktopStartsWhatIsNamed_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("exec");
        QTest::newRow("plain") << u"vexlo"_s << "/vexlo --background\n"_ba;
        QTest::newRow("space") << u"my vexlo"_s << "/my vexlo\" --background\n"_ba;
        QTest::newRow("what shells and entries read")
            << u"a\"b'c`d$HOME\\e;g"_s
            << "/a\\\\\"b'c\\\\`d\\\\$HOME\\\\\\\\e;g\" --background\n"_ba;
    }

    void theDesktopStartsWhatIsNamed()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, exec);
        const QString record = m_folder->filePath(u"record"_s);
        const QString program = m_folder->filePath(name);
        writeFile(program, recorder(record), 0700);
        AutostartEntry entry(m_config, program);
        QCOMPARE(entry.status(), Status::disabled);
        QCOMPARE(entry.enable(), std::nullopt);

        QCOMPARE(entry.status(), Status::enabled);
        QVERIFY2(contentsOf(entry.file()).contains(exec), contentsOf(entry.file()));
        QCOMPARE(output(u"desktop-file-validate"_s, {entry.file()}), ""_ba);
        QCOMPARE(output(u"gio"_s, {u"launch"_s, entry.file()}), ""_ba);
        QTRY_COMPARE(contentsOf(record), "[--background]"_ba);

        QCOMPARE(entry.disable(), std::nullopt);
        QVERIFY(filesIn(m_config + "/autostart"_L1).isEmpty());
    }

    void whatTheUserSwitchedOffStaysOff()
    {
        AutostartEntry entry(m_config, u"/opt/vexlo"_s);
        const QByteArray hidden
            = "[Other]\nHidden=false\n[Desktop Entry]\nExec=/gone/vexlo\nHidden = true \n";
        writeFile(entry.file(), hidden);
        QCOMPARE(entry.status(), Status::pendingApproval);
        QCOMPARE(entry.enable(), std::nullopt);
        entry.mend();
        QCOMPARE(entry.status(), Status::pendingApproval);
        QCOMPARE(contentsOf(entry.file()), hidden);
    }

    void anEntryFollowsAProgramThatMoved_data()
    {
        QTest::addColumn<QByteArray>("exec");
        QTest::addColumn<bool>("isMended");
        QTest::newRow("gone") << "/gone/vexlo --background"_ba << true;
        QTest::newRow("gone, quoted") << "\"/bin/sh /\\\\$x\" --background"_ba << true;
        QTest::newRow("empty") << ""_ba << true;
        QTest::newRow("another that is there") << "/bin/sh --background"_ba << false;
    }

    void anEntryFollowsAProgramThatMoved()
    {
        QFETCH(QByteArray, exec);
        QFETCH(bool, isMended);
        AutostartEntry entry(m_config, u"/new/vexlo"_s);
        const QByteArray start = "# Mine\n[Desktop Entry]\nName=V\nExec=";
        const QByteArray end = "\nX-GNOME-Autostart-Delay=5\n[Other]\nExec=x\n";
        writeFile(entry.file(), start + exec + end);
        entry.mend();
        QCOMPARE(contentsOf(entry.file()),
                 start + (isMended ? "/new/vexlo --background"_ba : exec) + end);
    }

    void whatCannotBeWrittenSaysSo()
    {
        AutostartEntry entry(m_config, u"/opt/vexlo"_s);
        writeFile(entry.file(), "[Desktop Entry]\nExec=/opt/old\n");
        const QString folder = QFileInfo(entry.file()).path();
        ::chmod(QFile::encodeName(folder).constData(), 0500);
        const auto enabling = entry.enable();
        const auto disabling = entry.disable();
        ::chmod(QFile::encodeName(folder).constData(), 0700);
        QCOMPARE(enabling, entry.file() + " cannot be written"_L1);
        QCOMPARE(disabling, entry.file() + " cannot be removed"_L1);

        // Some switch entries off with a link to a device, which must stay one.
        const QByteArray device = QFile::encodeName(m_folder->filePath(u"device"_s));
        QCOMPARE(::mkfifo(device.constData(), 0600), 0);
        QFile::remove(entry.file());
        QVERIFY(QFile::link(QFile::decodeName(device), entry.file()));
        QCOMPARE(entry.status(), Status::disabled);
        QVERIFY(entry.enable().has_value());
        QVERIFY(!QFileInfo(QFile::decodeName(device)).isFile());
    }

    void theTerminalGetsOneLine()
    {
        AutostartEntry entry(m_config, u"/opt/vexlo"_s);
        QCOMPARE(enableLogin(entry).text, u"Launch at Login: enabled"_s);
        QVERIFY(QFile::exists(entry.file()));
        QCOMPARE(disableLogin(entry).text, u"Launch at Login: disabled"_s);
        QVERIFY(!QFile::exists(entry.file()));
        writeFile(entry.file(), "[Desktop Entry]\nExec=/opt/vexlo\nHidden=true\n");
        QCOMPARE(enableLogin(entry).text, u"Launch at Login: pending approval"_s);
        AutostartEntry impossible(entry.file(), u"/opt/vexlo"_s);
        QCOMPARE(enableLogin(impossible).text,
                 "Launch at Login failed: "_L1 + impossible.file() + " cannot be written"_L1);
    }

private:
    static QByteArray output(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        return process.waitForFinished() ? process.readAll() : "failed: "_ba + program.toUtf8();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_config;
};

QTEST_GUILESS_MAIN(AutostartTest)
#include "AutostartTest.moc"
