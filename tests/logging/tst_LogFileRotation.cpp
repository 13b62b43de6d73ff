#include "Append.h"
#include "support/ForgedClock.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>

#include <QtCore/QFile>
#include <QtCore/QScopeGuard>
#include <QtTest/QtTest>

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace {

// What others do at these moments, once.
std::function<void()> gBeforeLock;
std::function<void()> gAfterRename;

int gLockError = 0;
bool gDuplicate = false;
int gDuplicated = -1;

// A file that is due.
void MakeOldFile(const QString& path = kLog)
{
    QVERIFY(Append(path, "old\n"));
    QVERIFY(FileUtilities::SetTime(path, kNow.addDays(-2), FileTimeCreation, false));
}

} // namespace

// Only calls of the log come here: the files of the tests are not locked and renamed by these.
extern "C" Q_DECL_EXPORT int flock(int file, int operation) noexcept
{
    if (gBeforeLock)
        std::exchange(gBeforeLock, nullptr)();
    if (std::exchange(gDuplicate, false))
        gDuplicated = ::fcntl(file, F_DUPFD_CLOEXEC, 0);
    if (gLockError != 0) {
        errno = gLockError;
        return -1;
    }
    return int(::syscall(SYS_flock, file, operation));
}

extern "C" Q_DECL_EXPORT int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                                       unsigned int flags) noexcept
{
    const int result = int(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
    if (gAfterRename)
        std::exchange(gAfterRename, nullptr)();
    return result;
}

class tst_LogFileRotation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestSupport::EnterFreshFolder();
        ForgedClock::Freeze(kNow);
        MakeOldFile();
    }

    void nothingStaysOpen()
    {
        const auto open = [] { return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System); };
        const QStringList before = open();
        for (int i = 0; i < 2; ++i)
            QVERIFY(Append(kLog, "one\n"));
        QVERIFY(QFile::exists(kRotated));
        QCOMPARE(open(), before);
    }

    // The batch that finds the file too old is its last one.
    void together()
    {
        LogFile file(kLog);
        QCOMPARE(AppendTogether(file, {"one\n", "two\n", "three\n"}), (QVector<int>{1, 2}));
        QCOMPARE(LogText::Read(kRotated), QByteArray("old\none\n"));
        QCOMPARE(Log(), kHeader + "two\nthree\n");
    }

    void whatTheFileSaysOfItselfCounts()
    {
        const QString path = QString::fromUtf8("l\xc3\xbcge.log");
        const QString rotated = QString::fromUtf8("l\xc3\xbcge-2024-03-05_14-07-09.log");
        QVERIFY(QFile::rename(kLog, path));
        LogFile file(path);
        QVERIFY(file.Append("one\n"));
        QCOMPARE(LogText::Read(rotated), QByteArray("old\none\n"));
        QCOMPARE(LogText::Read(path), "2024-03-05 14:07:09.042continued from " + rotated.toUtf8() + '\n');
        QCOMPARE(FileUtilities::GetTime(path, FileTimeCreation, false), kNow);
        QVERIFY(QFile::remove(rotated) && FileUtilities::SetTime(path, kNow.addDays(-2), FileTimeCreation, false));
        QVERIFY(file.Append("two\n"));
        QVERIFY(LogText::Read(rotated).endsWith("\ntwo\n"));
    }

    // Somebody else is at it.
    void lockedFileIsLeftToWhoHasTheLock()
    {
        const int other = ::open("a.log", O_RDONLY | O_CLOEXEC);
        QCOMPARE(::flock(other, LOCK_EX), 0);
        LogFile file(kLog);
        QVERIFY(file.Append("one\n"));
        QCOMPARE(Log(), QByteArray("old\none\n"));
        ::close(other);
        QVERIFY(file.Append("two\n"));
        QCOMPARE(LogText::Read(kRotated), QByteArray("old\none\ntwo\n"));
    }

    // A copy of the process has what was open as well, and the lock with it.
    void lockEndsWithTheRotation()
    {
        MakeOldFile(kRotated); // so that the file stays the same
        gDuplicate = true;
        const auto close = qScopeGuard([] { ::close(std::exchange(gDuplicated, -1)); });
        QVERIFY(Append(kLog, "one\n"));
        QVERIFY(gDuplicated >= 0);
        const int other = ::open("a.log", O_RDONLY | O_CLOEXEC);
        QCOMPARE(::flock(other, LOCK_EX | LOCK_NB), 0);
        ::close(other);
    }

    void withoutLocksItGoesOn()
    {
        gLockError = ENOLCK;
        QVERIFY(Append(kLog, "one\n"));
        gLockError = 0;
        QCOMPARE(LogText::Read(kRotated), QByteArray("old\none\n"));
    }

    // What another process does between the batch and the rotation: this is the last moment.
    void anotherWasFaster_data()
    {
        QTest::addColumn<QString>("rotated");
        QTest::addColumn<QByteArray>("log");
        QTest::newRow("and moved the file") << QStringLiteral("other.log") << QByteArray("new\n");
        QTest::newRow("and moved it for good") << QStringLiteral("other.log") << QByteArray();
        QTest::newRow("and emptied it") << QString() << QByteArray("new\n");
    }
    void anotherWasFaster()
    {
        QFETCH(QString, rotated);
        QFETCH(QByteArray, log);
        gBeforeLock = [&] {
            if (rotated.isEmpty())
                QVERIFY(QFile::resize(kLog, 0));
            else
                QVERIFY(QFile::rename(kLog, rotated));
            if (!log.isEmpty()) {
                QFile file(kLog);
                QVERIFY(file.open(QIODevice::Append) && file.write(log) == log.size());
                file.close();
                QVERIFY(FileUtilities::SetTime(kLog, kNow, FileTimeCreation, false));
            }
        };
        QVERIFY(Append(kLog, "one\n"));
        QCOMPARE(LogText::Read(rotated), rotated.isEmpty() ? QByteArray() : QByteArray("old\none\n"));
        QCOMPARE(Log(), log);
        QVERIFY(!QFile::exists(kRotated));
    }

    void whatAnotherWroteIntoTheNewFileStays()
    {
        gAfterRename = [&] { QVERIFY(Append(kLog, "another's\n")); };
        QVERIFY(Append(kLog, "one\n"));
        QCOMPARE(Log(), "another's\n" + kHeader);
    }

    void linkThatComesMeanwhileIsNotFollowed()
    {
        QVERIFY(Append(QStringLiteral("precious"), "precious\n"));
        gAfterRename = [] { QVERIFY(QFile::link(QStringLiteral("precious"), kLog)); };
        QVERIFY(Append(kLog, "one\n"));
        QCOMPARE(LogText::Read(QStringLiteral("precious")), QByteArray("precious\n"));
    }

    // A file that cannot be moved is emptied, and not another that comes into its place: one of another program that
    // has moved the log itself, or a second name of somebody's file.
    void fileThatComesMeanwhileIsNotEmptied()
    {
        QVERIFY(Append(kRotated, "taken\n"));
        gAfterRename = [] {
            QVERIFY(QFile::rename(kLog, QStringLiteral("moved.log")));
            QVERIFY(Append(kLog, "of another\n"));
        };
        QVERIFY(Append(kLog, "one\n"));
        QCOMPARE(Log(), QByteArray("of another\n"));
        QVERIFY(LogText::Read(QStringLiteral("moved.log")).endsWith("one\n"));
    }
};

NEROLT_TEST_MAIN(tst_LogFileRotation)

#include "tst_LogFileRotation.moc"
