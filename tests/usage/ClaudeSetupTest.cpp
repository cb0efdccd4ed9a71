#include "usage/ClaudeSetup.h"

#include "tests/support/TestFiles.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString connectedText
    = u"Connected. Claude Code will supply usage on its next status line update."_s;
const QString noLineText = u"Claude Code has no status line again."_s;
const QString ownLineText = u"Your previous status line is back."_s;

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
        m_setup->refreshIfConnected();
        QCOMPARE(filesIn(m_folder->path()), QStringList(u"bundled"_s));
        QCOMPARE(connect(), connectedText);
        const QByteArray connected = "{\n  \"statusLine\": {\n    \"command\": \""
            + m_bridge.toUtf8() + "\",\n    \"type\": \"command\"\n  }\n}\n";
        QCOMPARE(contentsOf(m_settings), connected);
        QCOMPARE(permissionsOf(m_settings), 0600);
        QCOMPARE(backups(), QStringList());
        QCOMPARE(contentsOf(m_bridge), "the bridge");
        QCOMPARE(permissionsOf(m_bridge), 0755);
        QCOMPARE(permissionsOf(m_support), 0700);
        QVERIFY(m_setup->isConnected());
        QCOMPARE(connect(), u"Already connected."_s);
        QCOMPARE(contentsOf(m_settings), connected);

        writeFile(m_bundled, "the bridge of a new version");
        m_setup->refreshIfConnected();
        QCOMPARE(contentsOf(m_bridge), "the bridge of a new version");
        QVERIFY(QFile::remove(m_bridge));
        QVERIFY(QFile::link(u"/gone/with/its/folder"_s, m_bridge));
        m_setup->refreshIfConnected();
        QCOMPARE(contentsOf(m_bridge), "the bridge of a new version");
        writeFile(m_support + u"/claude-usage.json"_s, "{}");
        QCOMPARE(disconnect(), noLineText);
        QCOMPARE(contentsOf(m_settings), "{}\n");
        QCOMPARE(backups().size(), 1);
        QCOMPARE(filesIn(m_support), QStringList());
        QVERIFY(!m_setup->isConnected());
    }

    void statusLineOfTheUserIsKeptAndComesBack()
    {
        const QByteArray own
            = R"({"command": "~/line.sh --color", "padding": 2, "type": "command"})";
        const QByteArray settings = R"({"model": "x", "statusLine": )" + own + "}";
        writeFile(m_settings, settings, 0644);
        QCOMPARE(connect(), connectedText);
        QJsonObject line = jsonObject(own);
        line["command"_L1] = m_bridge;
        QCOMPARE(statusLine(), line);
        QCOMPARE(permissionsOf(m_settings), 0644);
        QCOMPARE(jsonObject(contentsOf(m_previous)), jsonObject(own));
        QCOMPARE(permissionsOf(m_previous), 0600);
        QCOMPARE(contentsOf(backups().value(0)), settings);

        QCOMPARE(disconnect(), ownLineText);
        QCOMPARE(jsonObject(contentsOf(m_settings)), jsonObject(settings));
        QCOMPARE(permissionsOf(m_settings), 0644);
    }

    void statusLineOfAnotherProgramIsLeftAlone()
    {
        const QByteArray other = R"({"statusLine": {"type": "command", "command": "other"}})";
        writeFile(m_settings, other);
        for (const char* file : {"previous-statusline.json", "claude_bridge.py",
                                 "vexlo-claude-bridge", "claude-usage.json", "notes.json"})
            writeFile(m_support + u'/' + QLatin1StringView(file), "x");
        QCOMPARE(disconnect(),
                 u"Disconnected. Your Claude status line was not Vexlo's, so it was "
                 "left unchanged."_s);
        QCOMPARE(contentsOf(m_settings), other);
        QCOMPARE(backups(), QStringList());
        QCOMPARE(filesIn(m_support), QStringList(u"notes.json"_s));
    }

    void everythingElseSurvivesToTheDigit()
    {
        const QByteArray byteOrderMark = "\xEF\xBB\xBF";
        writeFile(m_settings, byteOrderMark + contentsOf(u":/data/claude-settings.json"_s));
        QCOMPARE(connect(), connectedText);
        QCOMPARE(disconnect(), ownLineText);
        // As text: reading it with Qt would lose the very digits in question.
        QCOMPARE(contentsOf(m_settings), contentsOf(u":/data/claude-settings-rewritten.json"_s));
    }

    void settingsThatAreNoObjectChangeNothing()
    {
        const QString failure = "failed: Claude settings are not a JSON object: "_L1 + m_settings;
        const QByteArray deep(100'000, '[');
        for (const QByteArray& settings :
             {"[1]"_ba, ""_ba, R"({"model": )"_ba, "{} // mine"_ba, "{\"a\": \"\xff\"}"_ba,
              R"({"a":)"_ba + deep, R"({"a":)"_ba + deep + QByteArray(deep).replace('[', ']') + '}',
              "{}"_ba + QByteArray(65 << 20, ' ')}) {
            writeFile(m_settings, settings);
            QCOMPARE(connect(), failure);
            QCOMPARE(disconnect(), failure);
            QVERIFY(!m_setup->isConnected());
            QVERIFY(contentsOf(m_settings) == settings);
        }
        QVERIFY(QFile::remove(m_settings));
        QCOMPARE(::mkfifo(QFile::encodeName(m_settings).constData(), 0600), 0);
        QCOMPARE(connect(), failure);
        QCOMPARE(backups(), QStringList());
        QCOMPARE(filesIn(m_support), QStringList());
    }

    void linkedSettingsStayLinked()
    {
        writeFile(m_previous, R"({"command": "stale"})");
        const QString target = m_folder->filePath(u"dotfiles.json"_s);
        writeFile(target, R"({"model": "x"})", 0640);
        QVERIFY(QDir().mkpath(QFileInfo(m_settings).path()));
        QVERIFY(QFile::link(target, m_settings));
        QCOMPARE(connect(), connectedText);
        QVERIFY(QFileInfo(m_settings).isSymLink());
        QVERIFY(jsonObject(contentsOf(target)).contains("statusLine"_L1));
        QCOMPARE(permissionsOf(target), 0640);
        QCOMPARE(disconnect(), noLineText);
        QCOMPARE(jsonObject(contentsOf(target)), jsonObject(R"({"model": "x"})"));
    }

    void failuresLeaveTheSettingsAsTheyWere()
    {
        writeFile(m_settings, R"({"model": "x"})");
        const QByteArray folder = QFile::encodeName(QFileInfo(m_settings).path());
        ::chmod(folder.constData(), 0500);
        QVERIFY(connect().startsWith("failed: Could not write "_L1));
        ::chmod(folder.constData(), 0700);
        QVERIFY(QFile::remove(m_bundled));
        QCOMPARE(connect(),
                 u"failed: The Claude bridge is missing from Vexlo.app. Reinstall Vexlo."_s);
        QCOMPARE(contentsOf(m_settings), R"({"model": "x"})");
    }

    void commandReachesTheBridgeThroughAShell()
    {
        for (const QString& name : {u"Ada Lovelace"_s, u"o'brien \"x\""_s, u"Ünïcode ✓"_s,
                                    u"$HOME `id` \\n;&|*?[a]{b}#!~"_s}) {
            useFolder(name);
            writeFile(m_bundled, "#!/bin/sh\necho bridge reached\n");
            QCOMPARE(connect(), connectedText);
            QVERIFY(m_setup->isConnected());
            QProcess shell;
            shell.start(u"/bin/sh"_s, {u"-c"_s, statusLine()["command"_L1].toString()});
            QVERIFY(shell.waitForFinished());
            QCOMPARE(shell.readAllStandardOutput(), "bridge reached\n");
            QCOMPARE(disconnect(), noLineText);
        }
    }

    void olderBridgeIsReplacedAndWhatStoodBeforeItComesBack()
    {
        writeFile(m_previous, R"({"type": "command", "command": "mine"})");
        writeFile(m_settings,
                  R"({"statusLine": {"type": "command", "command": "python3 )" + m_support.toUtf8()
                      + R"(/claude_bridge.py"}})");
        QVERIFY(m_setup->isConnected());
        m_setup->refreshIfConnected();
        QCOMPARE(statusLine()["command"_L1].toString(), m_bridge);
        QCOMPARE(disconnect(), ownLineText);
        QCOMPARE(statusLine()["command"_L1].toString(), u"mine"_s);
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
    /// Has the support folder in a folder called `name`.
    void useFolder(const QString& name)
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_settings = m_folder->filePath(u".claude/settings.json"_s);
        m_support = m_folder->filePath(name + u"/Gridwell"_s);
        m_bridge = m_support + u"/vexlo-claude-bridge"_s;
        m_previous = m_support + u"/previous-statusline.json"_s;
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

    QJsonObject statusLine() const
    {
        return jsonObject(contentsOf(m_settings))["statusLine"_L1].toObject();
    }

    QStringList backups() const
    {
        const QDir folder(QFileInfo(m_settings).path());
        QStringList paths = folder.entryList({u"settings.json.gridwell-backup-*"_s});
        for (QString& path : paths)
            path = folder.filePath(path);
        return paths;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_settings;
    QString m_support;
    QString m_bridge;
    QString m_previous;
    QString m_bundled;
    std::unique_ptr<ClaudeSetup> m_setup;
};

QTEST_GUILESS_MAIN(ClaudeSetupTest)
#include "ClaudeSetupTest.moc"
