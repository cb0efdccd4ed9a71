#include "platform/PreferenceStore.h"
#include "platform/linux/DesktopCalendarStore.h"
#include "platform/linux/IcsCalendarStore.h"
#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const DateSpan june{Date(std::chrono::sys_days(std::chrono::June / 1 / 2026)),
                    Date(std::chrono::sys_days(std::chrono::July / 1 / 2026))};

QByteArray calendar(const QByteArray& title, const QByteArray& day = "20260602")
{
    return "BEGIN:VCALENDAR\nBEGIN:VEVENT\nSUMMARY:" + title + "\nDTSTART:" + day
        + "T080000Z\nEND:VEVENT\nEND:VCALENDAR\n";
}

/// A store of .ics files that asks again after each change, as its user does.
struct Store {
    explicit Store(const QStringList& folders)
        : store(folders, std::chrono::milliseconds(1))
    {
        store.onChange = [this] { store.fetch(span); };
        store.onEvents = [this](const DateSpan& answered, const QList<CalendarEvent>& events) {
            isAnswered = true;
            titles.clear();
            for (const CalendarEvent& event : events)
                titles.append(event.title + (answered == june ? ""_L1 : "?"_L1));
        };
        store.fetch(span);
    }

    DateSpan span = june;
    bool isAnswered = false;
    QStringList titles;
    IcsCalendarStore store;
};

} // namespace

class IcsCalendarTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_root = m_folder->filePath(u"deep/calendars"_s);
    }

    void filesBelowTheFoldersAreRead()
    {
        writeFile(m_root + "/b.ics"_L1, calendar("b"));
        writeFile(m_root + "/a/deep/c.ICS"_L1, calendar("c"));
        writeFile(m_root + "/late.ics"_L1, calendar("late", "20260702"));
        writeFile(m_root + "/.hidden.ics"_L1, calendar("hidden"));
        writeFile(m_root + "/.git/d.ics"_L1, calendar("git"));
        writeFile(m_root + "/notes.txt"_L1, calendar("text"));
        writeFile(m_root + "/broken.ics"_L1, calendar("broken").chopped(20));
        writeFile(m_root + "/huge.ics"_L1, QByteArray(16 << 20, '\n') + calendar("huge"));
        QVERIFY(QFile::link(m_root, m_root + "/a/circle"_L1));
        QCOMPARE(::mkfifo(QFile::encodeName(m_root + "/pipe.ics"_L1).constData(), 0600), 0);
        Store store({m_root, m_root + "/a"_L1});
        QVERIFY(!store.store.status());
        QTRY_COMPARE(store.titles, (QStringList{u"c"_s, u"b"_s}));
        QCOMPARE(store.store.status(), CalendarAccess::full);
    }

    void changesAreSeen()
    {
        Store store({m_root});
        QTRY_VERIFY(store.isAnswered);
        QCOMPARE(store.store.status(), CalendarAccess::denied);
        const QString file = m_root + "/home/a.ics"_L1;
        writeFile(file, calendar("one")); // with all folders on the way
        QTRY_COMPARE(store.titles, QStringList{u"one"_s});
        QCOMPARE(store.store.status(), CalendarAccess::full);

        QFile open(file);
        QVERIFY(open.open(QIODevice::Append));
        open.write(calendar("two"));
        open.close();
        QTRY_COMPARE(store.titles, (QStringList{u"one"_s, u"two"_s}));

        writeFile(file, calendar("three").chopped(20));
        QTRY_COMPARE(store.titles, QStringList());
        writeFile(m_folder->filePath(u"new"_s), calendar("four"));
        QVERIFY(QFile::remove(file) && QFile::rename(m_folder->filePath(u"new"_s), file));
        QTRY_COMPARE(store.titles, QStringList{u"four"_s});

        QVERIFY(QDir(m_root).removeRecursively());
        QTRY_COMPARE(store.store.status(), CalendarAccess::denied);
        QCOMPARE(store.titles, QStringList());
        writeFile(file, calendar("five"));
        QTRY_COMPARE(store.titles, QStringList{u"five"_s});
    }

    void whatIsKnownOfAFileServesOtherSpansToo()
    {
        writeFile(m_root + "/june.ics"_L1, calendar("june"));
        writeFile(m_root + "/july.ics"_L1, calendar("july", "20260702"));
        Store store({m_root});
        QTRY_COMPARE(store.titles, QStringList{u"june"_s});
        store.span = {june.end, june.end + std::chrono::days(31)};
        store.store.fetch(store.span);
        QTRY_COMPARE(store.titles, QStringList{u"july?"_s});
        store.span = june;
        store.store.fetch(june);
        QTRY_COMPARE(store.titles, QStringList{u"june"_s});
    }

    void whoIsAnsweredMayAskForMore()
    {
        writeFile(m_root + "/june.ics"_L1, calendar("june"));
        writeFile(m_root + "/july.ics"_L1, calendar("july", "20260702"));
        const DateSpan july{june.end, june.end + std::chrono::days(31)};
        IcsCalendarStore store({m_root});
        QStringList told;
        store.onEvents = [&](const DateSpan& span, const QList<CalendarEvent>& events) {
            told.append((span == june ? u"june: "_s : u"july: "_s) + events.value(0).title);
            if (told.size() == 1) {
                store.fetch(july);
                store.fetch(june);
                store.requestAccess([&](bool) { told.append(u"access"_s); });
            }
        };
        store.fetch(june);
        const QStringList expected{u"june: june"_s, u"july: july"_s, u"june: june"_s, u"access"_s};
        QTRY_COMPARE(told.size(), expected.size());
        QCOMPARE(told, expected);
    }

    void filesAreReadWithoutABusAndMayStillBeWhenItEnds()
    {
        writeFile(m_root + "/june.ics"_L1, calendar("june"));
        auto store = std::make_unique<DesktopCalendarStore>(QStringList{m_root});
        QStringList titles;
        store->onEvents = [&](const DateSpan&, const QList<CalendarEvent>& events) {
            for (const CalendarEvent& event : events)
                titles.append(event.title);
        };
        store->fetch(june);
        QTRY_COMPARE(titles, QStringList{u"june"_s});
        QCOMPARE(store->status(), CalendarAccess::full);
        store->fetch({june.end, june.end + std::chrono::days(31)});
        store.reset();
        QCoreApplication::processEvents();
        QCOMPARE(titles, QStringList{u"june"_s});
    }

    void closedStoreSleeps()
    {
        writeFile(m_root + "/a.ics"_L1, calendar("a"));
        Store store({m_root});
        store.store.close();
        QVERIFY(!store.store.status());

        std::optional<bool> granted;
        store.store.requestAccess([&](bool answer) { granted = answer; });
        QVERIFY(!granted);
        QTRY_COMPARE(granted, std::optional(true));
        QVERIFY(!store.isAnswered);
    }

    void foldersComeFromThePreferences()
    {
        PreferenceStore preferences(m_folder->filePath(u"preferences.json"_s));
        qputenv("HOME", "/home/ada");
        qputenv("XDG_DATA_HOME", "/data");
        QCOMPARE(calendarFolders(preferences),
                 (QStringList{u"/data/calendars"_s, u"/home/ada/.calendars"_s}));
        QVERIFY(preferences.setTexts(u"calendarFolders"_s,
                                     {u"~/a/"_s, u"/b"_s, u"relative"_s, u"~ada/c"_s}));
        QCOMPARE(calendarFolders(preferences), (QStringList{u"/home/ada/a"_s, u"/b"_s}));
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_root;
};

QTEST_GUILESS_MAIN(IcsCalendarTest)
#include "IcsCalendarTest.moc"
