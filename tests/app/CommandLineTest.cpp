#include "app/CommandLine.h"

#include <QTest>

using namespace Qt::StringLiterals;

using Command = CommandLine::Command;

class CommandLineTest : public QObject {
    Q_OBJECT

private slots:
    void optionsAreUnderstood()
    {
        QCOMPARE(CommandLine::parse({}).command, Command::start);
        const CommandLine status = CommandLine::parse({u"--refresh"_s, u"--status=json"_s});
        QCOMPARE(status.error, QString());
        QCOMPARE(status.command, Command::status);
        QVERIFY(status.json && status.refresh && !status.demo);
        QVERIFY(!CommandLine::parse({u"--status"_s, u"--demo"_s}).json);
        QCOMPARE(CommandLine::parse({u"--connect-claude"_s}).command, Command::connectClaude);
        QCOMPARE(CommandLine::parse({u"--add-task"_s, u"--toggle"_s}).task, u"--toggle"_s);
        QCOMPARE(CommandLine::parse({u"--add-task=a = b"_s}).task, u"a = b"_s);
        QCOMPARE(CommandLine::parse({u"--providers"_s, u"zai,ollama"_s}).providers,
                 (QStringList{u"zai"_s, u"ollama"_s}));
    }

    void senseIsRequired()
    {
        const std::pair<const char*, const char*> rows[]{
            {"--status --colour", "unknown option --colour"},
            {"-x", "unknown option -x"},
            {"--toggle=1", "unknown option --toggle=1"},
            {"--add-task", "--add-task needs something after it"},
            {"status", "unexpected argument \"status\""},
            {"--status=xml", "--status is text or json, not \"xml\""},
            {"--status --connect-claude",
             "--connect-claude does not go with what stands before it"},
            {"--demo --disconnect-claude", "--demo shows made-up figures and connects nothing"},
            {"-platform xcb --style=fusion -reverse --status", ""}, // Qt's own
        };
        for (const auto& [arguments, error] : rows)
            QCOMPARE(CommandLine::parse(QString::fromLatin1(arguments).split(u' ')).error,
                     QString::fromLatin1(error));
    }
};

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
