#include "CallFailure.h"
#include "FileState.h"
#include "Playground.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"
#include "util/FileLock_linux.h"

#include <QtCore/QFile>

#include <cerrno>
#include <linux/fs.h>
#include <optional>
#include <unistd.h>

namespace {

// All permissions that a mode can deny or grant its owner, and the bits above.
const int kModes[] = {0644, 0664, 0666, 0600, 0755, 0777, 0700, 0622, 0222, 0200,  0020,  0002,
                      0464, 0246, 0444, 0400, 0555, 0111, 0000, 0066, 0266, 04755, 02775, 01777};

bool Lock(const QString& path)
{
    return FileLock::Lock(QFile::encodeName(path));
}

bool Unlock(const QString& path)
{
    return FileLock::Unlock(QFile::encodeName(path));
}

void AddModes()
{
    QTest::addColumn<int>("mode");
    for (const int mode : kModes)
        QTest::addRow("%04o", unsigned(mode)) << mode;
}

// The two ways to lock: that of an ordinary user, and that of root if the file system has the flag.
void AddWays()
{
    QTest::addColumn<bool>("byFlag");
    QTest::newRow("write bits") << false;
    if (Playground::MayFlag())
        QTest::newRow("flag") << true;
}

int OpenDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size();
}

} // namespace

class tst_FileLock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { Playground::AddPlaces(); }

    void writeBits_data() { AddModes(); }
    void writeBits()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, mode);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", mode), ground.Folder("folder", mode)}) {
            const OrdinaryUser user;
            QVERIFY(Lock(path));
            QCOMPARE(FileState::Mode(path), mode & ~0222);
            QVERIFY(!FileState::CanWrite(path));
            QVERIFY(!FileState::IsImmutable(path));
            QCOMPARE(FileState::AttributeNames(path).size(), (mode & 0222) != 0 ? 1 : 0);
            QVERIFY(Unlock(path));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(FileState::AttributeNames(path).isEmpty());
        }
    }

    void flag_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("byFlag");
        // A user who may not set the flag locks with the write bits, whatever other flags the inode has.
        QTest::newRow("write bits beside other flags") << 0644 << false;
        if (!Playground::MayFlag())
            return;
        for (const int mode : kModes)
            QTest::addRow("flag on %04o", unsigned(mode)) << mode << true;
    }
    void flag()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, mode);
        QFETCH(bool, byFlag);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", mode), ground.Folder("folder", mode)}) {
            const int before = FileState::Flags(path) | FS_NODUMP_FL;
            QVERIFY(FileState::SetFlags(path, before));
            std::optional<OrdinaryUser> user;
            if (!byFlag)
                user.emplace();
            QVERIFY(Lock(path));
            QCOMPARE(FileState::IsImmutable(path), byFlag);
            QCOMPARE(FileState::Mode(path), byFlag ? mode : mode & ~0222);
            QVERIFY(!FileState::CanWrite(path));
            user.reset();
            QCOMPARE(FileState::Flags(path), byFlag ? before | FS_IMMUTABLE_FL : before);
            QCOMPARE(FileState::AttributeNames(path).size(), byFlag ? 0 : 1);
            if (!byFlag)
                user.emplace();
            QVERIFY(Unlock(path));
            user.reset();
            QVERIFY(!FileState::IsImmutable(path));
            QCOMPARE(FileState::Mode(path), mode);
            QCOMPARE(FileState::Flags(path), before);
            QVERIFY(FileState::AttributeNames(path).isEmpty());
        }
    }

    void whatTheLockForbids_data() { AddWays(); }
    void whatTheLockForbids()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, byFlag);
        const Playground ground(place);
        const QString path = ground.File("file", 0666);
        const QString folder = ground.Folder("folder", 0777);
        const QString inner = ground.File("folder/inner", 0666);
        std::optional<OrdinaryUser> user;
        if (!byFlag)
            user.emplace();
        QVERIFY(Lock(path));
        QVERIFY(Lock(folder));
        QVERIFY(!QFile(path).open(QIODevice::WriteOnly));
        QVERIFY(!QFile(path).open(QIODevice::Append));
        QVERIFY(!QFile(path).open(QIODevice::ReadWrite));
        QVERIFY(!QFile::resize(path, 0));
        QVERIFY(QFile(path).open(QIODevice::ReadOnly));
        QVERIFY(!QFile::remove(inner));
        QVERIFY(!QFile::rename(inner, ground.Path("elsewhere")));
        QVERIFY(!QFile::link(path, ground.Path("folder/link")));
        QVERIFY(FileState::CanWrite(inner));
        QVERIFY(Unlock(path));
        QVERIFY(Unlock(folder));
        QVERIFY(QFile(path).open(QIODevice::Append));
        QVERIFY(QFile::remove(inner));
    }

    void lockedTwice_data() { AddWays(); }
    void lockedTwice()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, byFlag);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", 0664), ground.Folder("folder", 0775)}) {
            const int mode = FileState::Mode(path);
            std::optional<OrdinaryUser> user;
            if (!byFlag)
                user.emplace();
            QVERIFY(Lock(path));
            QVERIFY(Lock(path));
            QCOMPARE(FileState::IsImmutable(path), byFlag);
            QCOMPARE(FileState::Mode(path), byFlag ? mode : mode & ~0222);
            QVERIFY(Unlock(path));
            QVERIFY(!FileState::IsImmutable(path));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(Unlock(path));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(FileState::AttributeNames(path).isEmpty());
        }
    }

    void modeChangedMeanwhile_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("changed");
        QTest::addColumn<int>("unlocked");
        QTest::newRow("nothing") << 0664 << 0444 << 0664;
        QTest::newRow("write bits given back by hand") << 0644 << 0644 << 0644;
        QTest::newRow("some given back by hand") << 0664 << 0464 << 0664;
        QTest::newRow("more rights") << 0644 << 0755 << 0755;
        QTest::newRow("fewer rights") << 0644 << 0400 << 0600;
        QTest::newRow("no rights") << 0664 << 0000 << 0220;
        QTest::newRow("bits that were not taken are given") << 0600 << 0422 << 0622;
        QTest::newRow("only others wrote") << 0446 << 0400 << 0402;
        QTest::newRow("bits above") << 0644 << 05444 << 05644;
        QTest::newRow("bits above taken") << 04755 << 00555 << 00755;
        QTest::newRow("nothing was taken") << 0444 << 0646 << 0646;
    }
    void modeChangedMeanwhile()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, mode);
        QFETCH(int, changed);
        QFETCH(int, unlocked);
        const Playground ground(place);
        const QString path = ground.File("file", mode);
        const OrdinaryUser user;
        QVERIFY(Lock(path));
        QVERIFY(FileState::SetMode(path, changed));
        QVERIFY(Unlock(path));
        QCOMPARE(FileState::Mode(path), unlocked);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
        QVERIFY(Unlock(path));
        QCOMPARE(FileState::Mode(path), unlocked);
    }

    void lockedAgainAfterAChange_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("changed");
        QTest::addColumn<int>("unlocked");
        QTest::newRow("same bits") << 0644 << 0644 << 0644;
        QTest::newRow("fewer bits") << 0664 << 0644 << 0664;
        QTest::newRow("other bits") << 0464 << 0646 << 0666;
        QTest::newRow("no bits") << 0664 << 0440 << 0660;
        QTest::newRow("only bits of others") << 0644 << 0046 << 0246;
    }
    void lockedAgainAfterAChange()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, mode);
        QFETCH(int, changed);
        QFETCH(int, unlocked);
        const Playground ground(place);
        const QString path = ground.File("file", mode);
        const OrdinaryUser user;
        QVERIFY(Lock(path));
        QVERIFY(FileState::SetMode(path, changed));
        QVERIFY(Lock(path));
        QCOMPARE(FileState::Mode(path), changed & ~0222);
        QVERIFY(Unlock(path));
        QCOMPARE(FileState::Mode(path), unlocked);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void neverLocked_data() { AddModes(); }
    void neverLocked()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, mode);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", mode), ground.Folder("folder", mode)}) {
            {
                const OrdinaryUser user;
                QVERIFY(Unlock(path));
                QCOMPARE(FileState::Mode(path), mode);
            }
            QVERIFY(Unlock(path));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(FileState::AttributeNames(path).isEmpty());
        }
    }

    void neverLockedAndReadable_data()
    {
        QTest::addColumn<bool>("ofRoot");
        QTest::newRow("own") << false;
        if (OrdinaryUser::IsTestRoot())
            QTest::newRow("somebody else's") << true;
    }
    void neverLockedAndReadable()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, ofRoot);
        const Playground ground(place);
        const QString path = ofRoot ? ground.FileOfRoot("file", 0444) : ground.File("file", 0444);
        FileWatch watch(path, FileWatch::Changes);
        const OrdinaryUser user;
        QVERIFY(Unlock(path));
        QVERIFY(!watch.Saw());
        QCOMPARE(FileState::Mode(path), 0444);
    }

    void otherAttributesStay()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file");
        QVERIFY(FileState::SetAttribute(path, "user.other", "x"));
        const OrdinaryUser user;
        QVERIFY(Lock(path));
        QVERIFY(Unlock(path));
        QCOMPARE(FileState::AttributeNames(path), QList<QByteArray>{"user.other"});
        QCOMPARE(FileState::Attribute(path, "user.other"), QByteArray("x"));
    }

    void whoUndoesALockOfWriteBits_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("asItself");
        QTest::addColumn<bool>("flagOnTop");
        for (const int mode : {0644, 0664, 0200, 0020, 0755, 04777}) {
            QTest::addRow("ordinary user, %04o", unsigned(mode)) << mode << false << false;
            QTest::addRow("this process, %04o", unsigned(mode)) << mode << true << false;
            if (Playground::MayFlag())
                QTest::addRow("flag on top, %04o", unsigned(mode)) << mode << true << true;
        }
    }
    void whoUndoesALockOfWriteBits()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, mode);
        QFETCH(bool, asItself);
        QFETCH(bool, flagOnTop);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", mode), ground.Folder("folder", mode)}) {
            std::optional<OrdinaryUser> user(std::in_place);
            QVERIFY(Lock(path));
            QCOMPARE(FileState::Mode(path), mode & ~0222);
            if (asItself)
                user.reset();
            if (flagOnTop)
                QVERIFY(Lock(path));
            QCOMPARE(FileState::IsImmutable(path), flagOnTop);
            QVERIFY(Unlock(path));
            QVERIFY(!FileState::IsImmutable(path));
            QCOMPARE(FileState::Mode(path), mode);
            QVERIFY(FileState::AttributeNames(path).isEmpty());
        }
    }

    void alreadyLocked_data()
    {
        QTest::addColumn<bool>("byFlag");
        QTest::addColumn<int>("mode");
        for (const int mode : {0664, 0000}) {
            QTest::addRow("write bits on %04o", unsigned(mode)) << false << mode;
            if (Playground::MayFlag())
                QTest::addRow("flag on %04o", unsigned(mode)) << true << mode;
        }
    }
    void alreadyLocked()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, byFlag);
        QFETCH(int, mode);
        const Playground ground(place);
        const QString path = ground.File("file", mode);
        std::optional<OrdinaryUser> user;
        if (!byFlag)
            user.emplace();
        QVERIFY(Lock(path));
        user.reset();
        const int locked = FileState::Mode(path);
        const QList<QByteArray> names = FileState::AttributeNames(path);
        user.emplace();
        QVERIFY(Lock(path));
        QCOMPARE(FileState::Mode(path), locked);
        QCOMPARE(FileState::AttributeNames(path), names);
        // The ordinary user may undo only what an ordinary user could have done.
        QCOMPARE(Unlock(path), !byFlag);
        QCOMPARE(FileState::IsImmutable(path), byFlag);
        QCOMPARE(FileState::Mode(path), mode);
    }

    void flagRefused_data()
    {
        QTest::addColumn<int>("call");
        QTest::addColumn<int>("error");
        QTest::addColumn<bool>("asItself");
        for (const int error : {EPERM, EACCES, ENOTTY, ENOTSUP, EIO, EROFS}) {
            QTest::addRow("not read, error %d", error) << int(CallFailure::GetFlags) << error << true;
            QTest::addRow("not set, error %d", error) << int(CallFailure::SetFlags) << error << true;
        }
        QTest::newRow("ordinary user, not read") << int(CallFailure::GetFlags) << ENOTTY << false;
        QTest::newRow("ordinary user, not set") << int(CallFailure::SetFlags) << EPERM << false;
    }
    void flagRefused()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, call);
        QFETCH(int, error);
        QFETCH(bool, asItself);
        const Playground ground(place);
        const QString path = ground.File("file", 0664);
        std::optional<OrdinaryUser> user;
        if (!asItself)
            user.emplace();
        const CallFailure failure(CallFailure::Call(call), error);
        QVERIFY(Lock(path));
        QVERIFY(!FileState::IsImmutable(path));
        QCOMPARE(FileState::Mode(path), 0444);
        QCOMPARE(FileState::AttributeNames(path).size(), 1);
        QVERIFY(Unlock(path));
        QCOMPARE(FileState::Mode(path), 0664);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void neitherFlagNorAttribute_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("unlocked");
        QTest::newRow("owner and readers") << 0644 << 0644;
        QTest::newRow("group's bit is lost") << 0664 << 0644;
        QTest::newRow("all bits") << 0666 << 0644;
        QTest::newRow("only the group's") << 0420 << 0600;
        QTest::newRow("none") << 0444 << 0644;
        QTest::newRow("nothing at all") << 0000 << 0200;
        QTest::newRow("bits above") << 05755 << 05755;
    }
    void neitherFlagNorAttribute()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, mode);
        QFETCH(int, unlocked);
        const Playground ground(place);
        const QString path = ground.File("file", mode);
        for (const QString& other : {path, ground.Pipe("pipe", mode), ground.Socket("socket", mode)}) {
            const CallFailure flags(CallFailure::GetFlags, ENOTTY);
            const CallFailure reading(CallFailure::GetAttribute, ENOTSUP);
            const CallFailure writing(CallFailure::SetAttribute, ENOTSUP);
            const CallFailure removing(CallFailure::RemoveAttribute, ENOTSUP);
            const OrdinaryUser user;
            QVERIFY(Lock(other));
            QCOMPARE(FileState::Mode(other), mode & ~0222);
            QVERIFY(!FileState::IsImmutable(other));
            QVERIFY(Lock(other));
            QCOMPARE(FileState::Mode(other), mode & ~0222);
            QVERIFY(Unlock(other));
            QCOMPARE(FileState::Mode(other), unlocked);
            QVERIFY(Unlock(other));
            QCOMPARE(FileState::Mode(other), unlocked);
        }
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void pipesAndSockets_data()
    {
        QTest::addColumn<bool>("asItself");
        QTest::newRow("this process") << true;
        QTest::newRow("ordinary user") << false;
    }
    void pipesAndSockets()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, asItself);
        const Playground ground(place);
        for (const QString& path : {ground.Pipe("pipe", 0664), ground.Socket("socket", 0664)}) {
            std::optional<OrdinaryUser> user;
            if (!asItself)
                user.emplace();
            FileWatch watch(path, FileWatch::Opens);
            QVERIFY(Lock(path));
            QCOMPARE(FileState::Mode(path), 0444);
            QVERIFY(Unlock(path));
            QCOMPARE(FileState::Mode(path), 0644);
            QVERIFY(!watch.Saw());
        }
    }

    void writableFileWithoutNotesIsLeftAlone_data()
    {
        QTest::addColumn<int>("mode");
        for (const int mode : {0600, 0420, 0446, 0222})
            QTest::addRow("%04o", unsigned(mode)) << mode;
    }
    void writableFileWithoutNotesIsLeftAlone()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, mode);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", mode), ground.Pipe("pipe", mode)}) {
            const CallFailure reading(CallFailure::GetAttribute, ENOTSUP);
            const OrdinaryUser user;
            QVERIFY(Unlock(path));
            QCOMPARE(FileState::Mode(path), mode);
        }
    }

    void failingNote_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<int>("mode");
        for (const int error : {ENOSPC, EDQUOT, EPERM, EROFS, EIO}) {
            for (const int mode : {0644, 0666, 0020, 0220})
                QTest::addRow("error %d, %04o", error, unsigned(mode)) << error << mode;
        }
    }
    void failingNote()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(int, error);
        QFETCH(int, mode);
        const Playground ground(place);
        for (const QString& path : {ground.File("file", mode), ground.Folder("folder", mode)}) {
            const OrdinaryUser user;
            for (const int succeeding : {0, 1}) {
                // The second failure is that of the call after a denied one.
                if (succeeding == 1 && (mode & 0200) != 0)
                    continue;
                const CallFailure failure(CallFailure::SetAttribute, error, succeeding);
                QVERIFY(!Lock(path));
                QCOMPARE(FileState::Mode(path), mode);
                QVERIFY(FileState::AttributeNames(path).isEmpty());
            }
        }
    }

    void noteIsNotNeededWhereNothingIsTaken()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file", 0444);
        const OrdinaryUser user;
        const CallFailure failure(CallFailure::SetAttribute, ENOSPC);
        QVERIFY(Lock(path));
        QCOMPARE(FileState::Mode(path), 0444);
    }

    void refusedLock_data()
    {
        QTest::addColumn<bool>("ofRoot");
        QTest::addColumn<int>("mode");
        for (const int mode : {0644, 0666, 0664, 0444, 0200, 0020, 0000}) {
            QTest::addRow("mode cannot be changed, %04o", unsigned(mode)) << false << mode;
            if (OrdinaryUser::IsTestRoot())
                QTest::addRow("somebody else's, %04o", unsigned(mode)) << true << mode;
        }
    }
    void refusedLock()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, ofRoot);
        QFETCH(int, mode);
        const Playground ground(place);
        const QString path = ofRoot ? ground.FileOfRoot("file", mode) : ground.File("file", mode);
        const OrdinaryUser user;
        std::optional<CallFailure> failure;
        if (!ofRoot)
            failure.emplace(CallFailure::ChangeMode, EPERM);
        QVERIFY(!Lock(path));
        QCOMPARE(FileState::Mode(path), mode);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
        QVERIFY(!FileState::IsImmutable(path));
    }

    void refusedPipe_data()
    {
        QTest::addColumn<bool>("ofRoot");
        QTest::newRow("mode cannot be changed") << false;
        if (OrdinaryUser::IsTestRoot())
            QTest::newRow("somebody else's") << true;
    }
    void refusedPipe()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, ofRoot);
        const Playground ground(place);
        const QString path = ground.Pipe("pipe", 0666);
        QVERIFY(!ofRoot || ::chown(QFile::encodeName(path).constData(), 0, 0) == 0);
        const OrdinaryUser user;
        std::optional<CallFailure> failure;
        if (!ofRoot)
            failure.emplace(CallFailure::ChangeMode, EPERM);
        QVERIFY(!Lock(path));
        QCOMPARE(FileState::Mode(path), 0666);
    }

    void refusedSecondLockKeepsTheNote_data()
    {
        QTest::addColumn<bool>("ofRoot");
        QTest::newRow("mode cannot be changed") << false;
        if (OrdinaryUser::IsTestRoot())
            QTest::newRow("somebody else's") << true;
    }
    void refusedSecondLockKeepsTheNote()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, ofRoot);
        const Playground ground(place);
        const QString path = ground.File("file", 0664);
        {
            const OrdinaryUser user;
            QVERIFY(Lock(path));
        }
        const QByteArray name = FileState::AttributeNames(path).value(0);
        const QByteArray note = FileState::Attribute(path, name.constData());
        QVERIFY(FileState::SetMode(path, 0646));
        QVERIFY(!ofRoot || ::chown(QFile::encodeName(path).constData(), 0, 0) == 0);
        {
            const OrdinaryUser user;
            std::optional<CallFailure> failure;
            if (!ofRoot)
                failure.emplace(CallFailure::ChangeMode, EPERM);
            QVERIFY(!Lock(path));
        }
        QCOMPARE(FileState::Attribute(path, name.constData()), note);
        QVERIFY(Unlock(path));
        QCOMPARE(FileState::Mode(path), 0666);
    }

    void noteThatCannotBeReadIsKept_data()
    {
        QTest::addColumn<bool>("ofRoot");
        QTest::addColumn<int>("error");
        QTest::newRow("broken") << false << EIO;
        if (OrdinaryUser::IsTestRoot())
            QTest::newRow("somebody else's, writable but not readable") << true << 0;
    }
    void noteThatCannotBeReadIsKept()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, ofRoot);
        QFETCH(int, error);
        const Playground ground(place);
        const QString path = ground.File("file", 0664);
        {
            const OrdinaryUser user;
            QVERIFY(Lock(path));
        }
        const QByteArray name = FileState::AttributeNames(path).value(0);
        const QByteArray note = FileState::Attribute(path, name.constData());
        QVERIFY(FileState::SetMode(path, 0602));
        QVERIFY(!ofRoot || ::chown(QFile::encodeName(path).constData(), 0, 0) == 0);
        {
            const OrdinaryUser user;
            std::optional<CallFailure> failure;
            if (!ofRoot)
                failure.emplace(CallFailure::GetAttribute, error);
            QVERIFY(!Lock(path));
        }
        QCOMPARE(FileState::Mode(path), 0602);
        QCOMPARE(FileState::Attribute(path, name.constData()), note);
        QVERIFY(Unlock(path));
        QCOMPARE(FileState::Mode(path), 0622);
    }

    void refusedUnlock_data()
    {
        QTest::addColumn<bool>("ofRoot");
        QTest::addColumn<int>("call");
        QTest::addColumn<int>("error");
        QTest::newRow("mode cannot be changed") << false << int(CallFailure::ChangeMode) << EPERM;
        QTest::newRow("note cannot be read") << false << int(CallFailure::GetAttribute) << EIO;
        QTest::newRow("note may not be read") << false << int(CallFailure::GetAttribute) << EACCES;
        if (OrdinaryUser::IsTestRoot())
            QTest::newRow("somebody else's") << true << 0 << 0;
    }
    void refusedUnlock()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, ofRoot);
        QFETCH(int, call);
        QFETCH(int, error);
        const Playground ground(place);
        const QString path = ground.File("file", 0664);
        {
            const OrdinaryUser user;
            QVERIFY(Lock(path));
        }
        QVERIFY(!ofRoot || ::chown(QFile::encodeName(path).constData(), 0, 0) == 0);
        {
            const OrdinaryUser user;
            std::optional<CallFailure> failure;
            if (!ofRoot)
                failure.emplace(CallFailure::Call(call), error);
            QVERIFY(!Unlock(path));
            QCOMPARE(FileState::Mode(path), 0444);
            QCOMPARE(FileState::AttributeNames(path).size(), 1);
        }
        QVERIFY(Unlock(path));
        QCOMPARE(FileState::Mode(path), 0664);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void noteThatCannotBeRemoved()
    {
        QFETCH_GLOBAL(QString, place);
        const Playground ground(place);
        const QString path = ground.File("file", 0664);
        const OrdinaryUser user;
        QVERIFY(Lock(path));
        {
            const CallFailure failure(CallFailure::RemoveAttribute, EIO);
            QVERIFY(!Unlock(path));
        }
        QVERIFY(Unlock(path));
        QCOMPARE(FileState::Mode(path), 0664);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void refusedUnlockOfAFlag_data()
    {
        QTest::addColumn<bool>("byFlag");
        QTest::addColumn<int>("call");
        // A user who never had the flag does not depend on it.
        QTest::newRow("write bits, flags cannot be read") << false << int(CallFailure::GetFlags);
        QTest::newRow("write bits, flags cannot be set") << false << int(CallFailure::SetFlags);
        if (!Playground::MayFlag())
            return;
        QTest::newRow("flags cannot be read") << true << int(CallFailure::GetFlags);
        QTest::newRow("flags cannot be set") << true << int(CallFailure::SetFlags);
    }
    void refusedUnlockOfAFlag()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, byFlag);
        QFETCH(int, call);
        const Playground ground(place);
        const QString path = ground.File("file", 0664);
        std::optional<OrdinaryUser> user;
        if (!byFlag)
            user.emplace();
        QVERIFY(Lock(path));
        {
            const CallFailure failure(CallFailure::Call(call), EIO);
            QCOMPARE(Unlock(path), !byFlag);
        }
        QCOMPARE(FileState::IsImmutable(path), byFlag);
        QVERIFY(Unlock(path));
        QVERIFY(!FileState::IsImmutable(path));
        QCOMPARE(FileState::Mode(path), 0664);
    }

    void spoiltNote_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("unlocked");
        QTest::newRow("empty") << QByteArray("") << 0444;
        QTest::newRow("word") << QByteArray("all") << 0444;
        QTest::newRow("no octal digit") << QByteArray("298") << 0444;
        QTest::newRow("more than write bits") << QByteArray("7777") << 0666;
        QTest::newRow("no write bits at all") << QByteArray("7555") << 0444;
    }
    void spoiltNote()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(QByteArray, text);
        QFETCH(int, unlocked);
        const Playground ground(place);
        const QString path = ground.File("file", 0666);
        const OrdinaryUser user;
        QVERIFY(Lock(path));
        QVERIFY(FileState::SetMode(path, 0666)); // to make the record invalid
        QVERIFY(FileState::SetAttribute(path, FileState::AttributeNames(path).value(0).constData(), text));
        QVERIFY(FileState::SetMode(path, 0444));
        QVERIFY(Unlock(path));
        QCOMPARE(FileState::Mode(path), unlocked);
        QVERIFY(FileState::AttributeNames(path).isEmpty());
    }

    void linksAreFollowed_data() { AddWays(); }
    void linksAreFollowed()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, byFlag);
        const Playground ground(place);
        const QString path = ground.File("file", 0664);
        const QString link = ground.Link(path, "link");
        std::optional<OrdinaryUser> user;
        if (!byFlag)
            user.emplace();
        QVERIFY(Lock(link));
        QCOMPARE(FileState::IsImmutable(path), byFlag);
        QCOMPARE(FileState::Mode(path), byFlag ? 0664 : 0444);
        QVERIFY(Unlock(link));
        QVERIFY(!FileState::IsImmutable(path));
        QCOMPARE(FileState::Mode(path), 0664);
    }

    void noSuchFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << QStringLiteral("missing");
        QTest::newRow("dangling link") << QStringLiteral("dangling");
        QTest::newRow("below a file") << QStringLiteral("file/inner");
    }
    void noSuchFile()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(QString, name);
        const Playground ground(place);
        ground.File("file");
        ground.Link(ground.Path("nowhere"), "dangling");
        QVERIFY(!Lock(ground.Path(name)));
        QVERIFY(!Unlock(ground.Path(name)));
        QVERIFY(!QFile::exists(ground.Path(name)));
    }

    void emptyPath()
    {
        QVERIFY(!FileLock::Lock(QByteArray()));
        QVERIFY(!FileLock::Unlock(QByteArray()));
        QVERIFY(!FileLock::Lock(""));
        QVERIFY(!FileLock::Unlock(""));
    }

    void descriptorsAreClosed_data() { AddWays(); }
    void descriptorsAreClosed()
    {
        QFETCH_GLOBAL(QString, place);
        QFETCH(bool, byFlag);
        const Playground ground(place);
        const QString path = ground.File("file");
        std::optional<OrdinaryUser> user;
        if (!byFlag)
            user.emplace();
        const int before = OpenDescriptors();
        for (int i = 0; i < 5; ++i) {
            QVERIFY(Lock(path));
            QVERIFY(Unlock(path));
        }
        const CallFailure failure(CallFailure::SetFlags, EPERM);
        QVERIFY(Lock(path));
        QVERIFY(Unlock(path));
        QCOMPARE(OpenDescriptors(), before);
    }
};

NEROLT_TEST_MAIN(tst_FileLock)

#include "tst_FileLock.moc"
