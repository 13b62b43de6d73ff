#include "CrashLeft.h"
#include "logging/CrashFile.h"
#include "support/TestMain.h"

#include <QtTest/QtTest>

#include <mutex>
#include <new>
#include <sys/stat.h>
#include <thread>

using CrashFormat::Remains;
using CrashFormat::Section;

namespace {

// The crash file of this process.
class UseFile
{
public:
    UseFile() { Begin(); }
    ~UseFile() { CrashFile::Use(nullptr); }
    Q_DISABLE_COPY(UseFile)

    void Begin() { CrashFile::Use(CrashFile::Open(iName)); }
    static void Put(const QByteArray& line) { CrashFile::Put(line.constData(), int(line.size())); }
    Remains Read() const { return CrashFormat::ReadAll(Text(iName)).value().back(); }

private:
    const QByteArray iName = QFile::encodeName(QDir().absoluteFilePath(QStringLiteral("crash")));
};

} // namespace

/// The lines that wait, as those see them who log and who write.
class tst_CrashFileRing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::EnterFreshFolder(); }

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
        const quint64 unprotected = CrashFile::End().iUnprotected; // goes on from file to file
        QRecursiveMutex mutex;
        std::unique_lock<QRecursiveMutex> agent(mutex);
        const QByteArray half(int(CrashFormat::kCapacity / 2), 'x');
        const quint64 record = quint64(half.size()) + CrashFormat::kRecordHead;
        UseFile::Put(half);
        CrashFile::AwaitRoom(agent, record);
        QVERIFY(agent.owns_lock());
        UseFile::Put(half);
        QCOMPARE(CrashFile::End().iUnprotected, unprotected + 1);
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
        QCOMPARE(CrashFile::End().iUnprotected, unprotected + 1);
    }

    // The writer finishes later what was put while there was another file, or none.
    void marksOfBeforeDoNotCount()
    {
        UseFile file;
        const quint64 unprotected = CrashFile::End().iUnprotected;
        file.Put(kFirst);
        file.Put(QByteArray(int(CrashFormat::kCapacity), 'x')); // finds no room
        const CrashFile::Mark before = CrashFile::End();
        QCOMPARE(before.iUnprotected, unprotected + 1);
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
        file.Put(QByteArray(int(CrashFormat::kCapacity), 'x'));
        QCOMPARE(file.Read().iUnprotected, quint64(1));
        CrashFile::Done(CrashFile::End());
        QVERIFY(file.Read().iLines.isEmpty());
        QCOMPARE(file.Read().iUnprotected, quint64(0));
    }
};

NEROLT_TEST_MAIN(tst_CrashFileRing)

#include "tst_CrashFileRing.moc"
