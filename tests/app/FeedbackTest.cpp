#include "app/Feedback.h"

#include "platform/linux/OpenWith.h"
#include "tests/support/TestFiles.h"

#include <QSysInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QUrlQuery>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const BuildInfo build{u"0.1.0"_s, u"123"_s, u"beta+vexlo@example.org"_s};

} // namespace

class FeedbackTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_folder.filePath(u"data"_s)));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_folder.filePath(u"config"_s)));
        qputenv("BROWSER", "false"); // the last resort
        m_record = m_folder.filePath(u"record"_s);
    }

    void detailsAreThreeLines()
    {
        const QStringList lines = Feedback::systemDetails(build).split(u'\n');
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines.at(0), u"Vexlo 0.1.0 (123)"_s);
        QVERIFY(lines.at(1).endsWith(", kernel "_L1 + QSysInfo::kernelVersion()));
        QCOMPARE(lines.at(2), "Chip: "_L1 + QSysInfo::currentCpuArchitecture());
    }

    void withoutAnAddressTheAlertSaysWhatToInclude()
    {
        const BuildInfo without{u"0.1.0"_s, u"123"_s, {}};
        QCOMPARE(Feedback::mailURL(without), std::nullopt);
        QCOMPARE(Feedback::alert(without).informativeText,
                 "This build has no feedback address. Include:\n\n"_L1
                     + Feedback::systemDetails(without));
        QCOMPARE(Feedback::alert(build).informativeText,
                 "Write to beta+vexlo@example.org and include:\n\n"_L1
                     + Feedback::systemDetails(build));
    }

    void theDraftReachesTheMailProgramUnchanged()
    {
        installMailProgram();
        QCOMPARE(opened(*Feedback::mailURL(build)), u"open"_s);
        QTRY_VERIFY(!contentsOf(m_record).isEmpty());

        const QByteArray address = contentsOf(m_record);
        const QByteArray start = "mailto:beta%2Bvexlo@example.org?subject=Vexlo%20beta%20feedback"
                                 "&body=What%20happened%3F%0A%0A%0AWhat%20did%20you%20expect%3F";
        QVERIFY2(address.startsWith(start), address);
        const QUrlQuery query(QUrl::fromEncoded(address));
        QCOMPARE(
            query.queryItemValue(u"body"_s, QUrl::FullyDecoded),
            "What happened?\n\n\nWhat did you expect?\n\n\nSteps to see it again:\n\n\n---\n"_L1
                + Feedback::systemDetails(build)
                + "\nIf Vexlo quit unexpectedly, please attach the newest file starting with "
                  "\"Vexlo\" from\nSettings > About > Show Crash Reports."_L1);
    }

    void failuresAreTold_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<int>("patience");
        QTest::addColumn<QString>("outcome");
        const QString folder = m_folder.path();
        writeFile(folder + "/slow"_L1, "#!/bin/sh\nexec sleep 20\n", 0700);
        writeFile(folder + "/bad"_L1, "#!/bin/sh\nexit 4\n", 0700);
        QTest::newRow("nobody opens such") << u"xdg-open"_s << 20'000 << u"failed"_s;
        QTest::newRow("no opener") << u"no-such-program"_s << 20'000 << u"failed"_s;
        QTest::newRow("opener fails") << folder + "/bad"_L1 << 20'000 << u"failed"_s;
        QTest::newRow("opener takes its time") << folder + "/slow"_L1 << 1 << u"open"_s;
    }

    void failuresAreTold()
    {
        QFETCH(QString, program);
        QFETCH(int, patience);
        OpenWith opener(program, std::chrono::milliseconds(patience));
        QTEST(opened(QUrl(u"appstream://dev.gridwell.Vexlo"_s), opener), "outcome");
    }

private:
    /// Makes a program that records what it is given the user's own for mail.
    void installMailProgram()
    {
        const QByteArray type = "x-scheme-handler/mailto";
        const QString program = m_folder.filePath(u"handler"_s);
        writeFile(program, "#!/bin/sh\nprintf %s \"$1\" >'" + m_record.toUtf8() + "'\n", 0700);
        writeFile(m_folder.filePath(u"data/applications/handler.desktop"_s),
                  "[Desktop Entry]\nType=Application\nName=Handler\nExec=" + program.toUtf8()
                      + " %u\nMimeType=" + type + ";\n");
        writeFile(m_folder.filePath(u"config/mimeapps.list"_s),
                  "[Default Applications]\n" + type + "=handler.desktop\n");
    }

    static QString opened(const QUrl& address, OpenWith& opener)
    {
        std::optional<bool> result;
        opener.open(address, [&result](bool isOpen) { result = isOpen; });
        (void)QTest::qWaitFor([&] { return result.has_value(); }, 30'000);
        if (!result)
            return u"nothing was told"_s;
        return *result ? u"open"_s : u"failed"_s;
    }

    static QString opened(const QUrl& address)
    {
        OpenWith opener;
        return opened(address, opener);
    }

    QTemporaryDir m_folder;
    QString m_record;
};

QTEST_GUILESS_MAIN(FeedbackTest)
#include "FeedbackTest.moc"
