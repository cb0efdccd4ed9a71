#include "usage/ClaudeSetup.h"

#include "tests/support/TestFiles.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QString connectedText
    = u"Connected. Claude Code will supply usage on its next status line update."_s;

/// What `step` says, or the text of its failure behind "failed: ".
template<typename Step> QString outcome(Step step)
{
    try {
        return step();
    } catch (const ClaudeSetup::Failure& failure) {
        return "failed: "_L1 + failure.text();
    }
}

} // namespace

class ClaudeSetupTest : public QObject {
    Q_OBJECT

private slots:
    void init() { useFolder(u"plain"_s); }

    void connectingWithoutSettingsMakesThemAndDisconnectingTakesThemBack()
    {
        QCOMPARE(connect(), connectedText);
        QCOMPARE(contentsOf(m_settings),
                 "{\n  \"statusLine\": {\n    \"command\": \"" + m_bridge.toUtf8()
                     + "\",\n    \"type\": \"command\"\n  }\n}\n");
        QCOMPARE(permissionsOf(m_settings), 0600);
        QCOMPARE(backups().size(), 0);
        QCOMPARE(contentsOf(m_bridge), "the bridge");
        QCOMPARE(permissionsOf(m_bridge), 0755);
        QCOMPARE(permissionsOf(m_support), 0700);
        QVERIFY(m_setup->isConnected());

        const QByteArray before = contentsOf(m_settings);
        QCOMPARE(connect(), u"Already connected."_s);
        QCOMPARE(contentsOf(m_settings), before);

        writeFile(m_support + u"/claude-usage.json"_s, "{}");
        QCOMPARE(disconnect(), u"Claude Code has no status line again."_s);
        QCOMPARE(contentsOf(m_settings), "{}\n");
        QCOMPARE(backups().size(), 1);
        QCOMPARE(QDir(m_support).entryList(QDir::Files | QDir::Hidden), QStringList());
        QVERIFY(!m_setup->isConnected());
    }

    void statusLineOfTheUserIsKeptAndComesBack()
    {
        const QByteArray own
            = R"({"command": "~/line.sh --color", "padding": 2, "type": "command"})";
        writeFile(m_settings, R"({"statusLine": )" + own + R"(, "model": "x"})", 0644);
        QCOMPARE(connect(), connectedText);
        const QJsonObject line = object(m_settings).value("statusLine"_L1).toObject();
        QCOMPARE(line.value("padding"_L1).toInt(), 2);
        QCOMPARE(line.value("command"_L1).toString(), m_bridge);
        QCOMPARE(permissionsOf(m_settings), 0644);
        QCOMPARE(object(m_support + u"/previous-statusline.json"_s),
                 QJsonDocument::fromJson(own).object());
        QCOMPARE(permissionsOf(m_support + u"/previous-statusline.json"_s), 0600);
        QCOMPARE(contentsOf(backups().value(0)), R"({"statusLine": )" + own + R"(, "model": "x"})");

        QCOMPARE(disconnect(), u"Your previous status line is back."_s);
        QCOMPARE(object(m_settings).value("statusLine"_L1).toObject(),
                 QJsonDocument::fromJson(own).object());
        QCOMPARE(object(m_settings).value("model"_L1).toString(), u"x"_s);
        QCOMPARE(permissionsOf(m_settings), 0644);
    }

    void stalePreviousStatusLineDoesNotComeBack()
    {
        QVERIFY(QDir().mkpath(m_support));
        writeFile(m_support + u"/previous-statusline.json"_s, R"({"command": "old"})");
        QCOMPARE(connect(), connectedText);
        QCOMPARE(disconnect(), u"Claude Code has no status line again."_s);
    }

    void statusLineOfAnotherProgramIsLeftAlone()
    {
        const QByteArray other = R"({"statusLine": {"type": "command", "command": "other"}})";
        writeFile(m_settings, other);
        QVERIFY(QDir().mkpath(m_support));
        for (const char* file : {"previous-statusline.json", "claude_bridge.py",
                                 "vexlo-claude-bridge", "claude-usage.json", "notes.json"})
            writeFile(m_support + u'/' + QLatin1StringView(file), "x");
        QCOMPARE(disconnect(),
                 u"Disconnected. Your Claude status line was not Vexlo's, so it was "
                 "left unchanged."_s);
        QCOMPARE(contentsOf(m_settings), other);
        QCOMPARE(backups().size(), 0);
        QCOMPARE(QDir(m_support).entryList(QDir::Files), {u"notes.json"_s});
    }

    void everythingElseSurvivesToTheDigit()
    {
        const QString data = QStringLiteral(VEXLO_TEST_DATA "/claude-settings");
        const QByteArray byteOrderMark = "\xEF\xBB\xBF";
        writeFile(m_settings, byteOrderMark + contentsOf(data + u".json"_s));
        QCOMPARE(connect(), connectedText);
        QCOMPARE(disconnect(), u"Claude Code has no status line again."_s);
        // As text: reading it with Qt would lose the very digits in question.
        QCOMPARE(contentsOf(m_settings), contentsOf(data + u"-rewritten.json"_s));
    }

    void settingsThatAreNoObjectChangeNothing_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::newRow("list") << "[1]"_ba;
        QTest::newRow("empty") << ""_ba;
        QTest::newRow("cut short") << R"({"model": )"_ba;
        QTest::newRow("comment") << "{} // mine"_ba;
        QTest::newRow("nested deep") << R"({"a":)"_ba + QByteArray(100'000, '[');
        QTest::newRow("nested deep and closed")
            << R"({"a":)"_ba + QByteArray(100'000, '[') + QByteArray(100'000, ']') + '}';
        QTest::newRow("no UTF-8") << "{\"a\": \"\xff\"}"_ba;
        QTest::newRow("too large") << "{}"_ba + QByteArray(65 << 20, ' ');
    }

    void settingsThatAreNoObjectChangeNothing()
    {
        QFETCH(QByteArray, settings);
        writeFile(m_settings, settings);
        const QString failure = "failed: Claude settings are not a JSON object: "_L1 + m_settings;
        QCOMPARE(connect(), failure);
        QCOMPARE(disconnect(), failure);
        QVERIFY(!m_setup->isConnected());
        QCOMPARE(contentsOf(m_settings), settings);
        QCOMPARE(backups().size(), 0);
        QVERIFY(!QFileInfo::exists(m_support));
    }

    void settingsInPlaceOfAFileAreRefused()
    {
        QCOMPARE(::mkfifo(QFile::encodeName(m_settings).constData(), 0600), 0);
        QVERIFY(connect().startsWith("failed: Claude settings are not a JSON object: "_L1));
    }

    void linkedSettingsStayLinked()
    {
        const QString target = m_folder->filePath(u"dotfiles.json"_s);
        writeFile(target, R"({"model": "x"})", 0640);
        QVERIFY(QFile::link(target, m_settings));
        QCOMPARE(connect(), connectedText);
        QVERIFY(QFileInfo(m_settings).isSymLink());
        QVERIFY(object(target).contains("statusLine"_L1));
        QCOMPARE(permissionsOf(target), 0640);
        QCOMPARE(backups().size(), 1);
    }

    void failuresLeaveTheSettingsAsTheyWere()
    {
        writeFile(m_settings, R"({"model": "x"})");
        const QByteArray folder = QFile::encodeName(QFileInfo(m_settings).path());
        ::chmod(folder.constData(), 0500);
        QVERIFY(connect().startsWith("failed: Could not write "_L1));
        ::chmod(folder.constData(), 0700);
        QCOMPARE(contentsOf(m_settings), R"({"model": "x"})");

        QVERIFY(QFile::remove(m_bundled));
        QCOMPARE(connect(),
                 u"failed: The Claude bridge is missing from Vexlo.app. Reinstall Vexlo."_s);
        QCOMPARE(contentsOf(m_settings), R"({"model": "x"})");
    }

    void commandReachesTheBridgeThroughAShell_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("space") << u"Ada Lovelace"_s;
        QTest::newRow("quotes") << u"o'brien \"x\""_s;
        QTest::newRow("shell's own") << u"$HOME `id` \\n;&|*?[a]{b}#!~"_s;
        QTest::newRow("other letters") << u"Ünïcode ✓"_s;
    }

    void commandReachesTheBridgeThroughAShell()
    {
        QFETCH(QString, name);
        useFolder(name);
        writeFile(m_bundled, "#!/bin/sh\necho bridge reached\n");
        QCOMPARE(connect(), connectedText);
        QVERIFY(m_setup->isConnected());
        QProcess shell;
        shell.start(u"/bin/sh"_s,
                    {u"-c"_s, object(m_settings)["statusLine"_L1]["command"_L1].toString()});
        QVERIFY(shell.waitForFinished());
        QCOMPARE(shell.readAllStandardOutput(), "bridge reached\n");
        QCOMPARE(disconnect(), u"Claude Code has no status line again."_s);
    }

    void newVersionBringsItsBridge()
    {
        m_setup->refreshIfConnected();
        QVERIFY(!QFileInfo::exists(m_support));
        QCOMPARE(connect(), connectedText);
        writeFile(m_bundled, "the new bridge");
        m_setup->refreshIfConnected();
        QCOMPARE(contentsOf(m_bridge), "the new bridge");
        QCOMPARE(permissionsOf(m_bridge), 0755);
    }

    void olderBridgeIsReplacedAndWhatStoodBeforeItComesBack()
    {
        QVERIFY(QDir().mkpath(m_support));
        const QByteArray own = R"({"type": "command", "command": "mine"})";
        writeFile(m_support + u"/previous-statusline.json"_s, own);
        writeFile(m_settings,
                  R"({"statusLine": {"type": "command", "command": )"
                  "\"python3 "
                      + m_support.toUtf8() + "/claude_bridge.py\"}}");
        QVERIFY(m_setup->isConnected());
        m_setup->refreshIfConnected();
        QCOMPARE(object(m_settings)["statusLine"_L1]["command"_L1].toString(), m_bridge);
        QCOMPARE(disconnect(), u"Your previous status line is back."_s);
        QCOMPARE(object(m_settings)["statusLine"_L1]["command"_L1].toString(), u"mine"_s);
    }

    void settingsFolderMayBeChosen()
    {
        qputenv("HOME", "/home/ada");
        qunsetenv("CLAUDE_CONFIG_DIR");
        QCOMPARE(ClaudeSetup::settingsPath(), u"/home/ada/.claude/settings.json"_s);
        qputenv("CLAUDE_CONFIG_DIR", "/srv/claude");
        QCOMPARE(ClaudeSetup::settingsPath(), u"/srv/claude/settings.json"_s);
    }

private:
    void useFolder(const QString& name)
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_settings = m_folder->filePath(u".claude/settings.json"_s);
        QVERIFY(QDir(m_folder->path()).mkdir(u".claude"_s));
        m_support = m_folder->filePath(name + u"/Gridwell"_s);
        m_bridge = m_support + u"/vexlo-claude-bridge"_s;
        m_bundled = m_folder->filePath(u"bundled"_s);
        writeFile(m_bundled, "the bridge");
        m_setup = std::make_unique<ClaudeSetup>(ClaudeSetup::Paths{
            .settings = m_settings, .supportDirectory = m_support, .bundledBridge = m_bundled});
    }

    QString connect()
    {
        return outcome([this] { return m_setup->connect(); });
    }
    QString disconnect()
    {
        return outcome([this] { return m_setup->disconnect(); });
    }

    static QJsonObject object(const QString& file)
    {
        return QJsonDocument::fromJson(contentsOf(file)).object();
    }

    QStringList backups() const
    {
        QStringList paths;
        const QFileInfoList files = QDir(QFileInfo(m_settings).path())
                                        .entryInfoList({u"settings.json.gridwell-backup-*"_s});
        for (const QFileInfo& file : files)
            paths.append(file.filePath());
        return paths;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_settings;
    QString m_support;
    QString m_bridge;
    QString m_bundled;
    std::unique_ptr<ClaudeSetup> m_setup;
};

QTEST_GUILESS_MAIN(ClaudeSetupTest)
#include "ClaudeSetupTest.moc"
