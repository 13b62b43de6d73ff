#include "logging/Descriptor.h"
#include "logging/LogFile.h"
#include "logging/Rotation.h"
#include "support/ForgedClock.h"
#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QScopeGuard>
#include <QtCore/QThread>
#include <QtCore/QVector>
#include <QtTest/QtTest>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

// What others do at these moments, once.
std::function<void()> gBeforeLock;
std::function<void()> gAfterRename;

int gLockError = 0;
int gOpenInterrupts = 0; ///< so often a signal comes first
int gWriteInterrupts = 0;
QVector<int> gPatience; ///< with which pipes were waited for
int gSignals = 0; ///< that come while a pipe is waited for
bool gDuplicate = false;
int gDuplicated = -1;

int OpenDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System)
        .size();
}

bool Append(const QString& path, const QByteArray& bytes)
{
    return LogFile(path).Append(bytes);
}

// What waits together. Calls until all are done with, and says how many were each time.
QVector<int> AppendTogether(LogFile& file, const QList<QByteArray>& batches)
{
    QByteArray bytes;
    std::vector<LogBatches::Batch> sizes;
    for (const QByteArray& batch : batches) {
        bytes += batch;
        sizes.insert(sizes.begin(), {batch.size(), {}});
    }
    QVector<int> done;
    const char* from = bytes.constData();
    for (int left = batches.size(); left > 0; left -= done.last()) {
        done += file.Append({from, &sizes[size_t(left - 1)], left}).iBatches;
        for (int i = 0; i < done.last(); ++i)
            from += sizes[size_t(left - 1 - i)].iSize;
    }
    return done;
}

// Reads a pipe until its writers are gone, after a while. There must be one by then.
std::thread SlowReader(const QByteArray& pipe, QByteArray& read)
{
    const int reader = ::open(pipe.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    return std::thread([reader, &read] {
        QThread::msleep(200);
        ::fcntl(reader, F_SETFL, 0); // waits for more from now on
        char some[1000];
        for (ssize_t size = 0; (size = ::read(reader, some, sizeof(some))) > 0;) {
            read.append(some, int(size));
            QThread::usleep(50);
        }
        ::close(reader);
    });
}

QDateTime Now()
{
    return QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9, 42));
}

// A file that is due when the clock stands at Now().
void MakeOldFile(const QString& path)
{
    QVERIFY(Append(path, "old\n"));
    QVERIFY(FileUtilities::SetTime(path, Now().addDays(-2), FileTimeCreation, false));
}

} // namespace

// Only calls of the log come here: the files of the tests are not locked and renamed by these.
extern "C" Q_DECL_EXPORT int flock(int file, int operation) noexcept
{
    if (gBeforeLock)
        std::exchange(gBeforeLock, nullptr)();
    if (gDuplicate) {
        gDuplicate = false;
        gDuplicated = ::fcntl(file, F_DUPFD_CLOEXEC, 0);
    }
    if (gLockError != 0) {
        errno = gLockError;
        return -1;
    }
    return int(::syscall(SYS_flock, file, operation));
}

extern "C" Q_DECL_EXPORT int open(const char* name, int flags, ...)
{
    if (gOpenInterrupts > 0) {
        --gOpenInterrupts;
        errno = EINTR;
        return -1;
    }
    return int(::syscall(SYS_openat, AT_FDCWD, name, flags, 0666));
}

extern "C" Q_DECL_EXPORT ssize_t write(int file, const void* bytes, size_t size)
{
    if (gWriteInterrupts > 0) {
        --gWriteInterrupts;
        errno = EINTR;
        return -1;
    }
    return ::syscall(SYS_write, file, bytes, size);
}

// As the system declares it, which tells compilers that nothing is read there.
struct pollfd
{
    int iDescriptor;
    short iEvents;
    short iFound;
};

extern "C" Q_DECL_EXPORT int poll(pollfd* files, unsigned long count, int timeoutMs)
{
    constexpr short toWrite = 4;
    if (count == 1 && files->iEvents == toWrite)
        gPatience += timeoutMs;
    if (gSignals > 0) {
        --gSignals;
        errno = EINTR;
        return -1;
    }
    const timespec timeout = {timeoutMs / 1000, timeoutMs % 1000 * 1000000L};
    return int(::syscall(SYS_ppoll, files, count, timeoutMs < 0 ? nullptr : &timeout, nullptr, 0));
}

extern "C" Q_DECL_EXPORT int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                                       unsigned int flags) noexcept
{
    const int result = int(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
    if (gAfterRename)
        std::exchange(gAfterRename, nullptr)();
    return result;
}

class tst_LogFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QDir scratch(TestSupport::Scratch());
        for (const QFileInfo& entry : scratch.entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System)) {
            if (entry.isDir() && !entry.isSymLink())
                QVERIFY(QDir(entry.filePath()).removeRecursively());
            else
                QVERIFY(QFile::remove(entry.filePath()));
        }
    }
    void cleanup() { ForgedClock::Release(); }

    void appendCreatesAndAppends()
    {
        QVERIFY(Append(QStringLiteral("a.log"), "one\n"));
        QVERIFY(Append(QStringLiteral("a.log"), "three\n"));
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("one\nthree\n"));
    }

    void appendOfNothingCreatesTheFile()
    {
        QVERIFY(Append(QStringLiteral("a.log"), QByteArray()));
        QVERIFY(QFile::exists(QStringLiteral("a.log")));
    }

    void appendGoesBehindWhatAnotherWrote()
    {
        Append(QStringLiteral("a.log"), "one\n");
        QFile other(QStringLiteral("a.log"));
        QVERIFY(other.open(QIODevice::Append | QIODevice::Unbuffered));
        other.write("other\n");
        QVERIFY(Append(QStringLiteral("a.log"), "two\n"));
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("one\nother\ntwo\n"));
    }

    void bytesStayAsTheyAre()
    {
        QByteArray all;
        for (int i = 0; i < 256; ++i)
            all += char(i);
        QVERIFY(Append(QStringLiteral("a.log"), all));
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), all);
    }

    void permissionsFollowTheUmask()
    {
        const mode_t before = ::umask(027);
        const auto restore = qScopeGuard([before] { ::umask(before); });
        Append(QStringLiteral("a.log"), "one\n");
        struct stat status = {};
        QCOMPARE(::stat("a.log", &status), 0);
        QCOMPARE(int(status.st_mode & 07777), 0640);
    }

    void cannotBeOpened_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("empty name") << QString();
        QTest::newRow("folder missing") << QStringLiteral("missing/a.log");
        QTest::newRow("a folder") << QStringLiteral("folder");
        QTest::newRow("a file as folder") << QStringLiteral("file/a.log");
        QTest::newRow("NUL in the name") << QStringLiteral("file") + QChar(0) + QStringLiteral("x");
        QTest::newRow("name too long") << QString(300, QLatin1Char('n'));
        QTest::newRow("pipe without a reader") << QStringLiteral("pipe");
    }
    void cannotBeOpened()
    {
        QFETCH(QString, path);
        QVERIFY(QDir().mkdir(QStringLiteral("folder")));
        QVERIFY(Append(QStringLiteral("file"), QByteArray()));
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        const int before = OpenDescriptors();
        QVERIFY(!Append(path, "one\n"));
        QCOMPARE(OpenDescriptors(), before);
        QCOMPARE(LogText::Read(QStringLiteral("file")), QByteArray());
    }

    void leavesNothingOpen()
    {
        const int before = OpenDescriptors();
        Append(QStringLiteral("a.log"), "one\n");
        QCOMPARE(OpenDescriptors(), before);
        MakeOldFile(QStringLiteral("a.log"));
        ForgedClock::Freeze(Now());
        Append(QStringLiteral("a.log"), "two\n");
        QVERIFY(QFile::exists(QStringLiteral("a-2024-03-05_14-07-09.log")));
        QCOMPARE(OpenDescriptors(), before);
    }

    // It comes to itself within the time that is waited for it.
    void slowReaderOfAPipeGetsEverything()
    {
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        QList<QByteArray> batches;
        for (int i = 0; i < 40; ++i)
            batches += QByteArray(4999 + i, char('a' + i % 26)) + '\n';
        QByteArray read;
        std::thread reader = SlowReader("pipe", read);
        const int keepsItOpen = ::open("pipe", O_WRONLY | O_CLOEXEC);
        LogFile file(QStringLiteral("pipe"));
        QCOMPARE(AppendTogether(file, batches), QVector<int>{40});
        ::close(keepsItOpen);
        reader.join();
        QVERIFY(read == batches.join());
    }

    void halfALineIsTakenBackUnlessSomebodyWroteBehindIt()
    {
        const Descriptor file("a.log");
        QCOMPARE(file.Write("line\nhalf", 9, 0), qint64(9));
        file.TakeBack(4);
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("line\n"));
        QCOMPARE(file.Write("half", 4, 0), qint64(4));
        QVERIFY(Append(QStringLiteral("a.log"), "another's\n"));
        file.TakeBack(4);
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("line\nhalfanother's\n"));
    }

    void signalsDoNotEndTheWaitForAReader()
    {
        constexpr int times = 3;
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        QByteArray read;
        std::thread reader = SlowReader("pipe", read);
        const int keepsItOpen = ::open("pipe", O_WRONLY | O_CLOEXEC);
        const QByteArray lines = (QByteArray(99, 'x') + '\n').repeated(3000);
        gPatience.clear();
        gSignals = times;
        QVERIFY(Append(QStringLiteral("pipe"), lines));
        ::close(keepsItOpen);
        reader.join();
        QVERIFY(read == lines);
        QCOMPARE(gSignals, 0);
        QVERIFY(gPatience.size() > times);
        for (int i = 1; i <= times; ++i)
            QVERIFY2(gPatience.at(i) <= gPatience.at(i - 1), QByteArray::number(gPatience.at(i)));
    }

    void readerThatStandsGetsWholeLinesAndIsWaitedForOnce()
    {
        constexpr int lines = 3000;
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        const int reader = ::open("pipe", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        QVERIFY(reader >= 0);
        const auto close = qScopeGuard([reader] { ::close(reader); });
        const QByteArray line = QByteArray(99, 'x') + '\n';
        const QByteArray much = line.repeated(lines);
        gPatience.clear();
        LogFile file(QStringLiteral("pipe"));
        for (int i = 0; i < 3; ++i)
            QCOMPARE(AppendTogether(file, {much, line}), (QVector<int>{1, 1}));
        QCOMPARE(gPatience, (QVector<int>{1000, 0, 0, 0, 0, 0}));
        QByteArray read(2 * much.size(), Qt::Uninitialized);
        read.truncate(int(::read(reader, read.data(), size_t(read.size()))));
        QVERIFY2(read.size() > 0 && read.size() < much.size(), QByteArray::number(read.size()));
        QVERIFY(read == line.repeated(read.size() / line.size()));
        // It reads again, and so it is waited for again.
        gPatience.clear();
        QCOMPARE(AppendTogether(file, {line}), QVector<int>{1});
        QCOMPARE(AppendTogether(file, {much}), QVector<int>{1});
        QCOMPARE(gPatience, QVector<int>{1000});
    }

    void lineLongerThanAPipeTakesAtOnce()
    {
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        QByteArray read;
        std::thread reader = SlowReader("pipe", read);
        const int keepsItOpen = ::open("pipe", O_WRONLY | O_CLOEXEC);
        const QByteArray lines = "short\n" + QByteArray(200000, 'x') + "\nshort\nno end";
        QVERIFY(Append(QStringLiteral("pipe"), lines));
        ::close(keepsItOpen);
        reader.join();
        QVERIFY(read == lines);
    }

    void signalsInterruptNothing()
    {
        gOpenInterrupts = gWriteInterrupts = 3;
        const bool isOpen = Append(QStringLiteral("a.log"), "one\n");
        const int left = std::exchange(gOpenInterrupts, 0) + std::exchange(gWriteInterrupts, 0);
        QVERIFY(isOpen);
        QCOMPARE(left, 0);
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("one\n"));
    }

    // Another process that has a lease on the file is asked for it, and takes its time.
    void leaseIsWaitedFor_data()
    {
        QTest::addColumn<int>("lease");
        QTest::newRow("for reading") << F_RDLCK;
        QTest::newRow("for writing") << F_WRLCK;
    }
    void leaseIsWaitedFor()
    {
        QFETCH(int, lease);
        QVERIFY(Append(QStringLiteral("a.log"), "one\n"));
        const auto before = std::signal(SIGIO, SIG_IGN);
        const auto restore = qScopeGuard([before] { std::signal(SIGIO, before); });
        const int holder = ::open("a.log", (lease == F_RDLCK ? O_RDONLY : O_RDWR) | O_CLOEXEC);
        if (::fcntl(holder, F_SETLEASE, lease) != 0) {
            const int error = errno;
            ::close(holder);
            // Network file systems and some of those in user space grant none, so that there is nothing to wait for.
            QVERIFY2(error == EINVAL || error == EOPNOTSUPP, std::strerror(error));
            QSKIP("the file system of the temporary folder grants no leases", 0);
        }
        std::thread gives([holder] {
            QThread::msleep(100);
            ::fcntl(holder, F_SETLEASE, F_UNLCK);
        });
        QVERIFY(Append(QStringLiteral("a.log"), "two\n"));
        gives.join();
        ::close(holder);
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("one\ntwo\n"));
    }

    void togetherUpToTheBatchThatMakesTheFileTooLarge_data()
    {
        QTest::addColumn<int>("room");
        QTest::addColumn<QVector<int>>("done");
        QTest::newRow("all fit") << 60 << QVector<int>{6};
        QTest::newRow("the last one crosses") << 59 << QVector<int>{6};
        QTest::newRow("up to the limit is not beyond it") << 50 << QVector<int>{6};
        QTest::newRow("the fourth crosses") << 39 << QVector<int>{4, 2};
        QTest::newRow("the fourth is the first beyond") << 30 << QVector<int>{4, 2};
        QTest::newRow("the first crosses") << 9 << QVector<int>{1, 5};
        QTest::newRow("nothing fits") << 0 << QVector<int>{1, 5};
    }
    void togetherUpToTheBatchThatMakesTheFileTooLarge()
    {
        QFETCH(int, room);
        QFETCH(QVector<int>, done);
        ForgedClock::Freeze(Now());
        const qint64 before = Rotation::kMaxBytes - room;
        QVERIFY(Append(QStringLiteral("a.log"), QByteArray()));
        QVERIFY(QFile::resize(QStringLiteral("a.log"), before));
        QList<QByteArray> batches;
        for (int i = 0; i < 6; ++i)
            batches += QByteArray::number(i) + "23456789\n"; // ten bytes
        LogFile file(QStringLiteral("a.log"));
        QCOMPARE(AppendTogether(file, batches), done);
        const QString rotated = QStringLiteral("a-2024-03-05_14-07-09.log");
        const bool isRotated = 60 > room;
        QCOMPARE(QFile::exists(rotated), isRotated);
        const QByteArray header = "2024-03-05 14:07:09.042continued from " + rotated.toUtf8() + '\n';
        QFile old(isRotated ? rotated : QStringLiteral("a.log"));
        QVERIFY(old.open(QIODevice::ReadOnly) && old.seek(before));
        QCOMPARE(old.readAll(), batches.mid(0, done.first()).join());
        if (isRotated)
            QCOMPARE(LogText::Read(QStringLiteral("a.log")), header + batches.mid(done.first()).join());
    }

    void togetherInAFileThatIsTooOld()
    {
        MakeOldFile(QStringLiteral("a.log"));
        ForgedClock::Freeze(Now());
        LogFile file(QStringLiteral("a.log"));
        QCOMPARE(AppendTogether(file, {"one\n", "two\n", "three\n"}), (QVector<int>{1, 2}));
        QCOMPARE(LogText::Read(QStringLiteral("a-2024-03-05_14-07-09.log")), QByteArray("old\none\n"));
        QVERIFY(LogText::Read(QStringLiteral("a.log")).endsWith(".log\ntwo\nthree\n"));
    }

    void togetherWithoutAFolder()
    {
        LogFile file(QStringLiteral("missing/a.log"));
        QCOMPARE(AppendTogether(file, {"one\n", "two\n"}), (QVector<int>{1, 1}));
    }

    // Of the batch that does not fit whole lines are kept, and the next one is tried.
    void togetherOnAFullDisk_data()
    {
        QTest::addColumn<int>("room");
        QTest::addColumn<QVector<int>>("done");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("nothing") << 0 << QVector<int>{1, 1, 1} << QByteArray();
        QTest::newRow("half a line") << 2 << QVector<int>{1, 1, 1} << QByteArray();
        QTest::newRow("half a batch") << 5 << QVector<int>{1, 1, 1} << QByteArray("1a\n");
        QTest::newRow("one batch") << 6 << QVector<int>{2, 1} << QByteArray("1a\n1b\n");
        QTest::newRow("a line more") << 10 << QVector<int>{2, 1} << QByteArray("1a\n1b\n2a\n");
        QTest::newRow("all but a byte") << 17 << QVector<int>{3} << QByteArray("1a\n1b\n2a\n2b\n3a\n");
        QTest::newRow("all") << 18 << QVector<int>{3} << QByteArray("1a\n1b\n2a\n2b\n3a\n3b\n");
    }
    void togetherOnAFullDisk()
    {
        QFETCH(int, room);
        QFETCH(QVector<int>, done);
        QFETCH(QByteArray, text);
        const auto signal = std::signal(SIGXFSZ, SIG_IGN);
        rlimit before = {};
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit = {rlim_t(room), before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        LogFile file(QStringLiteral("a.log"));
        const QVector<int> found = AppendTogether(file, {"1a\n1b\n", "2a\n2b\n", "3a\n3b\n"});
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, signal);
        QCOMPARE(found, done);
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), text);
    }

    void rotation()
    {
        const QString path = QString::fromUtf8("l\xc3\xbcge.log");
        MakeOldFile(path);
        ForgedClock::Freeze(Now());
        LogFile file(path);
        QVERIFY(file.Append("one\n"));
        const QString rotated = QString::fromUtf8("l\xc3\xbcge-2024-03-05_14-07-09.log");
        QCOMPARE(LogText::Read(rotated), QByteArray("old\none\n"));
        QCOMPARE(LogText::Read(path), "2024-03-05 14:07:09.042continued from " + rotated.toUtf8() + "\n");
        QCOMPARE(FileUtilities::GetTime(path, FileTimeCreation, false), Now());
        // What the file says of itself counts.
        QVERIFY(QFile::remove(rotated) && FileUtilities::SetTime(path, Now().addDays(-2), FileTimeCreation, false));
        QVERIFY(file.Append("two\n"));
        QVERIFY(LogText::Read(rotated).endsWith("\ntwo\n"));
    }

    // Somebody else is at it.
    void lockedFileIsLeftToWhoHasTheLock()
    {
        MakeOldFile(QStringLiteral("a.log"));
        ForgedClock::Freeze(Now());
        const int other = ::open("a.log", O_RDONLY | O_CLOEXEC);
        QCOMPARE(::flock(other, LOCK_EX), 0);
        LogFile file(QStringLiteral("a.log"));
        QVERIFY(file.Append("one\n"));
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), QByteArray("old\none\n"));
        ::close(other);
        QVERIFY(file.Append("two\n"));
        QCOMPARE(LogText::Read(QStringLiteral("a-2024-03-05_14-07-09.log")), QByteArray("old\none\ntwo\n"));
    }

    // A copy of the process has what was open as well, and the lock with it.
    void lockEndsWithTheRotation()
    {
        MakeOldFile(QStringLiteral("a.log"));
        MakeOldFile(QStringLiteral("a-2024-03-05_14-07-09.log")); // so that the file stays the same
        ForgedClock::Freeze(Now());
        gDuplicate = true;
        const auto close = qScopeGuard([] { ::close(std::exchange(gDuplicated, -1)); });
        QVERIFY(Append(QStringLiteral("a.log"), "one\n"));
        QVERIFY(gDuplicated >= 0);
        const int other = ::open("a.log", O_RDONLY | O_CLOEXEC);
        QCOMPARE(::flock(other, LOCK_EX | LOCK_NB), 0);
        ::close(other);
    }

    void withoutLocksItGoesOn()
    {
        MakeOldFile(QStringLiteral("a.log"));
        ForgedClock::Freeze(Now());
        gLockError = ENOLCK;
        QVERIFY(Append(QStringLiteral("a.log"), "one\n"));
        gLockError = 0;
        QCOMPARE(LogText::Read(QStringLiteral("a-2024-03-05_14-07-09.log")), QByteArray("old\none\n"));
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
        const QString path = QStringLiteral("a.log");
        MakeOldFile(path);
        ForgedClock::Freeze(Now());
        gBeforeLock = [&] {
            if (rotated.isEmpty())
                QVERIFY(QFile::resize(path, 0));
            else
                QVERIFY(QFile::rename(path, rotated));
            if (!log.isEmpty()) {
                QFile file(path);
                QVERIFY(file.open(QIODevice::Append) && file.write(log) == log.size());
                file.close();
                QVERIFY(FileUtilities::SetTime(path, Now(), FileTimeCreation, false));
            }
        };
        QVERIFY(Append(path, "one\n"));
        QCOMPARE(LogText::Read(rotated), rotated.isEmpty() ? QByteArray() : QByteArray("old\none\n"));
        QCOMPARE(LogText::Read(path), log);
        QVERIFY(!QFile::exists(QStringLiteral("a-2024-03-05_14-07-09.log")));
    }

    void whatAnotherWroteIntoTheNewFileStays()
    {
        const QString path = QStringLiteral("a.log");
        MakeOldFile(path);
        ForgedClock::Freeze(Now());
        gAfterRename = [&] { QVERIFY(Append(path, "another's\n")); };
        QVERIFY(Append(path, "one\n"));
        QCOMPARE(LogText::Read(path),
                 QByteArray("another's\n2024-03-05 14:07:09.042continued from a-2024-03-05_14-07-09.log\n"));
    }

    void linkThatComesMeanwhileIsNotFollowed()
    {
        const QString path = QStringLiteral("a.log");
        MakeOldFile(path);
        QVERIFY(Append(QStringLiteral("precious"), "precious\n"));
        ForgedClock::Freeze(Now());
        gAfterRename = [] { QVERIFY(QFile::link(QStringLiteral("precious"), QStringLiteral("a.log"))); };
        QVERIFY(Append(path, "one\n"));
        QCOMPARE(LogText::Read(QStringLiteral("precious")), QByteArray("precious\n"));
    }

    // A file that cannot be moved is emptied, and not another that comes into its place: one of another program that
    // has moved the log itself, or a second name of somebody's file.
    void fileThatComesMeanwhileIsNotEmptied()
    {
        const QString path = QStringLiteral("a.log");
        MakeOldFile(path);
        ForgedClock::Freeze(Now());
        QVERIFY(Append(QStringLiteral("a-2024-03-05_14-07-09.log"), "taken\n"));
        gAfterRename = [] {
            QVERIFY(QFile::rename(QStringLiteral("a.log"), QStringLiteral("moved.log")));
            QVERIFY(Append(QStringLiteral("a.log"), "of another\n"));
        };
        QVERIFY(Append(path, "one\n"));
        QCOMPARE(LogText::Read(path), QByteArray("of another\n"));
        QVERIFY(LogText::Read(QStringLiteral("moved.log")).endsWith("one\n"));
    }

    // What a full disk does: the write is short, then it fails.
    void limitOfTheFileSizeTakesWholeLines_data()
    {
        QTest::addColumn<QByteArray>("batch");
        QTest::addColumn<QByteArray>("kept");
        QTest::newRow("second line cut") << QByteArray("one\nseconds\n") << QByteArray("one\n");
        QTest::newRow("only a line feed wanting") << QByteArray("one\nsecond\n") << QByteArray("one\n");
        QTest::newRow("cut between lines") << QByteArray("one\nthree\nfour\n") << QByteArray("one\nthree\n");
        QTest::newRow("first line cut") << QByteArray("one-and-more\ntwo\n") << QByteArray();
        QTest::newRow("fits") << QByteArray("one\nthree\n") << QByteArray("one\nthree\n");
    }
    void limitOfTheFileSizeTakesWholeLines()
    {
        QFETCH(QByteArray, batch);
        QFETCH(QByteArray, kept);
        Append(QStringLiteral("a.log"), "old\n");
        const auto ignored = ::signal(SIGXFSZ, SIG_IGN);
        struct rlimit before = {};
        ::getrlimit(RLIMIT_FSIZE, &before);
        struct rlimit small = before;
        small.rlim_cur = 14;
        ::setrlimit(RLIMIT_FSIZE, &small);
        QVERIFY(Append(QStringLiteral("a.log"), batch));
        ::setrlimit(RLIMIT_FSIZE, &before);
        ::signal(SIGXFSZ, ignored);
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), "old\n" + kept);
        Append(QStringLiteral("a.log"), "later\n");
        QCOMPARE(LogText::Read(QStringLiteral("a.log")), "old\n" + kept + "later\n");
    }
};

NEROLT_TEST_MAIN(tst_LogFile)

#include "tst_LogFile.moc"
