#include "tests/app/TestProgram.h"
#include "tests/support/TestFiles.h"

#include "panel/TodayCardView.h"
#include "panel/UsageCardView.h"
#include "today/NotesCardView.h"

#include <QDir>
#include <QLayout>
#include <QPointer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray claudeSnapshot(int used)
{
    const QByteArray now = QByteArray::number(secondsSince1970(currentDate()), 'f', 3);
    const QByteArray reset = QByteArray::number(secondsSince1970(currentDate()) + 3600, 'f', 0);
    return R"({"context": {}, "observed_at": )" + now
        + R"(, "rate_limits": {"five_hour": {"used_percentage": )" + QByteArray::number(used)
        + R"(, "resets_at": )" + reset + "}}}";
}

} // namespace

class AppDelegateTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir(m_home->path()).mkpath(u"support"_s));
        QVERIFY(QDir(m_home->path()).mkpath(u"bin"_s));
        m_claudeFile = m_home->filePath(u"support/claude-usage.json"_s);
        qputenv("HOME", QFile::encodeName(m_home->path()));
        qputenv("PATH", QFile::encodeName(m_home->filePath(u"bin"_s)) + ":/usr/bin:/bin");
    }

    void recordsAreReadShownAndReadAgain()
    {
        writeFile(m_claudeFile, claudeSnapshot(20));
        writeFile(m_home->filePath(u"support/codex-context.json"_s), "{}");
        Program program(*m_home);
        program.delegate.applicationDidFinishLaunching({.background = true});
        QCOMPARE(program.delegate.usageByID().value(u"claude"_s).windows.value(0).remaining, 80.0);
        QVERIFY(program.statusItem.toolTip.startsWith("Claude: 5-hour 80% left, Reset "_L1));
        QCOMPARE(program.statusItem.title, "Vexlo: "_L1 + program.statusItem.toolTip);
        QCOMPARE(program.statusItem.menu.value(0).label, u"Open Vexlo"_s);
        QCOMPARE(program.statusItem.images.value(0).size(), QSize(22, 22));
        QCOMPARE(program.statusItem.images.value(1).size(), QSize(44, 44));
        QVERIFY(!contentsOf(m_claudeFile).contains("context"));
        QVERIFY(!QFileInfo::exists(m_home->filePath(u"support/codex-context.json"_s)));

        writeFile(m_claudeFile, claudeSnapshot(95));
        program.delegate.refresh();
        QVERIFY(program.statusItem.toolTip.startsWith("Claude: 5-hour 5% left"_L1));
    }

    void clockRunsOnlyWhileThePanelIsOpen()
    {
        writeFile(m_claudeFile, claudeSnapshot(20));
        Program program(*m_home);
        program.delegate.applicationDidFinishLaunching({.background = true});
        QCOMPARE(program.statusItem.imageCount, 1);
        program.delegate.refresh();
        QCOMPARE(program.statusItem.imageCount, 1); // the same picture
        QVERIFY(!program.delegate.driver().isRunning());
        program.delegate.togglePanel();
        QVERIFY(program.delegate.panelWindow().isVisible());
        QVERIFY(program.delegate.driver().isRunning());

        const int before = program.statusItem.imageCount;
        for (int step = 0; step < 50; ++step) // three seconds of the clock
            program.delegate.driver().advanceAnimation();
        const int drawn = program.statusItem.imageCount - before;
        QVERIFY2(drawn > 0 && drawn <= 12, qPrintable(QString::number(drawn)));

        QTest::keyClick(&program.delegate.panelWindow(), Qt::Key_Escape);
        QVERIFY(!program.delegate.panelWindow().isVisible());
        QVERIFY(!program.delegate.driver().isRunning());
    }

    void reducedMotionStandsStill()
    {
        Program program(*m_home, true);
        program.appearance.chosen.reducesMotion = true;
        program.delegate.applicationDidFinishLaunching({.background = true});
        program.delegate.togglePanel();
        const int before = program.statusItem.imageCount;
        for (int step = 0; step < 100; ++step)
            program.delegate.driver().advanceAnimation();
        QCOMPARE(program.statusItem.imageCount, before);
    }

    void cardThatGoesWithinItsOwnKeyIsThereUntilItReturns()
    {
        UsagePanelView panel;
        panel.setServices({{.id = u"calendar"_s, .name = u"Calendar"_s}});
        panel.showCards();
        const QPointer today = panel.findChild<TodayCardView*>();
        bool isThere = false;
        panel.onCalendarNavigate = [&](Date, std::optional<Date>) {
            panel.setServices({{.id = u"claude"_s, .name = u"Claude"_s}});
            panel.showCards();
            isThere = !today.isNull();
        };
        QTest::keyClick(today, Qt::Key_PageUp);
        QVERIFY(isThere);
        QVERIFY(!today->isVisibleTo(&panel));
        QTRY_VERIFY(!today);
    }

    void linesAreTypedOutOnce()
    {
        Program program(*m_home, true);
        CharacterDriver& driver = program.delegate.driver();
        program.delegate.applicationDidFinishLaunching({.background = true});
        QVERIFY(!driver.isSpeaking());
        program.delegate.showPanel();
        auto* panel = program.delegate.panelWindow().findChild<UsagePanelView*>();
        QVERIFY(driver.isSpeaking());
        QCOMPARE(panel->speechRevealCount(), 0);
        const int length = panel->longestSpeech();
        QVERIFY(length > 10);
        for (int step = 0; step < length + 10; ++step)
            driver.advanceSpeech();
        QVERIFY(!driver.isSpeaking()); // and nothing wakes up for it any more
        QVERIFY(panel->speechRevealCount() >= length);
        program.delegate.refresh();
        driver.advanceSpeech();
        QVERIFY(!driver.isSpeaking());

        program.delegate.refreshNow(); // the next line
        QVERIFY(driver.isSpeaking());
        QCOMPARE(panel->speechRevealCount(), 0);
        QCOMPARE(program.preferences.integer(u"characterSpeechRotation"_s), 1);
        driver.setReducedMotion(true);
        program.delegate.refreshNow();
        QVERIFY(!driver.isSpeaking());
        QVERIFY(panel->speechRevealCount() >= panel->longestSpeech());

        program.preferences.setBoolean(u"characterSpeechEnabled"_s, false);
        program.delegate.refresh();
        QCOMPARE(panel->longestSpeech(), 0);
    }

    void lowLimitIsToldOnceInAPeriod()
    {
        writeFile(m_claudeFile, claudeSnapshot(89));
        Program program(*m_home);
        program.delegate.applicationDidFinishLaunching({.background = true});
        QVERIFY(program.notifier.notices.isEmpty());
        writeFile(m_claudeFile, claudeSnapshot(93));
        program.delegate.refreshNow();
        QCOMPARE(program.notifier.notices.size(), 1);
        program.delegate.refresh();
        program.delegate.refresh();
        QCOMPARE(program.notifier.notices.size(), 1);
        QCOMPARE(program.notifier.notices.first().title, u"Claude stamina low"_s);
        QVERIFY(!program.notifier.notices.first().picture.isNull());
        program.notifier.onActivated({});
        QVERIFY(program.delegate.panelWindow().isVisible());
    }

    void systemIsSampledOnlyWhileItIsSeen()
    {
        Program program(*m_home);
        program.delegate.applicationDidFinishLaunching({.background = true});
        program.delegate.showPanel();
        program.delegate.refreshNow();
        QCOMPARE(program.counters.reads, 1); // the one that the first is compared with
        program.delegate.showTab(u"system"_s);
        QCOMPARE(program.delegate.panelWindow().page(), u"system"_s);
        QVERIFY(program.counters.reads > 1);
        const int before = program.counters.reads;
        program.delegate.refreshNow();
        QCOMPARE(program.counters.reads, before + 1);
        program.delegate.showTab(u"usage"_s);
        program.delegate.refreshNow();
        QCOMPARE(program.counters.reads, before + 1);
    }

    void notesStandWhereTheirRowStands()
    {
        writeFile(m_claudeFile, claudeSnapshot(20));
        Program program(*m_home);
        program.registry.setEnabled(u"notes"_s, true);
        program.registry.setTodayOrder({u"claude"_s, u"notes"_s});
        program.delegate.applicationDidFinishLaunching({.background = true});
        QVERIFY(program.delegate.addTask(u"Water the plants"_s));
        program.delegate.showPanel();
        const auto* panel = program.delegate.panelWindow().findChild<UsagePanelView*>();
        const auto* notes = panel->findChild<NotesCardView*>();
        const auto* claude = panel->findChild<UsageCardView*>();
        panel->layout()->activate();
        QVERIFY(notes->isVisible() && notes->y() > claude->y());
        program.registry.setTodayOrder({u"notes"_s, u"claude"_s});
        program.delegate.refresh();
        panel->layout()->activate();
        QVERIFY(notes->y() < claude->y());
        program.registry.setEnabled(u"notes"_s, false);
        program.delegate.refresh();
        QVERIFY(!notes->isVisible());
    }

    void codexIsAskedOnceAtATime()
    {
        // It notes each start and answers when it is let go.
        const QString started = m_home->filePath(u"started"_s);
        const QString letGo = m_home->filePath(u"let-go"_s);
        writeFile(
            m_home->filePath(u"bin/codex"_s),
            "#!/bin/sh\necho x >>\"" + started.toUtf8() + "\"\nmkfifo \"" + letGo.toUtf8()
                + "\"\nread -r line <\"" + letGo.toUtf8()
                + "\"\necho "
                  "'{\"id\":2,\"result\":{\"rateLimits\":{\"primary\":{\"usedPercent\":8}}}}'\n",
            0700);
        Program program(*m_home);
        program.delegate.applicationDidFinishLaunching({.background = true});
        QTRY_VERIFY(QFileInfo::exists(letGo));
        program.delegate.refreshNow();
        program.delegate.refresh();
        writeFile(letGo, "go\n");
        QTRY_COMPARE(program.delegate.usageByID().value(u"codex"_s).windows.size(), 1);
        QCOMPARE(contentsOf(started), "x\n");
        QVERIFY(program.statusItem.toolTip.startsWith("Codex: Short limit 92% left"_L1));
    }

    void demoStartsAndTouchesNothing()
    {
        const QString started = m_home->filePath(u"started"_s);
        writeFile(m_home->filePath(u"bin/codex"_s),
                  "#!/bin/sh\necho x >>\"" + started.toUtf8() + "\"\n", 0700);
        writeFile(m_claudeFile, claudeSnapshot(99));
        {
            Program program(*m_home, true);
            program.delegate.applicationDidFinishLaunching({.background = true});
            program.delegate.refresh();
            program.delegate.refreshNow();
            QCOMPARE(program.delegate.usageByID().value(u"claude"_s).windows.value(0).remaining,
                     64.0);
        }
        QVERIFY(!QFileInfo::exists(started));
        QVERIFY(contentsOf(m_claudeFile).contains("context"));
        QCOMPARE(QDir(m_home->filePath(u"support"_s)).entryList(QDir::Files).size(), 1);
    }

    void menuAndKeysWork()
    {
        Program program(*m_home, true);
        bool hasQuit = false;
        program.delegate.onQuit = [&hasQuit] { hasQuit = true; };
        program.delegate.applicationDidFinishLaunching({.background = true});
        program.statusItem.onMenuEntry(program.statusItem.menu.value(0).id);
        QVERIFY(program.delegate.panelWindow().isVisible());
        program.statusItem.onMenuEntry(program.statusItem.menu.value(0).id);
        QVERIFY(program.delegate.panelWindow().isVisible()); // it opens, it does not toggle
        program.statusItem.onActivated({});
        QVERIFY(!program.delegate.panelWindow().isVisible());
        program.statusItem.onMenuEntry(program.statusItem.menu.constLast().id);
        QVERIFY(hasQuit);
    }

private:
    std::unique_ptr<QTemporaryDir> m_home;
    QString m_claudeFile;
};

QTEST_MAIN(AppDelegateTest)
#include "AppDelegateTest.moc"
