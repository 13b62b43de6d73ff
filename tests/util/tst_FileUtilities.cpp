#include "FileState.h"
#include "Playground.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileInfoMac.h>
#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>

#include <cstdio>
#include <functional>
#include <future>
#include <optional>
#include <type_traits>
#include <vector>

using Lines = QList<QByteArray>;

namespace {

constexpr qint64 kSomeTime = 1700000000123;
constexpr int kAll = 63;
constexpr int kNone = 0;

// The user of the calls: the test's own, who may be root, or always an ordinary one.
const QString kSelf = QStringLiteral("self");
const QString kOrdinary = QStringLiteral("ordinary");

QDateTime SomeTime()
{
    return QDateTime::fromMSecsSinceEpoch(kSomeTime, Qt::UTC);
}

// Logs one call under a mask to app.log, and prints its result. The last line of the log is not from the call: it shows
// that the log was running.
int LogCall(const QStringList& arguments, const std::function<QByteArray(const QStringList&)>& call)
{
    if (arguments.value(0) == kOrdinary)
        Playground::StayOrdinary();
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    Logger::GetInstance()->SetLevel(arguments.value(1).toInt());
    std::fputs(call(arguments.mid(2)).constData(), stdout);
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::StopLogging();
    return 0;
}

class LoggedCall
{
public:
    LoggedCall(const char* name, std::function<QByteArray(const QStringList&)> call)
        : iScenario(name, [call](const QStringList& arguments) { return LogCall(arguments, call); })
    {
    }

private:
    const TestSupport::Scenario iScenario;
};

QByteArray Text(bool value)
{
    return value ? "true" : "false";
}

QByteArray Text(const QDateTime& time)
{
    return time.isValid() ? QByteArray::number(time.toMSecsSinceEpoch()) : QByteArray("invalid");
}

const LoggedCall kSetReadOnlyFlag("SetReadOnlyFlag", [](const QStringList& arguments) {
    return Text(FileUtilities::SetReadOnlyFlag(arguments.value(0), arguments.value(1) == QLatin1String("1")));
});

const LoggedCall kSetTime("SetTime", [](const QStringList& arguments) {
    return Text(FileUtilities::SetTime(arguments.value(0), SomeTime(), FileTimeType(arguments.value(1).toInt()),
                                       arguments.value(2) == QLatin1String("1")));
});

const LoggedCall kGetTime("GetTime", [](const QStringList& arguments) {
    return Text(FileUtilities::GetTime(arguments.value(0), FileTimeType(arguments.value(1).toInt()),
                                       arguments.value(2) == QLatin1String("1")));
});

const LoggedCall kReset("ResetReadonlyFlags", [](const QStringList& arguments) {
    FileUtilities::ResetReadonlyFlags(arguments.value(0));
    return QByteArray();
});

// Everything that does not log: FileUtilities without the log line, and its platform layer.
const LoggedCall kSilent("silent", [](const QStringList& arguments) {
    for (const QString& path : arguments) {
        FileUtilities::GetMSecs(path, FileTimeCreation);
        FileInfoMac info(path);
        for (const int type : {0, 1, 2, 7}) {
            info.GetTime(FileTimeType(type));
            info.SetTime(SomeTime(), FileTimeType(type));
        }
        info.SetTime(QDateTime(), FileTimeCreation);
        info.SetReadOnlyFlag(true);
        info.SetReadOnlyFlag(false);
    }
    FileInfoMac::GetOSVersion();
    return QByteArray();
});

// The calls still work after the log has stopped.
const TestSupport::Scenario kStopped("stopped", [](const QStringList& arguments) {
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    Logger::GetInstance()->SetLevel(kAll);
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::StopLogging();
    Logger::GetInstance()->SetLevel(kAll);
    const QString path = arguments.value(0);
    FileUtilities::ResetReadonlyFlags(path);
    const bool done = FileUtilities::SetReadOnlyFlag(path, true) && FileUtilities::SetReadOnlyFlag(path, false)
        && FileUtilities::SetTime(path, SomeTime(), FileTimeModification, true)
        && FileUtilities::GetTime(path, FileTimeModification, true) == SomeTime()
        && !FileUtilities::SetReadOnlyFlag(path + QStringLiteral("missing"), true);
    return done ? 0 : 1;
});

struct Outcome
{
    QByteArray iError; // empty if the scenario succeeded
    QByteArray iResult;
    Lines iLines; // without the last one
};

Outcome Run(const char* call, const QString& who, int mask, const QStringList& arguments)
{
    const QStringList all = QStringList{who, QString::number(mask)} + arguments;
    const TestSupport::ScenarioResult result = TestSupport::RunScenario(call, all);
    Outcome outcome;
    if (!result.IsOk())
        outcome.iError = result.Describe();
    outcome.iResult = result.iStdout;
    outcome.iLines = LogText::Bodies(LogText::Read(result.iFolder.filePath(QStringLiteral("app.log"))));
    if (outcome.iLines.isEmpty()
        || outcome.iLines.takeLast() != "|10|Information|Logger::StopLogging|stopping logging file path is app.log")
        outcome.iError += "the log does not end as it should";
    return outcome;
}

QByteArray DebugLine(const QString& path, bool flag)
{
    return "|20|Debug|FileUtilities::SetReadOnlyFlag|Path: " + path.toUtf8() + ", flag: " + (flag ? "1" : "0");
}

QByteArray WarningLine(bool flag)
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

const char* const kNotWritable = "file is not writable 0, resetting";

// The lines of the levels in a mask only.
Lines Filtered(const Lines& lines, int mask)
{
    Lines passed;
    for (const QByteArray& line : lines) {
        if ((line.startsWith("|20|Debug|") && (mask & LoggerDefs::Debug) != 0)
            || (line.startsWith("|25|Trace|") && (mask & LoggerDefs::Trace) != 0)
            || (line.startsWith("|30|Warning|") && (mask & LoggerDefs::Warning) != 0))
            passed += line;
    }
    return passed;
}

const int kMasks[] = {kAll,
                      255,
                      kNone,
                      18,
                      LoggerDefs::Debug,
                      LoggerDefs::Trace,
                      LoggerDefs::Warning,
                      kAll & ~LoggerDefs::Debug,
                      kAll & ~LoggerDefs::Trace,
                      kAll & ~LoggerDefs::Warning};

} // namespace

class tst_FileUtilities : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shape()
    {
        QVERIFY(std::is_empty_v<FileUtilities>);
        QVERIFY(!std::is_polymorphic_v<FileUtilities>);
        QVERIFY((std::is_same_v<decltype(&FileUtilities::SetReadOnlyFlag), bool (*)(const QString&, bool)>));
        QVERIFY((std::is_same_v<decltype(&FileUtilities::SetTime),
                                bool (*)(const QString&, const QDateTime&, FileTimeType, bool)>));
        QVERIFY((std::is_same_v<decltype(&FileUtilities::GetTime), QDateTime (*)(const QString&, FileTimeType, bool)>));
        QVERIFY((std::is_same_v<decltype(&FileUtilities::ResetReadonlyFlags), void (*)(const QString&)>));
    }

    void times_data()
    {
        QTest::addColumn<bool>("logIt");
        QTest::newRow("silent") << false;
        QTest::newRow("logged") << true;
    }
    void times()
    {
        QFETCH(bool, logIt);
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.File("file");
        QVERIFY(FileUtilities::SetTime(path, SomeTime(), FileTimeCreation, logIt));
        QVERIFY(FileUtilities::SetTime(path, SomeTime().addMSecs(1), FileTimeModification, logIt));
        QCOMPARE(FileUtilities::GetTime(path, FileTimeCreation, logIt), SomeTime());
        QCOMPARE(FileUtilities::GetTime(path, FileTimeModification, logIt), SomeTime().addMSecs(1));
        QCOMPARE(FileUtilities::GetTime(path, FileTimeWrite, logIt), SomeTime().addMSecs(1));
        QCOMPARE(FileUtilities::GetTime(path, FileTimeWrite, logIt).timeSpec(), Qt::LocalTime);
        QCOMPARE(QFileInfo(path).lastModified(), SomeTime().addMSecs(1));
        QVERIFY(FileUtilities::SetTime(path, SomeTime().addMSecs(2), FileTimeWrite, logIt));
        QCOMPARE(QFileInfo(path).lastModified(), SomeTime().addMSecs(2));
        QCOMPARE(FileUtilities::GetTime(path, FileTimeModification, logIt), SomeTime().addMSecs(2));
        QVERIFY(!FileUtilities::SetTime(path, QDateTime(), FileTimeModification, logIt));
        QCOMPARE(FileUtilities::GetTime(path, FileTimeModification, logIt), SomeTime().addMSecs(2));
        QCOMPARE(FileUtilities::GetTime(path, FileTimeCreation, logIt), SomeTime());
    }

    void milliseconds()
    {
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.File("file");
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite}) {
            QVERIFY(FileUtilities::SetTime(path, SomeTime().addMSecs(type), type, false));
            QCOMPARE(FileUtilities::GetMSecs(path, type), std::optional<qint64>(kSomeTime + type));
            QVERIFY(!FileUtilities::GetMSecs(ground.Path("missing"), type));
            QVERIFY(!FileUtilities::GetMSecs(QString(), type));
        }
        QVERIFY(!FileUtilities::GetMSecs(path, FileTimeType(7)));
    }

    // Uses the path if the descriptor is not open.
    void millisecondsByDescriptor()
    {
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.File("file");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        const std::optional<qint64> born = FileUtilities::GetMSecs(path, FileTimeCreation);
        QVERIFY(born);
        QCOMPARE(FileUtilities::GetMSecs(path, FileTimeCreation, file.handle()), born);
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification, FileTimeWrite}) {
            QVERIFY(FileUtilities::SetTime(path, SomeTime().addMSecs(type), type, false));
            const std::optional<qint64> expected(kSomeTime + type);
            QCOMPARE(FileUtilities::GetMSecs(path, type, file.handle()), expected);
            QCOMPARE(FileUtilities::GetMSecs(path, type, -1), expected);
            QCOMPARE(FileUtilities::GetMSecs(path, type, 9999), expected); // is not open
        }
        QCOMPARE(FileUtilities::GetMSecs(ground.Path("missing"), FileTimeCreation, file.handle()),
                 std::optional<qint64>(kSomeTime));
        QVERIFY(!FileUtilities::GetMSecs(path, FileTimeType(7), file.handle()));
    }

    void noTimes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::newRow("type 7") << QStringLiteral("file") << 7;
        QTest::newRow("type 3") << QStringLiteral("file") << 3;
        QTest::newRow("type -1") << QStringLiteral("file") << -1;
        QTest::newRow("missing") << QStringLiteral("missing") << 1;
        QTest::newRow("missing, creation") << QStringLiteral("missing") << 0;
        QTest::newRow("dangling link") << QStringLiteral("dangling") << 1;
        QTest::newRow("NUL behind the name") << QStringLiteral("file") + QChar(0) << 1;
    }
    void noTimes()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        const Playground ground(TestSupport::Scratch());
        const QDateTime before = QFileInfo(ground.File("file")).lastModified();
        ground.Link(ground.Path("nowhere"), "dangling");
        for (const bool logIt : {false, true}) {
            QVERIFY(!FileUtilities::GetTime(ground.Path(name), FileTimeType(type), logIt).isValid());
            QVERIFY(!FileUtilities::SetTime(ground.Path(name), SomeTime(), FileTimeType(type), logIt));
        }
        QCOMPARE(QFileInfo(ground.Path("file")).lastModified(), before);
        QVERIFY(!QFile::exists(ground.Path("missing")));
    }

    void noTimesOfAnEmptyPath()
    {
        for (const bool logIt : {false, true}) {
            QVERIFY(!FileUtilities::GetTime(QString(), FileTimeModification, logIt).isValid());
            QVERIFY(!FileUtilities::SetTime(QString(), SomeTime(), FileTimeModification, logIt));
        }
    }

    void noTimesOfWhatTheFrameworkTakesForAResource()
    {
        const Playground ground(TestSupport::Scratch());
        ground.Folder(":");
        const QString path = ground.File(":/file");
        const QDateTime before = QFileInfo(path).lastModified();
        QVERIFY(QDir::setCurrent(ground.Path("")));
        for (const bool logIt : {false, true}) {
            QVERIFY(!FileUtilities::GetTime(QStringLiteral(":/file"), FileTimeModification, logIt).isValid());
            QVERIFY(!FileUtilities::SetTime(QStringLiteral(":/file"), SomeTime(), FileTimeModification, logIt));
        }
        QVERIFY(QDir::setCurrent(TestSupport::Scratch()));
        QCOMPARE(QFileInfo(path).lastModified(), before);
    }

    void timesOpenNothing()
    {
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.File("file");
        FileWatch watch(path, FileWatch::Opens);
        for (const FileTimeType type : {FileTimeCreation, FileTimeModification}) {
            QVERIFY(FileUtilities::SetTime(path, SomeTime(), type, true));
            QVERIFY(FileUtilities::GetTime(path, type, true).isValid());
        }
        QVERIFY(!watch.Saw());
        QVERIFY(QFile(path).open(QIODevice::ReadOnly));
        QVERIFY(watch.Saw());
    }

    void anyThread()
    {
        const Playground ground(TestSupport::Scratch());
        std::vector<std::future<bool>> results;
        for (int i = 0; i < 4; ++i) {
            const QString path = ground.File(QString::number(i));
            results.push_back(std::async(std::launch::async, [path, i] {
                bool done = true;
                for (int round = 0; round < 100 && done; ++round) {
                    const QDateTime time = SomeTime().addDays(i).addSecs(round);
                    for (const FileTimeType type : {FileTimeCreation, FileTimeModification})
                        done = done && FileUtilities::SetTime(path, time, type, true)
                            && FileUtilities::GetTime(path, type, true) == time;
                }
                return done;
            }));
        }
        for (std::future<bool>& result : results)
            QVERIFY(result.get());
    }

    void linesAboutTimes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("logIt");
        QTest::addColumn<int>("mask");
        QTest::addColumn<bool>("exists");
        QTest::addColumn<bool>("succeeds");
        for (const int mask : kMasks)
            QTest::addRow("mask %d", mask) << QStringLiteral("file") << 1 << 1 << mask << true << true;
        QTest::newRow("not wanted") << QStringLiteral("file") << 1 << 0 << kAll << true << true;
        QTest::newRow("creation") << QStringLiteral("file") << 0 << 1 << kAll << true << true;
        QTest::newRow("type that selects nothing") << QStringLiteral("file") << 7 << 1 << kAll << true << false;
        QTest::newRow("folder") << QStringLiteral("folder") << 1 << 1 << kAll << true << true;
        QTest::newRow("link") << QStringLiteral("link") << 1 << 1 << kAll << true << true;
        QTest::newRow("missing") << QStringLiteral("missing") << 1 << 1 << kAll << false << false;
        QTest::newRow("missing, not wanted") << QStringLiteral("missing") << 1 << 0 << kAll << false << false;
        QTest::newRow("missing, level off")
            << QStringLiteral("missing") << 1 << 1 << (kAll & ~LoggerDefs::Trace) << false << false;
        // The framework counts the link itself here.
        QTest::newRow("dangling link") << QStringLiteral("dangling") << 1 << 1 << kAll << true << false;
    }
    void linesAboutTimes()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        QFETCH(int, logIt);
        QFETCH(int, mask);
        QFETCH(bool, exists);
        QFETCH(bool, succeeds);
        const Playground ground(TestSupport::Scratch());
        ground.Link(ground.File("file"), "link");
        ground.Folder("folder");
        ground.Link(ground.Path("nowhere"), "dangling");
        const QStringList arguments{ground.Path(name), QString::number(type), QString::number(logIt)};
        const bool isLogged = logIt != 0 && (mask & LoggerDefs::Trace) != 0;

        const Outcome setting = Run("SetTime", kSelf, mask, arguments);
        QCOMPARE(setting.iError, QByteArray());
        QCOMPARE(setting.iResult, Text(succeeds));
        QCOMPARE(setting.iLines, isLogged ? Lines{ExistsLine("SetTime", exists)} : Lines());

        const Outcome getting = Run("GetTime", kSelf, mask, arguments);
        QCOMPARE(getting.iError, QByteArray());
        QCOMPARE(getting.iResult, succeeds ? QByteArray::number(kSomeTime) : QByteArray("invalid"));
        QCOMPARE(getting.iLines, isLogged ? Lines{ExistsLine("GetTime", exists)} : Lines());
    }

    void linesAboutTimesOfAnEmptyPath()
    {
        const QStringList arguments{QString(), QStringLiteral("1"), QStringLiteral("1")};
        const Outcome setting = Run("SetTime", kSelf, kAll, arguments);
        QCOMPARE(setting.iError, QByteArray());
        QCOMPARE(setting.iResult, QByteArray("false"));
        QCOMPARE(setting.iLines, Lines{ExistsLine("SetTime", false)});
        const Outcome getting = Run("GetTime", kSelf, kAll, arguments);
        QCOMPARE(getting.iError, QByteArray());
        QCOMPARE(getting.iResult, QByteArray("invalid"));
        QCOMPARE(getting.iLines, Lines{ExistsLine("GetTime", false)});
    }

    void readOnlyFlag_data()
    {
        QTest::addColumn<bool>("byFlag");
        QTest::newRow("write bits") << false;
        if (Playground::MayFlag())
            QTest::newRow("flag") << true;
    }
    void readOnlyFlag()
    {
        QFETCH(bool, byFlag);
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.File("file", 0664);
        std::optional<OrdinaryUser> user;
        if (!byFlag)
            user.emplace();
        QVERIFY(FileUtilities::SetReadOnlyFlag(path, true));
        QCOMPARE(FileState::IsImmutable(path), byFlag);
        QVERIFY(!FileState::CanWrite(path));
        QVERIFY(FileUtilities::SetReadOnlyFlag(path, false));
        QVERIFY(!FileState::IsImmutable(path));
        QCOMPARE(FileState::Mode(path), 0664);
        QVERIFY(!FileUtilities::SetReadOnlyFlag(ground.Path("missing"), true));
        QVERIFY(!FileUtilities::SetReadOnlyFlag(ground.Path("missing"), false));
        QVERIFY(!FileUtilities::SetReadOnlyFlag(QString(), true));
        QVERIFY(!FileUtilities::SetReadOnlyFlag(QString(), false));
    }

    void linesAboutTheReadOnlyFlag_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("mask");
        QTest::addColumn<bool>("succeeds");
        for (const int mask : kMasks) {
            QTest::addRow("success, mask %d", mask) << QStringLiteral("file") << mask << true;
            QTest::addRow("failure, mask %d", mask) << QStringLiteral("missing") << mask << false;
        }
        QTest::newRow("folder") << QStringLiteral("folder") << kAll << true;
        QTest::newRow("template marks in the path") << QStringLiteral("%1 %2 %L1 100%") << kAll << false;
    }
    void linesAboutTheReadOnlyFlag()
    {
        QFETCH(QString, name);
        QFETCH(int, mask);
        QFETCH(bool, succeeds);
        const Playground ground(TestSupport::Scratch());
        ground.File("file");
        ground.Folder("folder");
        const QString path = ground.Path(name);
        for (const bool flag : {true, false}) {
            const Outcome outcome
                = Run("SetReadOnlyFlag", kSelf, mask, {path, flag ? QStringLiteral("1") : QStringLiteral("0")});
            QCOMPARE(outcome.iError, QByteArray());
            QCOMPARE(outcome.iResult, Text(succeeds));
            Lines lines{DebugLine(path, flag)};
            if (!succeeds)
                lines += WarningLine(flag);
            QCOMPARE(outcome.iLines, Filtered(lines, mask));
        }
    }

    void linesAboutTheReadOnlyFlagOfAnEmptyPath()
    {
        const Outcome outcome = Run("SetReadOnlyFlag", kSelf, kAll, {QString(), QStringLiteral("1")});
        QCOMPARE(outcome.iError, QByteArray());
        QCOMPARE(outcome.iLines, (Lines{DebugLine(QString(), true), WarningLine(true)}));
    }

    // The framework's permissions contain those of the caller as well as those of the owner.
    void reset_data()
    {
        QTest::addColumn<QString>("who");
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("writable");
        QTest::addColumn<int>("permissions");
        QTest::addColumn<bool>("changes");

        QTest::newRow("ordinary r--r--r--") << kOrdinary << 0444 << false << 0x4444 << true;
        QTest::newRow("ordinary rw-r--r--") << kOrdinary << 0644 << true << 0x6644 << false;
        QTest::newRow("ordinary rw-------") << kOrdinary << 0600 << true << 0x6600 << false;
        QTest::newRow("ordinary rwx------") << kOrdinary << 0700 << true << 0x7700 << false;
        QTest::newRow("ordinary rwxrwxrwx") << kOrdinary << 0777 << true << 0x7777 << false;
        QTest::newRow("ordinary -wx------") << kOrdinary << 0300 << true << 0x3300 << true;
        QTest::newRow("ordinary r-x------") << kOrdinary << 0500 << false << 0x5500 << true;
        QTest::newRow("ordinary r-xrwxrwx") << kOrdinary << 0577 << false << 0x5577 << true;
        QTest::newRow("ordinary ---------") << kOrdinary << 0000 << false << 0x0000 << true;
        QTest::newRow("ordinary --x------") << kOrdinary << 0100 << false << 0x1100 << true;
        QTest::newRow("ordinary rwsr-xr-x") << kOrdinary << 04755 << true << 0x7755 << false;
        if (!OrdinaryUser::IsTestRoot())
            return;
        QTest::newRow("root r--r--r--") << kSelf << 0444 << true << 0x4644 << true;
        QTest::newRow("root rw-r--r--") << kSelf << 0644 << true << 0x6644 << false;
        QTest::newRow("root rwx------") << kSelf << 0700 << true << 0x7700 << false;
        QTest::newRow("root -wx------") << kSelf << 0300 << true << 0x3700 << true;
        QTest::newRow("root r-x------") << kSelf << 0500 << true << 0x5700 << true;
        QTest::newRow("root ---------") << kSelf << 0000 << true << 0x0600 << true;
    }
    void reset()
    {
        QFETCH(QString, who);
        QFETCH(int, mode);
        QFETCH(bool, writable);
        QFETCH(int, permissions);
        QFETCH(bool, changes);
        for (const int mask : {kAll, int(LoggerDefs::Trace), kAll & ~LoggerDefs::Trace, kNone}) {
            const Playground ground(TestSupport::Scratch());
            const QString path = ground.File("file", mode);
            Lines lines;
            if (!writable)
                lines = {ResetLine(kNotWritable), DebugLine(path, false)};
            lines += ResetLine("permissions " + QByteArray::number(permissions));
            if (changes)
                lines += ResetLine("Setting file " + path.toUtf8() + " read/write ");

            const Outcome outcome = Run("ResetReadonlyFlags", who, mask, {path});
            QCOMPARE(outcome.iError, QByteArray());
            QCOMPARE(outcome.iLines, Filtered(lines, mask));
            QCOMPARE(FileState::Mode(path), changes ? 0644 : mode);
            QVERIFY(FileState::AttributeNames(path).isEmpty());
        }
    }

    void resetFolder_data()
    {
        QTest::addColumn<QString>("who");
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("writable");
        QTest::newRow("ordinary rwxr-xr-x") << kOrdinary << 0755 << true;
        QTest::newRow("ordinary r-xr-xr-x") << kOrdinary << 0555 << false;
        QTest::newRow("ordinary -wx------") << kOrdinary << 0300 << true;
        if (OrdinaryUser::IsTestRoot())
            QTest::newRow("root r-xr-xr-x") << kSelf << 0555 << true;
    }
    void resetFolder()
    {
        QFETCH(QString, who);
        QFETCH(int, mode);
        QFETCH(bool, writable);
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.Folder("folder");
        const QString inner = ground.File("folder/inner", 0444);
        QVERIFY(FileState::SetMode(path, mode));
        const Outcome outcome = Run("ResetReadonlyFlags", who, kAll, {path});
        QCOMPARE(outcome.iError, QByteArray());
        QCOMPARE(outcome.iLines, writable ? Lines() : Lines({ResetLine(kNotWritable), DebugLine(path, false)}));
        QCOMPARE(FileState::Mode(path), mode);
        QVERIFY(FileState::SetMode(path, 0755));
        QCOMPARE(FileState::Mode(inner), 0444);
    }

    void resetMissing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << QStringLiteral("missing");
        QTest::newRow("dangling link") << QStringLiteral("dangling");
        QTest::newRow("below a file") << QStringLiteral("file/inner");
    }
    void resetMissing()
    {
        QFETCH(QString, name);
        const Playground ground(TestSupport::Scratch());
        ground.File("file");
        ground.Link(ground.Path("nowhere"), "dangling");
        const QString path = ground.Path(name);
        const Lines lines{ResetLine(kNotWritable), DebugLine(path, false), WarningLine(false)};
        for (const int mask : {kAll, int(LoggerDefs::Trace), int(LoggerDefs::Warning), kNone}) {
            const Outcome outcome = Run("ResetReadonlyFlags", kSelf, mask, {path});
            QCOMPARE(outcome.iError, QByteArray());
            QCOMPARE(outcome.iLines, Filtered(lines, mask));
        }
        QVERIFY(!QFile::exists(path));
    }

    void resetPipe_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("writable");
        QTest::newRow("rw-r--r--") << 0644 << true;
        QTest::newRow("-w-------") << 0200 << true;
        QTest::newRow("r--r--r--") << 0444 << false;
    }
    void resetPipe()
    {
        QFETCH(int, mode);
        QFETCH(bool, writable);
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.Pipe("pipe", mode);
        const Outcome outcome = Run("ResetReadonlyFlags", kOrdinary, kAll, {path});
        QCOMPARE(outcome.iError, QByteArray());
        QCOMPARE(outcome.iLines, writable ? Lines() : Lines({ResetLine(kNotWritable), DebugLine(path, false)}));
        QCOMPARE(FileState::Mode(path), writable ? mode : 0644);
    }

    void resetEmptyPath()
    {
        const Outcome outcome = Run("ResetReadonlyFlags", kSelf, kAll, {QString()});
        QCOMPARE(outcome.iError, QByteArray());
        QCOMPARE(outcome.iLines, (Lines{ResetLine(kNotWritable), DebugLine(QString(), false), WarningLine(false)}));
    }

    void resetTemplateMarks()
    {
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.File("%1 %2 100%", 0444);
        const Outcome outcome = Run("ResetReadonlyFlags", kOrdinary, kAll, {path});
        QCOMPARE(outcome.iError, QByteArray());
        QCOMPARE(outcome.iLines,
                 (Lines{ResetLine(kNotWritable), DebugLine(path, false), ResetLine("permissions 17476"),
                        ResetLine("Setting file " + path.toUtf8() + " read/write ")}));
        QCOMPARE(FileState::Mode(path), 0644);
    }

    void resetLink()
    {
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.File("file", 0400);
        const QString link = ground.Link(path, "link");
        const Outcome outcome = Run("ResetReadonlyFlags", kOrdinary, LoggerDefs::Trace, {link});
        QCOMPARE(outcome.iError, QByteArray());
        QCOMPARE(outcome.iLines,
                 (Lines{ResetLine(kNotWritable), ResetLine("permissions 17408"),
                        ResetLine("Setting file " + link.toUtf8() + " read/write ")}));
        QCOMPARE(FileState::Mode(path), 0644);
    }

    void resetLocked_data()
    {
        QTest::addColumn<bool>("byFlag");
        QTest::addColumn<QString>("who");
        QTest::addColumn<int>("mode");
        QTest::addColumn<Lines>("lines");
        QTest::addColumn<int>("unlocked");
        const Lines unlocking{ResetLine(kNotWritable), "unlock"};

        QTest::newRow("write bits, ordinary")
            << false << kOrdinary << 0644 << unlocking + Lines{ResetLine("permissions 26180")} << 0644;
        QTest::newRow("write bits of the group too, ordinary")
            << false << kOrdinary << 0664 << unlocking + Lines{ResetLine("permissions 26212")} << 0664;
        QTest::newRow("write bits without read, ordinary")
            << false << kOrdinary << 0200 << unlocking + Lines{ResetLine("permissions 8704"), ResetLine("Setting file")}
            << 0644;
        QTest::newRow("write bits without the owner's, ordinary")
            << false << kOrdinary << 0464
            << unlocking + Lines{ResetLine("permissions 17508"), ResetLine("Setting file")} << 0644;
        if (OrdinaryUser::IsTestRoot())
            QTest::newRow("write bits, root")
                << false << kSelf << 0664 << Lines{ResetLine("permissions 17988"), ResetLine("Setting file")} << 0644;
        if (!Playground::MayFlag())
            return;
        QTest::newRow("flag, root") << true << kSelf << 0644 << unlocking + Lines{ResetLine("permissions 26180")}
                                    << 0644;
        QTest::newRow("flag and mode, root")
            << true << kSelf << 0444 << unlocking + Lines{ResetLine("permissions 17988"), ResetLine("Setting file")}
            << 0644;
        QTest::newRow("flag, ordinary") << true << kOrdinary << 0644
                                        << unlocking + Lines{WarningLine(false), ResetLine("permissions 25668")}
                                        << 0644;
        QTest::newRow("flag and mode, ordinary")
            << true << kOrdinary << 0444
            << unlocking + Lines{WarningLine(false), ResetLine("permissions 17476"), ResetLine("Setting file")} << 0444;
    }
    void resetLocked()
    {
        QFETCH(bool, byFlag);
        QFETCH(QString, who);
        QFETCH(int, mode);
        QFETCH(Lines, lines);
        QFETCH(int, unlocked);
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.File("file", mode);
        {
            std::optional<OrdinaryUser> user;
            if (!byFlag)
                user.emplace();
            QVERIFY(FileInfoMac(path).SetReadOnlyFlag(true));
        }
        for (QByteArray& line : lines) {
            if (line == "unlock")
                line = DebugLine(path, false);
            else if (line.endsWith("Setting file"))
                line += ' ' + path.toUtf8() + " read/write ";
        }
        const Outcome outcome = Run("ResetReadonlyFlags", who, kAll, {path});
        QCOMPARE(outcome.iError, QByteArray());
        QCOMPARE(outcome.iLines, lines);
        QCOMPARE(FileState::IsImmutable(path), byFlag && who == kOrdinary);
        QCOMPARE(FileState::Mode(path), unlocked);
    }

    void resetLockedFolder_data()
    {
        QTest::addColumn<bool>("byFlag");
        QTest::newRow("write bits") << false;
        if (Playground::MayFlag())
            QTest::newRow("flag") << true;
    }
    void resetLockedFolder()
    {
        QFETCH(bool, byFlag);
        const Playground ground(TestSupport::Scratch());
        const QString path = ground.Folder("folder", 0775);
        {
            std::optional<OrdinaryUser> user;
            if (!byFlag)
                user.emplace();
            QVERIFY(FileInfoMac(path).SetReadOnlyFlag(true));
        }
        const Outcome outcome = Run("ResetReadonlyFlags", byFlag ? kSelf : kOrdinary, kAll, {path});
        QCOMPARE(outcome.iError, QByteArray());
        QCOMPARE(outcome.iLines, (Lines{ResetLine(kNotWritable), DebugLine(path, false)}));
        QVERIFY(!FileState::IsImmutable(path));
        QCOMPARE(FileState::Mode(path), 0775);
    }

    void othersLogNothing()
    {
        const Playground ground(TestSupport::Scratch());
        const QStringList paths{ground.File("file"), ground.Folder("folder"), ground.Pipe("pipe"),
                                ground.Path("missing"), QString()};
        for (const QString& who : {kSelf, kOrdinary}) {
            const Outcome outcome = Run("silent", who, kAll, paths);
            QCOMPARE(outcome.iError, QByteArray());
            QCOMPARE(outcome.iLines, Lines());
        }
    }

    void afterTheLogIsStopped()
    {
        const Playground ground(TestSupport::Scratch());
        const TestSupport::ScenarioResult result = TestSupport::RunScenario("stopped", {ground.File("file", 0444)});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(FileState::Mode(ground.Path("file")), 0644);
        QCOMPARE(LogText::Bodies(LogText::Read(result.iFolder.filePath(QStringLiteral("app.log")))),
                 Lines{"|10|Information|Logger::StopLogging|stopping logging file path is app.log"});
    }
};

NEROLT_TEST_MAIN(tst_FileUtilities)

#include "tst_FileUtilities.moc"
