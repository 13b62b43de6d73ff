#include "CallFailure.h"
#include "FileState.h"
#include "FileTimes.h"
#include "Playground.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace FileTimes;

namespace {

// The only attribute that setting the creation time added, whatever its name.
QByteArray CreationAttribute()
{
    const Playground ground;
    const QString path = ground.File("file");
    Set(path, FileTimeCreation);
    const QList<QByteArray> names = FileState::AttributeNames(path);
    return names.size() == 1 ? names.first() : QByteArray();
}

} // namespace

/// The creation time that was set and its place, files that deny something, and what is left alone.
class tst_FileInfoMacCreation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void creationTimeStaysWithTheFile()
    {
        const Playground ground;
        const QString path = ground.File("file");
        QVERIFY(Set(path, FileTimeCreation));

        const QString renamed = ground.Path("renamed");
        QVERIFY(QFile::rename(path, renamed));
        QCOMPARE(Get(renamed, FileTimeCreation), Utc(kSomeTime));
        QVERIFY(QFile(renamed).open(QIODevice::WriteOnly | QIODevice::Truncate));
        QVERIFY(Set(renamed, FileTimeModification, Utc(5)));
        QVERIFY(FileState::SetMode(renamed, 0600));
        QCOMPARE(Get(renamed, FileTimeCreation), Utc(kSomeTime));
        QVERIFY(!Get(path, FileTimeCreation).isValid());
    }

    void attributeOfTheCreationTime_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("isTime");
        QTest::newRow("longest") << QByteArray(63, '0').replace(50, 13, "1700000000123") << true;
        QTest::newRow("too long a number") << QByteArray(64, '0') << false;
        QTest::newRow("empty") << QByteArray("") << false;
        QTest::newRow("word") << QByteArray("yesterday") << false;
        QTest::newRow("letter behind") << QByteArray("1700000000123x") << false;
        QTest::newRow("blanks around") << QByteArray(" 12\n") << false;
        QTest::newRow("beyond 64 bits") << QByteArray("9223372036854775808") << false;
    }
    void attributeOfTheCreationTime()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, isTime);
        const QByteArray name = CreationAttribute();
        const Playground ground;
        const QString path = ground.File("file");
        QVERIFY(FileState::SetAttribute(path, name.constData(), text));
        const qint64 expected = isTime ? kSomeTime : FloorMs(FileState::BirthTime(path));
        QCOMPARE(Get(path, FileTimeCreation), Utc(expected));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(FileInfoMac(path).GetMSecs(FileTimeCreation, file.handle()), std::optional<qint64>(expected));
        QVERIFY(Set(path, FileTimeCreation, Utc(5)));
        QCOMPARE(Get(path, FileTimeCreation), Utc(5));
    }

    void creationTimeThatTheModeDenies_data()
    {
        QTest::addColumn<int>("mode");
        for (const int mode : {0444, 0200, 0000, 0755, 04444})
            QTest::addRow("%04o", unsigned(mode)) << mode;
    }
    void creationTimeThatTheModeDenies()
    {
        QFETCH(int, mode);
        const Playground ground;
        for (const QString& path : {ground.File("file", mode), ground.Folder("folder", mode)}) {
            const OrdinaryUser user;
            QCOMPARE(Get(path, FileTimeCreation), Utc(FloorMs(FileState::BirthTime(path))));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(Set(path, FileTimeCreation));
            QCOMPARE(FileState::Mode(path), mode);
            QCOMPARE(Get(path, FileTimeCreation), Utc(kSomeTime));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(Set(path, FileTimeModification, Utc(9)));
            QCOMPARE(Get(path, FileTimeModification), Utc(9));
            QCOMPARE(FileState::Mode(path), mode);
        }
    }

    // One thread sees the permission that another has granted for a moment, and then finds it removed.
    void threadsThatTheModeDenies()
    {
        const Playground ground;
        const QString path = ground.File("file", 0400);
        const OrdinaryUser user;
        std::atomic<int> failed{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 3; ++thread) {
            threads.emplace_back([&path, &failed] {
                for (int i = 0; i < 20000; ++i)
                    failed += Set(path, FileTimeCreation) ? 0 : 1;
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(failed.load(), 0);
        QCOMPARE(FileState::Mode(path), 0400);
    }

    void pipeKeepsNoAttributes()
    {
        const Playground ground;
        const QString path = ground.Pipe("pipe", 0666);
        QVERIFY(!Set(path, FileTimeCreation));
        QCOMPARE(Get(path, FileTimeCreation), Utc(FloorMs(FileState::BirthTime(path))));
        QVERIFY(Set(path, FileTimeModification));
        QCOMPARE(Get(path, FileTimeModification), Utc(kSomeTime));
        QVERIFY(FileInfoMac(path).SetReadOnlyFlag(true));
        QCOMPARE(FileState::Mode(path), 0444);
        QVERIFY(FileInfoMac(path).SetReadOnlyFlag(false));
        QCOMPARE(FileState::Mode(path), 0644);
    }

    void refusedTimes_data()
    {
        QTest::addColumn<int>("error");
        QTest::newRow("keeps no attributes") << ENOTSUP;
        QTest::newRow("full") << ENOSPC;
        QTest::newRow("denied") << EACCES;
    }
    void refusedTimes()
    {
        QFETCH(int, error);
        const Playground ground;
        const QString path = ground.File("file");
        const QDateTime born = Get(path, FileTimeCreation);
        {
            const CallFailure writing(CallFailure::SetAttribute, error);
            QVERIFY(!Set(path, FileTimeCreation));
            QCOMPARE(Get(path, FileTimeCreation), born);
        }
        QVERIFY(Set(path, FileTimeCreation));
        {
            const CallFailure writing(CallFailure::SetAttribute, error);
            QVERIFY(!Set(path, FileTimeCreation, Utc(1)));
            QCOMPARE(Get(path, FileTimeCreation), Utc(kSomeTime));
        }
        const CallFailure reading(CallFailure::GetAttribute, error);
        QCOMPARE(Get(path, FileTimeCreation), born);
        QCOMPARE(FileState::Mode(path), 0644);
        const CallFailure times(CallFailure::SetTimes, error);
        QVERIFY(!Set(path, FileTimeModification) && !Set(path, FileTimeWrite));
    }

    void timesOfLockedFiles_data()
    {
        QTest::addColumn<bool>("byFlag");
        QTest::newRow("write bits") << false;
        if (Playground::MayFlag())
            QTest::newRow("flag") << true;
    }
    void timesOfLockedFiles()
    {
        QFETCH(bool, byFlag);
        const Playground ground;
        for (const QString& path : {ground.File("file"), ground.Folder("folder", 0750)}) {
            std::optional<OrdinaryUser> user;
            if (!byFlag)
                user.emplace();
            QVERIFY(FileState::SetTimes(path, 0, 0));
            const QDateTime born = Get(path, FileTimeCreation);
            QVERIFY(FileInfoMac(path).SetReadOnlyFlag(true));
            const int mode = FileState::Mode(path);

            QCOMPARE(Set(path, FileTimeCreation), !byFlag);
            QCOMPARE(Set(path, FileTimeModification), !byFlag);
            QCOMPARE(Set(path, FileTimeWrite), !byFlag);
            QCOMPARE(Get(path, FileTimeCreation), byFlag ? born : Utc(kSomeTime));
            QCOMPARE(Get(path, FileTimeModification), byFlag ? Utc(0) : Utc(kSomeTime));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(!FileState::CanWrite(path));
            QVERIFY(FileInfoMac(path).SetReadOnlyFlag(false));
        }
    }

    void filesOfOthers_data()
    {
        QTest::addColumn<bool>("ofRoot");
        QTest::addColumn<int>("mode");
        QTest::newRow("own") << false << 0600;
        if (!OrdinaryUser::IsTestRoot())
            return;
        QTest::newRow("readable") << true << 0644;
        QTest::newRow("not readable") << true << 0600;
    }
    void filesOfOthers()
    {
        QFETCH(bool, ofRoot);
        QFETCH(int, mode);
        const Playground ground;
        const QString path = ofRoot ? ground.FileOfRoot("file", mode) : ground.File("file", mode);
        QVERIFY(FileState::SetTimes(path, 0, 0));
        const QDateTime born = Get(path, FileTimeCreation);
        const OrdinaryUser user;
        QCOMPARE(Get(path, FileTimeCreation), born);
        QCOMPARE(Get(path, FileTimeModification), Utc(0));
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite})
            QCOMPARE(Set(path, type), !ofRoot);
        QCOMPARE(FileState::ModificationTime(path), ofRoot ? 0 : kSomeTime * kNsPerMs);
        QCOMPARE(FileState::AttributeNames(path).size(), ofRoot ? 0 : 1);
        QCOMPARE(FileState::Mode(path), mode);
    }

    // Only the path leads to the attribute of a file that its owner may not read.
    void byDescriptorOfAFileThatMayNotBeRead()
    {
        const Playground ground;
        const QString path = ground.File("file");
        QVERIFY(Set(path, FileTimeCreation));
        OrdinaryUser::Own(path);
        const OrdinaryUser user;
        QCOMPARE(::chmod(QFile::encodeName(path).constData(), 0200), 0);
        const int descriptor = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CLOEXEC);
        QVERIFY(descriptor >= 0);
        QCOMPARE(FileInfoMac(path).GetMSecs(FileTimeCreation, descriptor), std::optional<qint64>(kSomeTime));
        ::close(descriptor);
    }

    void nothingIsOpenedAndReadingChangesNothing()
    {
        const Playground ground;
        for (const QString& path : {ground.File("file", 0400), ground.Folder("folder"), ground.Pipe("pipe")}) {
            const OrdinaryUser user;
            FileWatch opens(path, FileWatch::Opens);
            FileWatch changes(path, FileWatch::Changes);
            for (const int type : {0, 1, 2, 7}) {
                Get(path, FileTimeType(type));
                FileInfoMac(path).GetMSecs(FileTimeType(type));
            }
            QVERIFY(!changes.Saw());
            for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite})
                Set(path, type);
            QVERIFY(!opens.Saw());
            FileState::Flags(path); // opens it
            QVERIFY(opens.Saw());
            QVERIFY(FileState::SetMode(path, FileState::Mode(path)));
            QVERIFY(changes.Saw());
        }
    }

    void lock()
    {
        const Playground ground;
        const QString path = ground.File("file", 0664);
        const OrdinaryUser user;
        FileInfoMac info(path);
        QVERIFY(info.SetReadOnlyFlag(true));
        QVERIFY(!FileState::CanWrite(path));
        {
            const CallFailure failure(CallFailure::ChangeMode, EPERM);
            QVERIFY(!info.SetReadOnlyFlag(false));
        }
        QVERIFY(info.SetReadOnlyFlag(false));
        QCOMPARE(FileState::Mode(path), 0664);
    }
};

NEROLT_TEST_MAIN(tst_FileInfoMacCreation)

#include "tst_FileInfoMacCreation.moc"
