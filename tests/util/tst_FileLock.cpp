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

bool Lock(const QString& path)
{
    return FileLock::Lock(QFile::encodeName(path));
}

bool Unlock(const QString& path)
{
    return FileLock::Unlock(QFile::encodeName(path));
}

// The names and texts of all attributes.
QByteArray Notes(const QString& path)
{
    QByteArray notes;
    for (const QByteArray& name : FileState::AttributeNames(path))
        notes += name + '=' + FileState::Attribute(path, name.constData()) + ';';
    return notes;
}

// Steps that an ordinary user takes, until "self" does: "lock 0444" and "unlock 0644" succeed and leave that mode,
// "refused lock 0644" fails and changes nothing, "mode 0600" and "note 222" are done by hand. A star at the end means
// that the failing call fails then. A locked file that has no write bit to lose, or the flag, keeps no notes.
class Script
{
public:
    Script(const QString& path, int call, int error)
        : iPath(path)
        , iCall(CallFailure::Call(call))
        , iError(error)
        , iUser(std::in_place)
    {
    }

    // Returns what was different.
    QString Do(const QString& step)
    {
        const QStringList words = step.split(QLatin1Char(' '));
        const int mode = words.value(words.size() - 1).remove(QLatin1Char('*')).toInt(nullptr, 8);
        const bool isRefused = words.first() == QLatin1String("refused");
        const QString& verb = words.at(isRefused ? 1 : 0);
        const QByteArray notes = Notes(iPath);
        bool done = true;
        if (verb == QLatin1String("self"))
            iUser.reset();
        else if (verb == QLatin1String("user"))
            iUser.emplace();
        else if (verb == QLatin1String("chown"))
            done = ::chown(QFile::encodeName(iPath).constData(), 0, 0) == 0;
        else if (verb == QLatin1String("mode"))
            done = FileState::SetMode(iPath, mode);
        else if (verb == QLatin1String("note"))
            done = FileState::SetAttribute(iPath, FileState::AttributeNames(iPath).value(0).constData(),
                                           words.at(1).toLatin1());
        else
            done = Call(verb, step.endsWith(QLatin1Char('*')));
        if (done == isRefused)
            return step + QLatin1String(done ? " succeeded" : " failed");
        if (verb.endsWith(QLatin1String("lock")) && FileState::Mode(iPath) != mode)
            return step + QLatin1String(", but ") + QString::number(FileState::Mode(iPath), 8);
        if (isRefused ? Notes(iPath) != notes : verb == QLatin1String("unlock") && !Notes(iPath).isEmpty())
            return step + QLatin1String(", but ") + QString::fromLatin1(Notes(iPath));
        return QString();
    }

private:
    bool Call(const QString& verb, bool fails) const
    {
        std::optional<CallFailure> failure;
        if (fails)
            failure.emplace(iCall, iError);
        return verb == QLatin1String("lock") ? Lock(iPath) : Unlock(iPath);
    }

    const QString iPath;
    const CallFailure::Call iCall;
    const int iError;
    std::optional<OrdinaryUser> iUser;
};

void AddSteps(const QString& steps, int call = CallFailure::CallCount, int error = 0)
{
    QTest::addRow("%s%s", qPrintable(steps), error ? qPrintable(QStringLiteral(", %1 %2").arg(call).arg(error)) : "")
        << steps << call << error;
}

void AddModes()
{
    for (const int mode :
         {0644, 0664, 0666, 0600, 0755, 0777, 0622, 0222, 0020, 0002, 0464, 0444, 0111, 0000, 04755, 02775, 01777}) {
        AddSteps(QString::asprintf("mode %04o, lock %04o, lock %04o, unlock %04o, unlock %04o", unsigned(mode),
                                   unsigned(mode & ~0222), unsigned(mode & ~0222), unsigned(mode), unsigned(mode)));
        AddSteps(QString::asprintf("mode %04o, unlock %04o, self, unlock %04o", unsigned(mode), unsigned(mode),
                                   unsigned(mode)));
    }
}

// What is done to a locked file by hand.
void AddChanges()
{
    for (const char* const steps :
         {"mode 0664, lock 0444, mode 0464, unlock 0664", "mode 0644, lock 0444, mode 0755, unlock 0755",
          "mode 0644, lock 0444, mode 0400, unlock 0600", "mode 0664, lock 0444, mode 0000, unlock 0220",
          "mode 0600, lock 0400, mode 0422, unlock 0622", "mode 0446, lock 0444, mode 0400, unlock 0402",
          "mode 0644, lock 0444, mode 05444, unlock 05644", "mode 04755, lock 04555, mode 0555, unlock 0755",
          "mode 0444, lock 0444, mode 0646, unlock 0646", "mode 0644, lock 0444, self, unlock 0644",
          "mode 0664, lock 0444, mode 0644, lock 0444, unlock 0664",
          "mode 0464, lock 0444, mode 0646, lock 0444, unlock 0666",
          "mode 0664, lock 0444, mode 0440, lock 0440, unlock 0660",
          "mode 0644, lock 0444, mode 0046, lock 0044, unlock 0246"})
        AddSteps(QString::fromLatin1(steps));
}

void AddSpoiltNotes()
{
    for (const char* const text : {"", "all", "298", "7555"})
        AddSteps(QStringLiteral("mode 0666, lock 0444, mode 0666, note %1, mode 0444, unlock 0444")
                     .arg(QLatin1String(text)));
    AddSteps(QStringLiteral("mode 0666, lock 0444, mode 0666, note 7777, mode 0444, unlock 0666"));
    AddSteps(QStringLiteral("mode 0666, lock 0444, mode 0666, note %1, lock 0444, unlock 0666")
                 .arg(QString(64, QLatin1Char('2'))));
}

void AddRefusals()
{
    for (const int error : {ENOSPC, EPERM, EIO})
        AddSteps(QStringLiteral("mode 0664, refused lock 0664*, mode 0020, refused lock 0020*"),
                 CallFailure::SetAttribute, error);
    AddSteps(QStringLiteral("mode 0444, lock 0444*"), CallFailure::SetAttribute, ENOSPC);
    AddSteps(QStringLiteral("mode 0666, refused lock 0666*, mode 0444, refused lock 0444*"), CallFailure::ChangeMode,
             EPERM);
    AddSteps(QStringLiteral("mode 0664, lock 0444, mode 0646, refused lock 0646*, unlock 0666"),
             CallFailure::ChangeMode, EPERM);
    AddSteps(QStringLiteral("mode 0664, lock 0444, refused unlock 0444*, unlock 0664"), CallFailure::ChangeMode, EPERM);
    AddSteps(QStringLiteral("mode 0220, lock 0000, refused unlock 0000*, unlock 0220"), CallFailure::ChangeMode, EPERM);
    for (const int error : {EIO, EACCES})
        AddSteps(
            QStringLiteral("mode 0664, lock 0444, refused unlock 0444*, mode 0602, refused lock 0602*, unlock 0622"),
            CallFailure::GetAttribute, error);
    AddSteps(QStringLiteral("mode 0664, lock 0444, refused unlock 0664*, unlock 0664"), CallFailure::RemoveAttribute,
             EIO);
    for (const CallFailure::Call call : {CallFailure::GetFlags, CallFailure::SetFlags}) {
        AddSteps(QStringLiteral("mode 0664, self, lock 0444*, unlock 0664"), call, EPERM);
        AddSteps(QStringLiteral("mode 0664, lock 0444*, unlock 0664*"), call, ENOTTY);
    }
    if (!OrdinaryUser::IsTestRoot())
        return;
    AddSteps(QStringLiteral("mode 0444, self, chown, user, unlock 0444"));
    AddSteps(QStringLiteral("mode 0664, self, chown, user, refused lock 0664"));
    AddSteps(QStringLiteral("mode 0664, lock 0444, self, chown, user, refused unlock 0444, self, unlock 0664"));
    AddSteps(
        QStringLiteral("mode 0664, lock 0444, mode 0646, self, chown, user, refused lock 0646, self, unlock 0666"));
    AddSteps(
        QStringLiteral("mode 0664, lock 0444, mode 0602, self, chown, user, refused lock 0602, self, unlock 0622"));
}

void AddFlags()
{
    AddSteps(QStringLiteral("mode 0664, self, lock 0664, lock 0664, user, lock 0664, refused unlock 0664, self, "
                            "unlock 0664"));
    AddSteps(QStringLiteral("mode 0664, lock 0444, self, lock 0444, unlock 0664"));
    for (const CallFailure::Call call : {CallFailure::GetFlags, CallFailure::SetFlags})
        AddSteps(QStringLiteral("mode 0664, self, lock 0664, refused unlock 0664*, unlock 0664"), call, EIO);
}

} // namespace

class tst_FileLock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void steps_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<int>("call");
        QTest::addColumn<int>("error");
        AddModes();
        AddChanges();
        AddSpoiltNotes();
        AddRefusals();
        if (Playground::MayFlag())
            AddFlags();
    }
    void steps()
    {
        QFETCH(QString, steps);
        QFETCH(int, call);
        QFETCH(int, error);
        const Playground ground;
        const QDir open(QStringLiteral("/proc/self/fd"));
        const auto descriptors = open.entryList(QDir::AllEntries | QDir::System).size();
        for (const QString& path : {ground.File("file"), ground.Folder("folder")}) {
            Script script(path, call, error);
            for (const QString& step : steps.split(QStringLiteral(", ")))
                QCOMPARE(script.Do(step), QString());
        }
        QCOMPARE(open.entryList(QDir::AllEntries | QDir::System).size(), descriptors);
    }

    // The two ways to lock: that of an ordinary user, and that of root if the file system has the flag.
    void flags_data()
    {
        QTest::addColumn<bool>("byFlag");
        QTest::newRow("write bits") << false;
        if (Playground::MayFlag())
            QTest::newRow("flag") << true;
    }
    void flags()
    {
        QFETCH(bool, byFlag);
        const Playground ground;
        for (const QString& path : {ground.File("file", 0664), ground.Folder("folder", 0775)}) {
            const int mode = FileState::Mode(path);
            const int before = FileState::Flags(path) | FS_NODUMP_FL;
            const QString link = ground.Link(path, path.endsWith(QLatin1String("r")) ? "link" : "other link");
            QVERIFY(FileState::SetFlags(path, before));
            QVERIFY(FileState::SetAttribute(path, "user.other", "x"));
            std::optional<OrdinaryUser> user;
            if (!byFlag)
                user.emplace();
            QVERIFY(Lock(link));
            QVERIFY(!FileState::CanWrite(path));
            QCOMPARE(FileState::Flags(path), byFlag ? before | FS_IMMUTABLE_FL : before);
            QCOMPARE(FileState::Mode(path), byFlag ? mode : mode & ~0222);
            QVERIFY(Unlock(link));
            QCOMPARE(FileState::Flags(path), before);
            QCOMPARE(FileState::Mode(path), mode);
            QCOMPARE(Notes(path), QByteArray("user.other=x;"));
        }
    }

    // Pipes have neither, and are not opened.
    void neitherFlagNorAttribute_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("unlocked");
        QTest::newRow("owner and readers") << 0644 << 0644;
        QTest::newRow("group's bit is lost") << 0664 << 0644;
        QTest::newRow("only the group's") << 0420 << 0600;
        QTest::newRow("none") << 0444 << 0644;
        QTest::newRow("nothing at all") << 0000 << 0200;
        QTest::newRow("bits above") << 05755 << 05755;
    }
    void neitherFlagNorAttribute()
    {
        QFETCH(int, mode);
        QFETCH(int, unlocked);
        const Playground ground;
        const CallFailure flags(CallFailure::GetFlags, ENOTTY);
        const CallFailure reading(CallFailure::GetAttribute, ENOTSUP);
        const CallFailure writing(CallFailure::SetAttribute, ENOTSUP);
        const CallFailure removing(CallFailure::RemoveAttribute, ENOTSUP);
        const QString file = ground.File("file", mode);
        for (const QString& path : {file, ground.Pipe("pipe", mode)}) {
            const OrdinaryUser user;
            std::optional<FileWatch> watch;
            if (path != file && (mode & 0400) != 0)
                watch.emplace(path, FileWatch::Opens);
            QVERIFY((mode & 0222) == 0 || Unlock(path)); // left alone
            QCOMPARE(FileState::Mode(path), mode);
            for (int i = 0; i < 2; ++i) {
                QVERIFY(Lock(path));
                QCOMPARE(FileState::Mode(path), mode & ~0222);
            }
            QVERIFY(Unlock(path));
            QCOMPARE(FileState::Mode(path), unlocked);
            QVERIFY(!watch || !watch->Saw());
            const CallFailure failure(CallFailure::ChangeMode, EPERM);
            QVERIFY(!Lock(path));
            QCOMPARE(FileState::Mode(path), unlocked);
        }
    }
};

NEROLT_TEST_MAIN(tst_FileLock)

#include "tst_FileLock.moc"
