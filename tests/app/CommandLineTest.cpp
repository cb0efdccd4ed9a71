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
    }

    void senseIsRequired_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("error");
        QTest::newRow("unknown") << QStringList{u"--status"_s, u"--colour"_s}
                                 << u"unknown option --colour"_s;
        QTest::newRow("unknown short") << QStringList{u"-x"_s} << u"unknown option -x"_s;
        QTest::newRow("no option")
            << QStringList{u"status"_s} << u"unexpected argument \"status\""_s;
        QTest::newRow("format") << QStringList{u"--status=xml"_s}
                                << u"--status is text or json, not \"xml\""_s;
        QTest::newRow("two commands")
            << QStringList{u"--status"_s, u"--connect-claude"_s}
            << u"--connect-claude does not go with what stands before it"_s;
        QTest::newRow("demo connects nothing")
            << QStringList{u"--demo"_s, u"--disconnect-claude"_s}
            << u"--demo shows made-up figures and connects nothing"_s;
    }

    void senseIsRequired()
    {
        QFETCH(QStringList, arguments);
        QTEST(CommandLine::parse(arguments).error, "error");
    }

    void optionsOfQtPass()
    {
        const CommandLine line = CommandLine::parse(
            {u"-platform"_s, u"xcb"_s, u"--style=fusion"_s, u"-reverse"_s, u"--status"_s});
        QCOMPARE(line.error, QString());
        QCOMPARE(line.command, Command::status);
    }

    void helpNamesEveryOption()
    {
        for (const QString& option : {u"--status"_s, u"--refresh"_s, u"--demo"_s, u"--version"_s,
                                      u"--connect-claude"_s, u"--disconnect-claude"_s, u"--help"_s})
            QVERIFY(CommandLine::helpText().contains(option));
    }
};

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
