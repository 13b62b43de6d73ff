#include "FileState.h"
#include "FileTimes.h"
#include "Playground.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>

#include <optional>

using LogScenario::LoggedBy;
using LogScenario::Passing;
using namespace FileTimes;
using Lines = QList<QByteArray>;

namespace {

QByteArray FlagLine(const QString& path, bool flag)
{
    return "|20|Debug|FileUtilities::SetReadOnlyFlag|Path: " + path.toUtf8() + ", flag: " + (flag ? "1" : "0");
}

QByteArray FailureLine(bool flag)
{
    return QByteArray("|30|Warning|FileUtilities::SetReadOnlyFlag|Failed to reset readonly flag value ")
        + (flag ? "1" : "0");
}

QByteArray ExistsLine(const char* function, bool exists)
{
    return QByteArray("|25|Trace|FileUtilities::") + function + "|The file exists: " + (exists ? "1" : "0");
}

QByteArray ResetLine(const QByteArray& message)
{
    return "|25|Trace|ResetReadonlyFlags|" + message;
}

// The lines of a reset: of a file that is not writable, with these permissions (none of what is no file), whose mode is
// set.
Lines ResetLines(const QString& path, bool isWritable, int permissions = -1, bool changes = false)
{
    Lines lines;
    if (!isWritable)
        lines = {ResetLine("file is not writable 0, resetting"), FlagLine(path, false)};
    if (permissions >= 0)
        lines += ResetLine("permissions " + QByteArray::number(permissions));
    if (changes)
        lines += ResetLine("Setting file " + path.toUtf8() + " read/write ");
    return lines;
}

Lines LoggedByReset(const QString& path, bool asRoot, int mask = LogScenario::kAllLevels)
{
    std::optional<OrdinaryUser> user;
    if (!asRoot)
        user.emplace();
    return LoggedBy([&] { FileUtilities::ResetReadonlyFlags(path); }, mask);
}

} // namespace

class tst_FileUtilities : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Uses the path if the descriptor is not open.
    void millisecondsByDescriptor()
    {
        const Playground ground;
        const QString path = ground.File("file");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        const std::optional<qint64> born = FileUtilities::GetMSecs(path, FileTimeCreation);
        QVERIFY(born);
        QCOMPARE(FileUtilities::GetMSecs(path, FileTimeCreation, file.handle()), born);
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite}) {
            QVERIFY(FileUtilities::SetTime(path, Utc(kSomeTime + type), type, false));
            const std::optional<qint64> expected(kSomeTime + type);
            QCOMPARE(FileUtilities::GetMSecs(path, type, file.handle()), expected);
            QCOMPARE(FileUtilities::GetMSecs(path, type, -1), expected);
            QCOMPARE(FileUtilities::GetMSecs(path, type, 9999), expected); // is not open
        }
        QCOMPARE(FileUtilities::GetMSecs(ground.Path("missing"), FileTimeCreation, file.handle()),
                 std::optional<qint64>(kSomeTime));
        QVERIFY(!FileUtilities::GetMSecs(path, FileTimeType(7), file.handle()));
    }

    void linesAboutTimes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("exists");
        QTest::addColumn<bool>("succeeds");
        QTest::newRow("file") << QStringLiteral("file") << 1 << true << true;
        QTest::newRow("creation") << QStringLiteral("file") << 0 << true << true;
        QTest::newRow("write") << QStringLiteral("file") << 2 << true << true;
        QTest::newRow("no such type") << QStringLiteral("file") << 7 << true << false;
        QTest::newRow("folder") << QStringLiteral("folder") << 1 << true << true;
        QTest::newRow("link") << QStringLiteral("link") << 1 << true << true;
        QTest::newRow("missing") << QStringLiteral("missing") << 1 << false << false;
        // The framework counts the link itself here.
        QTest::newRow("dangling link") << QStringLiteral("dangling") << 1 << true << false;
        QTest::newRow("empty path") << QString() << 1 << false << false;
        QTest::newRow("NUL behind the name") << QStringLiteral("file") + QChar(0) << 1 << false << false;
    }
    void linesAboutTimes()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        QFETCH(bool, exists);
        QFETCH(bool, succeeds);
        const Playground ground;
        ground.Link(ground.File("file"), "link");
        ground.Folder("folder");
        ground.Link(ground.Path("nowhere"), "dangling");
        const QString path = name.isEmpty() ? name : ground.Path(name);
        const Lines lines{ExistsLine("SetTime", exists), ExistsLine("GetTime", exists)};
        for (const int mask : {LogScenario::kAllLevels, int(LoggerDefs::Trace), 55}) {
            for (const bool logIt : {false, true}) {
                const auto call = [&] {
                    QCOMPARE(FileUtilities::SetTime(path, Utc(kSomeTime), FileTimeType(type), logIt), succeeds);
                    QCOMPARE(FileUtilities::GetTime(path, FileTimeType(type), logIt),
                             succeeds ? Utc(kSomeTime) : QDateTime());
                };
                QCOMPARE(LoggedBy(call, mask), logIt ? Passing(lines, mask) : Lines());
            }
        }
    }

    void linesAboutTheReadOnlyFlag()
    {
        const Playground ground;
        const QString file = ground.File("file");
        for (const QString& path : {file, ground.Path("%1 %2 100%"), QString()}) {
            for (const bool flag : {true, false}) {
                const Lines lines = Lines{FlagLine(path, flag)} + (path == file ? Lines() : Lines{FailureLine(flag)});
                for (const int mask : {LogScenario::kAllLevels, int(LoggerDefs::Debug), int(LoggerDefs::Warning), 27}) {
                    const auto call = [&] { QCOMPARE(FileUtilities::SetReadOnlyFlag(path, flag), path == file); };
                    QCOMPARE(LoggedBy(call, mask), Passing(lines, mask));
                }
            }
        }
    }

    // The framework's permissions contain those of the caller as well as those of the owner.
    void reset_data()
    {
        QTest::addColumn<bool>("asRoot");
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("permissions");
        QTest::addColumn<bool>("changes");
        const auto row = [](const char* name, bool asRoot, int mode, int permissions, bool changes) {
            QTest::newRow(name) << asRoot << mode << permissions << changes;
        };
        row("ordinary r--r--r--", false, 0444, 0x4444, true);
        row("ordinary rw-r--r--", false, 0644, 0x6644, false);
        row("ordinary rwx------", false, 0700, 0x7700, false);
        row("ordinary -wx------", false, 0300, 0x3300, true);
        row("ordinary r-xrwxrwx", false, 0577, 0x5577, true);
        row("ordinary ---------", false, 0000, 0x0000, true);
        if (!OrdinaryUser::IsTestRoot())
            return;
        row("root r--r--r--", true, 0444, 0x4644, true);
        row("root -wx------", true, 0300, 0x3700, true);
    }
    void reset()
    {
        QFETCH(bool, asRoot);
        QFETCH(int, mode);
        QFETCH(int, permissions);
        QFETCH(bool, changes);
        const bool isWritable = (permissions & QFileDevice::WriteUser) != 0;
        for (const int mask : {LogScenario::kAllLevels, int(LoggerDefs::Trace), 55, 0}) {
            const Playground ground;
            const QString path = ground.File("%1 file", mode);
            const QString link = ground.Link(path, "link");
            const QString& used = mask == 0 ? link : path;
            QCOMPARE(LoggedByReset(used, asRoot, mask),
                     Passing(ResetLines(used, isWritable, permissions, changes), mask));
            QCOMPARE(FileState::Mode(path), changes ? 0644 : mode);
            QVERIFY(FileState::AttributeNames(path).isEmpty());
        }
    }

    void resetFolder_data()
    {
        QTest::addColumn<bool>("asRoot");
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("isWritable");
        QTest::newRow("ordinary rwxr-xr-x") << false << 0755 << true;
        QTest::newRow("ordinary r-xr-xr-x") << false << 0555 << false;
        if (OrdinaryUser::IsTestRoot())
            QTest::newRow("root r-xr-xr-x") << true << 0555 << true;
    }
    void resetFolder()
    {
        QFETCH(bool, asRoot);
        QFETCH(int, mode);
        QFETCH(bool, isWritable);
        const Playground ground;
        const QString path = ground.Folder("folder");
        const QString inner = ground.File("folder/inner", 0444);
        QVERIFY(FileState::SetMode(path, mode));
        QCOMPARE(LoggedByReset(path, asRoot), ResetLines(path, isWritable));
        QCOMPARE(FileState::Mode(path), mode);
        QCOMPARE(FileState::Mode(inner), 0444);
        const QString pipe = ground.Pipe("pipe", 0200); // is no file either
        QCOMPARE(LoggedByReset(pipe, asRoot), Lines());
        QCOMPARE(FileState::Mode(pipe), 0200);
    }

    void resetMissing()
    {
        const Playground ground;
        ground.File("file");
        ground.Link(ground.Path("nowhere"), "dangling");
        for (const QString& path :
             {ground.Path("missing"), ground.Path("dangling"), ground.Path("file/inner"), QString()}) {
            const Lines lines = ResetLines(path, false) + Lines{FailureLine(false)};
            for (const int mask : {LogScenario::kAllLevels, int(LoggerDefs::Warning)})
                QCOMPARE(LoggedByReset(path, true, mask), Passing(lines, mask));
            QVERIFY(!QFile::exists(path));
        }
    }

    void resetLocked_data()
    {
        QTest::addColumn<bool>("byFlag");
        QTest::addColumn<bool>("asRoot");
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("permissions");
        QTest::addColumn<bool>("changes");
        QTest::addColumn<int>("unlocked");
        const auto row
            = [](const char* name, bool byFlag, bool asRoot, int mode, int permissions, bool changes, int unlocked) {
                  QTest::newRow(name) << byFlag << asRoot << mode << permissions << changes << unlocked;
              };
        row("write bits", false, false, 0664, 0x6664, false, 0664);
        row("write bits without read", false, false, 0200, 0x2200, true, 0644);
        row("write bits without the owner's", false, false, 0464, 0x4464, true, 0644);
        if (!Playground::MayFlag())
            return;
        row("flag", true, true, 0644, 0x6644, false, 0644);
        row("flag and mode", true, true, 0444, 0x4644, true, 0644);
        row("flag, ordinary user", true, false, 0644, 0x6444, false, 0644);
        row("flag and mode, ordinary user", true, false, 0444, 0x4444, true, 0444);
    }
    void resetLocked()
    {
        QFETCH(bool, byFlag);
        QFETCH(bool, asRoot);
        QFETCH(int, mode);
        QFETCH(int, permissions);
        QFETCH(bool, changes);
        QFETCH(int, unlocked);
        const Playground ground;
        const QString path = ground.File("file", mode);
        {
            std::optional<OrdinaryUser> user;
            if (!byFlag)
                user.emplace();
            QVERIFY(FileUtilities::SetReadOnlyFlag(path, true));
            QVERIFY(!FileState::CanWrite(path));
        }
        const bool isDenied = byFlag && !asRoot;
        Lines lines = ResetLines(path, false, permissions, changes);
        if (isDenied)
            lines.insert(2, FailureLine(false));
        QCOMPARE(LoggedByReset(path, asRoot), lines);
        QCOMPARE(FileState::IsImmutable(path), isDenied);
        QCOMPARE(FileState::Mode(path), unlocked);
    }

    // FileUtilities without the log line, and its platform layer.
    void othersLogNothing()
    {
        const Playground ground;
        const Lines lines = LoggedBy([&] {
            for (const QString& path : {ground.File("file"), ground.Path("missing"), QString()}) {
                FileUtilities::GetMSecs(path, FileTimeCreation);
                FileInfoMac info(path);
                for (const int type : {0, 1, 7}) {
                    info.GetTime(FileTimeType(type));
                    info.SetTime(Utc(kSomeTime), FileTimeType(type));
                }
                info.SetReadOnlyFlag(true);
                info.SetReadOnlyFlag(false);
            }
            FileInfoMac::GetOSVersion();
        });
        QCOMPARE(lines, Lines());
    }
};

NEROLT_TEST_MAIN(tst_FileUtilities)

#include "tst_FileUtilities.moc"
