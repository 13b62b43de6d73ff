#include "logging/CrashFile.h"
#include "logging/CrashFormat.h"
#include "logging/CrashRecovery.h"
#include "logging/Rotation.h"
#include "support/LogText.h"
#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <new>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using CrashFormat::Remains;
using CrashFormat::Section;
using TestSupport::RunScenario;
using TestSupport::Scenario;
using TestSupport::ScenarioResult;

namespace {

std::atomic<bool> gCanRead{true};

const QByteArray kFirst = "2026-01-02 03:04:05.678|10|Information|f|one\n";
const QByteArray kSecond = "2026-01-02 03:04:05.679|10|Information|f|two\n";
const QByteArray kOther = "2026-01-02 03:04:05.680|10|Information|f|of another process\n";

QByteArray LogName()
{
    return QFile::encodeName(QDir().absoluteFilePath(QStringLiteral("app.log")));
}

QByteArray RotatedName()
{
    return Rotation::RotatedPath(LogName(), 1767322645678);
}

void Write(const QByteArray& name, const QByteArray& text)
{
    QFile file(QFile::decodeName(name));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Append));
    QCOMPARE(file.write(text), qint64(text.size()));
}

QByteArray Text(const QByteArray& name)
{
    return LogText::Read(QFile::decodeName(name));
}

// What a process leaves that has put lines and begun to write them.
class Left
{
public:
    explicit Left(const QByteArray& lines, const QByteArray& log = LogName())
        : iBytes(CrashFormat::Kept({log, lines, std::nullopt, false, 0, false}))
    {
    }

    void BeginWrite() { That().SetAttempt(Descriptor(LogName()).Which(), Descriptor(LogName()).Size()); }
    // The lines so far are in the log.
    void TakeFirst() { That().iTail += quint64(kFirst.size() + CrashFormat::kRecordHead); }

    std::optional<Remains> Read() const { return CrashFormat::Read(iBytes.constData(), quint64(iBytes.size())); }
    std::optional<qint64> Complete(const QByteArray& newLog = "/none/new.log")
    {
        return CrashRecovery::Complete(That(), *Read(), newLog);
    }

    Section& That() { return *reinterpret_cast<Section*>(iBytes.data()); }
    QByteArray& Bytes() { return iBytes; }

private:
    QByteArray iBytes;
};

// The crash file of this process.
class UseFile
{
public:
    UseFile() { Begin(); }
    ~UseFile() { CrashFile::Use(nullptr); }
    Q_DISABLE_COPY(UseFile)

    void Begin() { CrashFile::Use(CrashFile::Open(iName)); }
    static void Put(const QByteArray& line) { CrashFile::Put(line.constData(), line.size()); }
    Remains Read() const { return CrashFormat::ReadAll(Text(iName)).value().back(); }

private:
    const QByteArray iName = QFile::encodeName(QDir().absoluteFilePath(QStringLiteral("crash")));
};

// In a process of its own, because of the limit.
const Scenario fullDisk("fullDisk", [](const QStringList& arguments) {
    const QByteArray before = Text(LogName());
    Left left(kFirst + kSecond);
    if (arguments.value(0) == QLatin1String("cut")) {
        left.BeginWrite();
        QFile file(QStringLiteral("app.log"));
        if (!file.open(QIODevice::Append) || file.write(kFirst.left(10)) != 10)
            return 1;
    }
    struct rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlim_t all = limit.rlim_cur;
    limit.rlim_cur = rlim_t(kFirst.size() + 20);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    if (left.Complete() || Text(LogName()) != kFirst)
        return 2;
    Write(LogName(), ""); // still there
    limit.rlim_cur = all;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    Write(LogName(), kOther); // the new run's lines
    if (left.Complete() != qint64(1))
        return 3;
    return Text(LogName()) == kFirst + kOther + kSecond ? 0 : 4;
});

} // namespace

// A disk that gives errors.
extern "C" Q_DECL_EXPORT ssize_t pread(int file, void* bytes, size_t size, off_t offset)
{
    static auto* const original = reinterpret_cast<ssize_t (*)(int, void*, size_t, off_t)>(::dlsym(RTLD_NEXT, "pread"));
    if (gCanRead)
        return original(file, bytes, size, offset);
    errno = EIO;
    return -1;
}

class tst_CrashRecovery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::EnterFreshFolder(); }

    // Wherever the write was cut off.
    void everyCut()
    {
        const QByteArray lines = kFirst + kSecond;
        for (int cut = 0; cut <= lines.size(); ++cut) {
            QFile::remove(QStringLiteral("app.log"));
            Write(LogName(), kOther);
            Left left(lines);
            left.BeginWrite();
            Write(LogName(), lines.left(cut));
            const int expected = 2 - (cut >= kFirst.size()) - (cut == lines.size());
            QCOMPARE(left.Complete(), std::optional<qint64>(expected));
            QCOMPARE(Text(LogName()), kOther + lines);
            // And again, as if it had died before it could tell.
            QCOMPARE(left.Complete(), std::optional<qint64>(0));
            QCOMPARE(Text(LogName()), kOther + lines);
        }
    }

    // A recovery is cut off as well.
    void everyCutOfARecovery()
    {
        const QByteArray lines = kFirst + kSecond;
        for (int cut = 0; cut <= lines.size(); ++cut) {
            QFile::remove(QStringLiteral("app.log"));
            Left left(lines);
            QCOMPARE(left.Complete(), std::optional<qint64>(2));
            QCOMPARE(::truncate("app.log", cut), 0);
            QVERIFY(left.Complete());
            QCOMPARE(Text(LogName()), lines);
        }
    }

    void whatTheLogHolds_data()
    {
        QTest::addColumn<QByteArray>("written");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("nothing") << QByteArray() << kFirst + kSecond;
        QTest::newRow("another process's line") << kOther << kOther + kFirst + kSecond;
        QTest::newRow("another one's before") << kOther + kFirst << kOther + kFirst + kSecond;
        QTest::newRow("another one's between") << kFirst + kOther + kSecond << kFirst + kOther + kSecond;
        QTest::newRow("another one's behind") << kFirst + kOther << kFirst + kOther + kSecond;
        QTest::newRow("cut, and another one's behind")
            << kFirst.left(30) + kOther << kFirst.left(30) + kOther + kFirst + kSecond;
        QTest::newRow("within another one's line") << kFirst + "half" << kFirst + "half\n" + kSecond;
        QTest::newRow("all, and within another one's line") << kFirst + kSecond + "half" << kFirst + kSecond + "half";
        const QByteArray recovered = "2026-01-02 03:04:05.681|10|Information|Logger::SetCrashFile|recovered 1 l";
        for (const int size : {1, 23, 30, int(recovered.size())})
            QTest::addRow("%d bytes of the line that tells of a recovery", size)
                << kOther + recovered.left(size) << kOther + kFirst + kSecond;
        QTest::newRow("a line like it, of another function")
            << kFirst + recovered.left(60) + 's' << kFirst + recovered.left(60) + "s\n" + kSecond;
        QTest::newRow("a line without protection") << kFirst + "2026\n" << kFirst + "2026\n" + kSecond;
    }

    void whatTheLogHolds()
    {
        QFETCH(QByteArray, written);
        QFETCH(QByteArray, expected);
        Left left(kFirst + kSecond);
        left.BeginWrite();
        Write(LogName(), written);
        QVERIFY(left.Complete());
        QCOMPARE(Text(LogName()), expected);
    }

    void equalLinesCount()
    {
        Left left(kFirst + kFirst + kFirst);
        left.BeginWrite();
        Write(LogName(), kFirst + kFirst);
        QCOMPARE(left.Complete(), std::optional<qint64>(1));
        QCOMPARE(Text(LogName()), kFirst + kFirst + kFirst);
    }

    // Lines of before the attempt are not taken for those that it wrote.
    void anAttemptOfTheTimeBeforeDoesNotCount()
    {
        Left left(kFirst + kFirst);
        left.BeginWrite();
        Write(LogName(), kFirst);
        left.TakeFirst();
        QVERIFY(!left.Read()->iIsAttemptOpen);
        QCOMPARE(left.Complete(), std::optional<qint64>(1));
        QCOMPARE(Text(LogName()), kFirst + kFirst);
    }

    void manyLines()
    {
        QByteArray lines;
        for (int i = 0; i < 20000; ++i)
            lines += "2026-01-02 03:04:05.678|10|Information|f|" + QByteArray(i % 200, 'x') + '\n';
        for (const int cut : {0, 1, 65535, 65536, 65537, 1000000, lines.size() - 1}) {
            QFile::remove(QStringLiteral("app.log"));
            Left left(lines);
            left.BeginWrite();
            Write(LogName(), lines.left(cut));
            QCOMPARE(left.Complete(), std::optional<qint64>(20000 - lines.left(cut).count('\n')));
            QVERIFY(Text(LogName()) == lines);
        }
    }

    // The write went to the file that another process has rotated since.
    void aRotatedFileIsCompleted()
    {
        Left left(kFirst + kSecond);
        left.BeginWrite();
        Write(LogName(), kFirst.left(20));
        QCOMPARE(::rename(LogName().constData(), RotatedName().constData()), 0);
        Write(LogName(), kOther);
        QCOMPARE(left.Complete(), std::optional<qint64>(2));
        QCOMPARE(Text(RotatedName()), kFirst + kSecond);
        QCOMPARE(Text(LogName()), kOther);
    }

    void aLogThatIsGoneIsMadeAnew()
    {
        Left left(kFirst + kSecond);
        left.BeginWrite();
        Write(LogName(), kFirst);
        QVERIFY(QFile::remove(QStringLiteral("app.log")));
        QCOMPARE(left.Complete(), std::optional<qint64>(2));
        QCOMPARE(Text(LogName()), kFirst + kSecond);
    }

    void aLogThatWasEmptiedGetsAll()
    {
        Write(LogName(), kOther + kOther + kOther);
        Left left(kFirst + kSecond);
        left.BeginWrite();
        Write(LogName(), kFirst);
        QCOMPARE(::truncate(LogName().constData(), 0), 0);
        QCOMPARE(left.Complete(), std::optional<qint64>(2));
        QCOMPARE(Text(LogName()), kFirst + kSecond);
        QCOMPARE(left.Complete(), std::optional<qint64>(0)); // as if it had died before it could tell
        QCOMPARE(Text(LogName()), kFirst + kSecond);
    }

    // Of whoever wrote it before, or of a rotation.
    void noLineStandsBehindHalfOfAnother()
    {
        Write(LogName(), kOther + kOther.left(30));
        Left left(kFirst + kSecond);
        QCOMPARE(left.Complete(), std::optional<qint64>(2));
        QCOMPARE(Text(LogName()), kOther + kOther.left(30) + '\n' + kFirst + kSecond);
        QCOMPARE(left.Complete(), std::optional<qint64>(0)); // as if it had died before it could tell
        QCOMPARE(Text(LogName()), kOther + kOther.left(30) + '\n' + kFirst + kSecond);
    }

    void whatCannotBeReadIsNotWrittenAgain()
    {
        Left left(kFirst);
        left.BeginWrite();
        Write(LogName(), kFirst);
        gCanRead = false;
        const std::optional<qint64> lines = left.Complete();
        gCanRead = true;
        QVERIFY(!lines);
        QCOMPARE(Text(LogName()), kFirst);
    }

    void aFullDisk_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("nothing was written") << QString();
        QTest::newRow("the write was cut") << QStringLiteral("cut");
    }

    void aFullDisk()
    {
        QFETCH(QString, how);
        const ScenarioResult result = RunScenario("fullDisk", {how});
        QVERIFY2(result.IsOk(), result.Describe());
    }

    void withoutALogTheNextGetsThem()
    {
        Left left(kFirst, QByteArray());
        QCOMPARE(left.Complete(LogName()), std::optional<qint64>(1));
        QCOMPARE(Text(LogName()), kFirst);
    }

    void nothingToDoNeedsNoLog() { QCOMPARE(Left(QByteArray(), "/none/app.log").Complete(), std::optional<qint64>(0)); }

    void onlyLogsAreWrittenTo_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("isLog");
        QTest::newRow("empty") << QByteArray() << true;
        QTest::newRow("a log") << kOther << true;
        QTest::newRow("a log after a rotation") << QByteArray("2026-01-02 03:04:05.678continued from x\n") << true;
        QTest::newRow("a script") << QByteArray("#!/bin/sh\necho this is no log file\n") << false;
        QTest::newRow("short") << QByteArray("2026-01-02 03:04:05") << false;
        QTest::newRow("another form") << QByteArray("2026-01-02T03:04:05.678|10|\n") << false;
    }

    void onlyLogsAreWrittenTo()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, isLog);
        Write(LogName(), text);
        Left left(kFirst);
        QCOMPARE(left.Complete().has_value(), isLog);
        QCOMPARE(Text(LogName()), text + (isLog ? kFirst : QByteArray()));
    }

    // Which may begin as it likes.
    void theFileThatTheDeadProcessWroteIsItsLog()
    {
        Write(LogName(), "a banner of the host\n");
        Left left(kFirst + kSecond);
        left.BeginWrite();
        left.TakeFirst();
        QVERIFY(left.Complete());
        QCOMPARE(Text(LogName()), "a banner of the host\n" + kSecond);
    }

    void whatCannotBeALog()
    {
        QVERIFY(QDir().mkdir(QStringLiteral("app.log")));
        QVERIFY(!Left(kFirst).Complete());
        QVERIFY(QDir().rmdir(QStringLiteral("app.log")));
        QVERIFY(!Left(kFirst, "/none/app.log").Complete());
        QCOMPARE(::mkfifo("app.log", 0600), 0);
        QVERIFY(!Left(kFirst).Complete()); // nobody reads it
        const int reader = ::open("app.log", O_RDONLY | O_NONBLOCK);
        QCOMPARE(Left(kFirst).Complete(), std::optional<qint64>(1));
        QByteArray read(200, '\0');
        read.truncate(int(::read(reader, read.data(), size_t(read.size()))));
        ::close(reader);
        QCOMPARE(read, kFirst);
    }

    void damageIsFound()
    {
        Left left(kFirst + kSecond);
        left.BeginWrite();
        const QByteArray whole = left.Bytes();
        const auto accepted = [&](int at, char bits) {
            left.Bytes()[at] = char(left.Bytes().at(at) ^ bits);
            const std::optional<Remains> remains = left.Read();
            left.Bytes() = whole;
            return remains;
        };
        const int lines = int(sizeof(Section));
        for (int at = lines; at < lines + kFirst.size() + kSecond.size() + 2 * CrashFormat::kRecordHead; ++at)
            for (int bit = 0; bit < 8; ++bit)
                QVERIFY2(!accepted(at, char(1 << bit)), QByteArray::number(at - lines));
        // Magic, version, byte order, capacity and their check.
        for (int at = 0; at < int(offsetof(Section, iUnused)); ++at)
            QVERIFY2(!accepted(at, 1), QByteArray::number(at));
        for (const size_t at : {offsetof(Section, iHead), offsetof(Section, iTail), offsetof(Section, iAttempt),
                                offsetof(Section, iAttemptCheck)})
            QVERIFY2(!accepted(int(at), 8), QByteArray::number(qulonglong(at)));
        QVERIFY(!accepted(int(offsetof(Section, iHead)) + 7, 1)); // far away
        const size_t log = offsetof(Section, iLogs) + sizeof(CrashFormat::LogName) * left.That().iLog;
        for (const size_t at : {log, log + 3, log + 4, log + 8, log + 9})
            QVERIFY2(!accepted(int(at), 1), QByteArray::number(qulonglong(at - log)));
        QVERIFY(left.Read());
    }

    void forgedFields_data()
    {
        QTest::addColumn<QByteArray>("log");
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<bool>("isRead");
        QTest::newRow("as it should be") << LogName() << kFirst << true;
        QTest::newRow("a relative log") << QByteArray("app.log") << kFirst << false;
        QTest::newRow("a NUL in the log") << QByteArray("/app\0log", 8) << kFirst << false;
        QTest::newRow("no log") << QByteArray() << kFirst << true;
    }

    void forgedFields()
    {
        QFETCH(QByteArray, log);
        QFETCH(QByteArray, lines);
        QFETCH(bool, isRead);
        QCOMPARE(Left(lines, log).Read().has_value(), isRead);
    }

    void oneRecordIsOneLine()
    {
        Left left(kFirst);
        const QByteArray two = QByteArray(kFirst.size() - 5, 'x') + "\none\n";
        const quint32 head[] = {quint32(two.size()), CrashFormat::Check(two.constData(), quint64(two.size()))};
        left.That().Put(0, head, sizeof head);
        left.That().Put(sizeof head, two.constData(), quint64(two.size()));
        QVERIFY(!left.Read());
    }

    // The next one is read in place, too.
    void aSectionHasNoOddSize()
    {
        QByteArray bytes(int(sizeof(Section) + 208), '\0');
        for (const quint64 capacity : {200ULL, 201ULL, 204ULL, 207ULL}) {
            new (bytes.data()) Section(capacity);
            const bool isRead = CrashFormat::Read(bytes.constData(), quint64(bytes.size())).has_value();
            QCOMPARE(isRead, capacity == 200);
            QCOMPARE(CrashFormat::SizeOf(bytes.constData(), quint64(bytes.size())) != 0, isRead);
        }
    }

    void aSectionTakesAllOfAnother()
    {
        Left left(kFirst + kSecond);
        left.BeginWrite();
        left.That().iUnprotected = 5;
        left.That().iUnprotectedDone = 2;
        QByteArray bytes(left.Bytes().size(), '\0');
        auto& section = *new (bytes.data()) Section(left.That().iCapacity);
        section.TakeOver(left.That());
        QCOMPARE(bytes, left.Bytes());
    }

    // It is being filled, or its lines are in the log: nothing else in it counts.
    void aSectionThatIsOverIsNotLookedInto()
    {
        Left left(kFirst);
        left.That().iIsOver = 1;
        left.That().iHead += left.That().iCapacity;
        QVERIFY(left.Read() && left.Read()->iIsOver && left.Read()->iLines.isEmpty());
        left.That().iIsOver = 0;
        QVERIFY(!left.Read());
    }

    void keptSectionsAreTheSame()
    {
        QByteArray file(int(CrashFormat::kFileBytes), '\0');
        new (file.data()) Section(CrashFormat::kCapacity);
        for (const bool isOpen : {true, false}) {
            Left left(isOpen ? kFirst : kFirst + kSecond);
            left.BeginWrite();
            if (!isOpen)
                left.TakeFirst();
            file += CrashFormat::Kept(*left.Read());
        }
        const auto all = CrashFormat::ReadAll(file);
        QVERIFY(all && all->size() == 3);
        QCOMPARE(all->at(0).iLines, kFirst); // oldest first
        QVERIFY(all->at(0).iIsAttemptOpen);
        QCOMPARE(all->at(1).iLines, kSecond);
        QVERIFY(!all->at(1).iIsAttemptOpen);
        QVERIFY(all->at(2).iLines.isEmpty());
    }

    // The next process would not read it.
    void noFileGetsTooLarge()
    {
        QByteArray file(int(CrashFormat::kFileBytes), '\0');
        new (file.data()) Section(CrashFormat::kCapacity);
        constexpr qint64 most = CrashFormat::kMostBytes - CrashFormat::kFileBytes - qint64(sizeof(Section));
        const int lines = int(most / (kFirst.size() + CrashFormat::kRecordHead));
        const QByteArray kept = CrashFormat::Kept({LogName(), kFirst.repeated(lines), std::nullopt, false, 0, false});
        const QByteArray name = LogName() + "-crash";
        for (const bool isTooLarge : {true, false}) {
            reinterpret_cast<Section*>(file.data())->iIsOver = isTooLarge ? 0 : 1; // or it is kept, too
            const QByteArray before = file + kept;
            QFile::remove(QFile::decodeName(name));
            Write(name, before);
            QCOMPARE(::chmod(name.constData(), 0600), 0);
            QCOMPARE(!CrashFile::Open(name), isTooLarge);
            QVERIFY(Text(name) == before || !isTooLarge);
        }
    }

    // Once it was in vain nobody waits for room again, until the writer goes on.
    void waitingForRoom()
    {
        const UseFile file;
        QRecursiveMutex mutex;
        std::unique_lock<QRecursiveMutex> agent(mutex);
        const QByteArray half(int(CrashFormat::kCapacity / 2), 'x');
        const quint64 record = quint64(half.size()) + CrashFormat::kRecordHead;
        UseFile::Put(half);
        CrashFile::AwaitRoom(agent, record);
        QVERIFY(agent.owns_lock());
        UseFile::Put(half);
        QCOMPARE(CrashFile::End().iUnprotected, quint64(1));
        CrashFile::Done(CrashFile::End());
        UseFile::Put(half);
        std::thread writer([&mutex] {
            const std::lock_guard<QRecursiveMutex> whileItIsWaitedFor(mutex);
            CrashFile::Done(CrashFile::End());
        });
        CrashFile::AwaitRoom(agent, record);
        UseFile::Put(half);
        agent.unlock();
        writer.join();
        QCOMPARE(CrashFile::End().iUnprotected, quint64(1));
    }

    // The writer finishes later what was put while there was another file, or none.
    void marksOfBeforeDoNotCount()
    {
        UseFile file;
        file.Put(kFirst);
        file.Put(QByteArray(int(CrashFormat::kCapacity), 'x')); // finds no room
        const CrashFile::Mark before = CrashFile::End();
        QCOMPARE(before.iUnprotected, quint64(1));
        CrashFile::Use(nullptr);
        file.Begin();
        file.Put(kSecond);
        CrashFile::BeginWrite(Descriptor(LogName()), 0);
        QVERIFY(file.Read().iIsAttemptOpen);
        for (const CrashFile::Mark& mark : {CrashFile::Mark(), before}) {
            CrashFile::Done(mark);
            QCOMPARE(file.Read().iLines, kSecond);
            QCOMPARE(file.Read().iUnprotected, quint64(0));
        }
        QVERIFY(!file.Read().iIsAttemptOpen); // it was not of the second line
        file.Put(QByteArray(int(CrashFormat::kCapacity), 'x'));
        QCOMPARE(file.Read().iUnprotected, quint64(1));
        CrashFile::Done(CrashFile::End());
        QVERIFY(file.Read().iLines.isEmpty());
        QCOMPARE(file.Read().iUnprotected, quint64(0));
    }

    void nothingIsLeftOfAHalfLineThatTellsOfARecovery()
    {
        Write(LogName(), kOther);
        Left left{QByteArray()};
        left.BeginWrite();
        Write(LogName(), "2026-01-02 03:04:05.681|10|Information|Logger::SetCrashFile|recovered 1 l");
        QCOMPARE(left.Complete(), std::optional<qint64>(0));
        QCOMPARE(Text(LogName()), kOther);
    }

    void everyLengthIsChecked()
    {
        const QByteArray text(64, 'a');
        for (quint64 size = 0; size < 64; ++size)
            QVERIFY(CrashFormat::Check(text.constData(), size) != CrashFormat::Check(text.constData(), size + 1));
        QVERIFY(CrashFormat::Check("abcdefgh12345678", 16) != CrashFormat::Check("12345678abcdefgh", 16));
    }

    // Around the end of the ring, from every position.
    void theRingEndsAnywhere()
    {
        QByteArray bytes(int(sizeof(Section) + 200), '\0');
        for (quint64 begin = 1000; begin < 1200; ++begin) {
            auto& section = *new (bytes.data()) Section(200);
            section.iHead = section.iTail = begin;
            for (const QByteArray& line : {kFirst, kSecond}) {
                const quint32 head[]
                    = {quint32(line.size()), CrashFormat::Check(line.constData(), quint64(line.size()))};
                section.Put(section.iHead, head, sizeof head);
                section.Put(section.iHead + sizeof head, line.constData(), quint64(line.size()));
                section.iHead += sizeof head + quint64(line.size());
            }
            const std::optional<Remains> remains = CrashFormat::Read(bytes.constData(), quint64(bytes.size()));
            QVERIFY(remains);
            QCOMPARE(remains->iLines, kFirst + kSecond);
        }
    }
};

NEROLT_TEST_MAIN(tst_CrashRecovery)

#include "tst_CrashRecovery.moc"
