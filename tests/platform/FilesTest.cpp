#include "platform/Files.h"

#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Lets no file of this process grow beyond `bytes` while it lives, as a full disk would.
class SmallDisk {
public:
    explicit SmallDisk(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{.rlim_cur = bytes, .rlim_max = m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallDisk() { ::setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before{};
};

} // namespace

class FilesTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_file = m_folder->filePath(u"file"_s);
    }

    void onlyRegularFilesUpToTheLimitAreRead()
    {
        const QByteArray contents(100'000, 'x');
        writeFile(m_file, contents);
        QCOMPARE(readFile(m_file, contents.size()).contents, contents);
        QCOMPARE(readFile(m_file, contents.size() - 1).status, ReadStatus::unfit);
        // Its size is told as 0.
        QVERIFY(readFile(u"/proc/self/status"_s).contents.contains("Name:"));
        ::chmod(QFile::encodeName(m_file).constData(), 0000);
        QCOMPARE(readFile(m_file).status, ReadStatus::denied);
        QCOMPARE(readFile(m_file + u"/below"_s).status, ReadStatus::missing);
        QVERIFY(QFile::remove(m_file));
        QCOMPARE(readFile(m_file).status, ReadStatus::missing);
        QCOMPARE(::mkfifo(QFile::encodeName(m_file).constData(), 0600), 0);
        for (const QString& path : {m_file, m_folder->path(), u"/dev/zero"_s})
            QCOMPARE(readFile(path).status, ReadStatus::unfit);
    }

    void replacedFileHasExactlyTheContentsAndPermissions()
    {
        const mode_t before = ::umask(0077);
        writeFile(m_file, "old and longer", 0600);
        QCOMPARE(replaceFile(m_file, "new", {.permissions = 0644}), ReplaceStatus::replaced);
        QCOMPARE(contentsOf(m_file), "new");
        QCOMPARE(permissionsOf(m_file), 0644);
        ::umask(0000);
        QCOMPARE(replaceFile(m_file, "private"), ReplaceStatus::replaced);
        QCOMPARE(permissionsOf(m_file), 0600);
        ::umask(before);
        QCOMPARE(filesIn(m_folder->path()), QStringList(u"file"_s));
    }

    void linksStayAndTheirTargetIsReplaced()
    {
        QVERIFY(QDir(m_folder->path()).mkdir(u"dotfiles"_s));
        const QString target = m_folder->filePath(u"dotfiles/real"_s);
        QVERIFY(QFile::link(u"dotfiles/real"_s, m_folder->filePath(u"middle"_s)));
        QVERIFY(QFile::link(m_folder->filePath(u"middle"_s), m_file));
        // The link may be there before its file.
        for (const QByteArray& contents : {"first"_ba, "second"_ba}) {
            QCOMPARE(replaceFile(m_file, contents), ReplaceStatus::replaced);
            QVERIFY(QFileInfo(m_file).isSymLink());
            QVERIFY(!QFileInfo(target).isSymLink());
            QCOMPARE(contentsOf(target), contents);
        }
        const QString circle = m_folder->filePath(u"circle"_s);
        QVERIFY(QFile::link(circle, circle));
        QCOMPARE(linkTarget(circle), circle);
    }

    void failuresLeaveTheOldFileAndNothingElse()
    {
        writeFile(m_file, "old");
        {
            const SmallDisk disk(4096);
            QCOMPARE(replaceFile(m_file, QByteArray(8192, 'x')), ReplaceStatus::notWritten);
        }
        QCOMPARE(contentsOf(m_file), "old");
        QCOMPARE(filesIn(m_folder->path()), QStringList(u"file"_s));

        QVERIFY(QDir(m_folder->path()).mkdir(u"folder"_s));
        QCOMPARE(replaceFile(m_folder->filePath(u"folder"_s), "x"), ReplaceStatus::notRenamed);

        ::chmod(QFile::encodeName(m_folder->path()).constData(), 0500);
        QCOMPARE(replaceFile(m_file, "new"), ReplaceStatus::notWritten);
        ::chmod(QFile::encodeName(m_folder->path()).constData(), 0700);
        QCOMPARE(contentsOf(m_file), "old");
    }

    void whatIsWantedNoMoreAtTheLastMomentIsNotReplaced()
    {
        const QString file = m_folder->filePath(u"file"_s);
        writeFile(file, "old");
        QByteArrayList temporaries;
        const auto othersWrote = [&] {
            for (const QString& name : filesIn(m_folder->path())) {
                if (name.endsWith(".tmp"_L1))
                    temporaries.append(contentsOf(m_folder->filePath(name)));
            }
            return false;
        };
        QCOMPARE(replaceFile(file, "new", {.isStillWanted = othersWrote}),
                 ReplaceStatus::notWanted);
        QCOMPARE(temporaries,
                 QByteArrayList{"new"}); // written by then, so that little can come between
        QCOMPARE(contentsOf(file), "old");
        QCOMPARE(filesIn(m_folder->path()), QStringList{u"file"_s});
    }

    void newFoldersArePrivate()
    {
        const QString deep = m_folder->filePath(u"a/b/c"_s);
        QVERIFY(makePrivateFolder(deep));
        QCOMPARE(permissionsOf(deep), 0700);
        QCOMPARE(permissionsOf(m_folder->filePath(u"a"_s)), 0700);
        QVERIFY(makePrivateFolder(deep));
        writeFile(m_file, "");
        QVERIFY(!makePrivateFolder(m_file + u"/below"_s));
        QVERIFY(!makePrivateFolder(m_file));
    }

    void folderLockKeepsOthersOut()
    {
        QVERIFY(!FolderLock(m_file).isHeld());
        {
            const FolderLock first(m_folder->path());
            QVERIFY(first.isHeld());
            QVERIFY(!FolderLock(m_folder->path(), 0ms).isHeld());
        }
        QVERIFY(FolderLock(m_folder->path(), 0ms).isHeld());
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_file;
};

QTEST_GUILESS_MAIN(FilesTest)
#include "FilesTest.moc"
