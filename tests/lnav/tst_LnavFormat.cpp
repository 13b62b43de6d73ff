#include "support/ForgedClock.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/FileUtilities.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

namespace {

const QString kLog = QStringLiteral("app.log");
constexpr int kTimeoutMs = 60000;
constexpr qint64 kTwoDaysMs = 2 * 86400 * qint64(1000);

QDateTime Start()
{
    return QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9, 42));
}

const TestSupport::Scenario everyLevel("everyLevel", [](const QStringList&) {
    ForgedClock::Freeze(Start());
    Logger::GetInstance()->SetLevel(LogScenario::kAllLevels);
    Logger::SetLoggerFileName(kLog, false);
    Logger::LogInformation("main", QStringLiteral("up and running"));
    Logger::LogDebug("a name with blanks", QStringLiteral("a|b||c|"));
    Logger::LogTrace(nullptr, QStringLiteral("no function"));
    Logger::LogWarning("Café::Öffne", QStringLiteral("naïve \u65e5\u672c \U0001f600, two\r\nlines, \"quoted\"\ttab"));
    Logger::LogError(4294967295U, LoggerDefs::NoExtraInfo, "operator|", QString(), 0, 0);
    Logger::LogException(0, "Catch", QStringLiteral("continued from app.log"), 0);
    Logger::LogUnknownException(7, "Catch");
    // When it ends, the logging thread logs messages, at debug and trace level too.
    Logger::GetInstance()->SetLevel(LogScenario::kAllLevels & ~(LoggerDefs::Debug | LoggerDefs::Trace));
    Logger::StopLogging();
    return 0;
});

// Makes the log hand over its buffer and waits until it has begun a new file.
void WaitForNewFile()
{
    const QByteArray before = LogText::Read(kLog).left(100);
    Logger::ResetLoggingLevel(LoggerDefs::Information);
    for (QByteArray now = before; now == before || !now.contains("continued from app-"); now = LogText::Read(kLog))
        QThread::yieldCurrentThread();
}

// Continues the log at the path in the first argument.
void StartInformation(const QStringList& arguments)
{
    QFile::rename(arguments.value(0), kLog);
    ForgedClock::Freeze(Start());
    Logger* const logger = Logger::GetInstance();
    logger->SetLevel(LoggerDefs::Information);
    if (arguments.value(1) != "still") // time passes between logging and writing; before the worker hears of the batch
        QObject::connect((logger->*Logger_iAgent()).load(), &LoggerAgent::logMessage, [] { ForgedClock::Advance(1); });
    Logger::SetLoggerFileName(kLog, false);
}

void LogAfter(qint64 msecs, const char* message)
{
    ForgedClock::Advance(msecs);
    Logger::LogInformation("main", QString::fromLatin1(message));
}

// The existing file takes the first batch and is then too old. The next file is too old for the second batch.
const TestSupport::Scenario threeFiles("threeFiles", [](const QStringList& arguments) {
    StartInformation(arguments);
    LogAfter(1, "first");
    WaitForNewFile();
    LogAfter(1, "second");
    LogAfter(kTwoDaysMs, "third");
    WaitForNewFile();
    LogAfter(1, "fourth");
    Logger::StopLogging();
    return 0;
});

// A line that was logged before a rotation and written after it is older than the first line of the file.
const TestSupport::Scenario lateLine("lateLine", [](const QStringList& arguments) {
    StartInformation(arguments);
    LogAfter(10, "first");
    WaitForNewFile();
    LogAfter(-5, "late");
    LogAfter(10, "second");
    Logger::StopLogging();
    return 0;
});

bool Write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

} // namespace

class tst_LnavFormat : public QObject
{
    Q_OBJECT

private:
    QDir iFolder;
    QByteArray iComplaint;

    // What lnav prints. Its errors are in iComplaint.
    QByteArray Lnav(const QStringList& arguments)
    {
        QProcess process;
        process.setWorkingDirectory(iFolder.path());
        process.setStandardInputFile(QProcess::nullDevice());
        process.start(QStringLiteral("lnav"), arguments);
        if (!process.waitForFinished(kTimeoutMs))
            iComplaint += "lnav: " + process.errorString().toLocal8Bit();
        iComplaint += process.readAllStandardError();
        if (process.exitCode() != 0)
            iComplaint += "exit code " + QByteArray::number(process.exitCode());
        return process.readAllStandardOutput();
    }

    // The rows of a result, each with its values in the order of the columns.
    QStringList Ask(const QString& sql, const QStringList& columns, const QStringList& files)
    {
        const QByteArray answer = Lnav(QStringList{QStringLiteral("-n"), QStringLiteral("-q")} + files
                                       + QStringList{QStringLiteral("-c"), QLatin1Char(';') + sql, QStringLiteral("-c"),
                                                     QStringLiteral(":write-json-to -")});
        QStringList rows;
        const QJsonArray objects = QJsonDocument::fromJson(answer).array();
        for (const QJsonValue& object : objects) {
            QStringList values;
            for (const QString& column : columns)
                values += object[column].isNull() ? QStringLiteral("null") : object[column].toVariant().toString();
            rows += values.join(" ; ");
        }
        return rows;
    }

    QStringList Select(const QStringList& columns, const QStringList& files,
                       const QString& order = QStringLiteral("log_line"))
    {
        return Ask(QStringLiteral("SELECT %1 FROM nerolt_orvane_base ORDER BY %2").arg(columns.join(','), order),
                   columns, files);
    }

    QStringList LogFiles() const { return iFolder.entryList({QStringLiteral("app*.log")}, QDir::Files, QDir::Name); }

    // An existing log, two days old.
    static QString MakeEarlierLog()
    {
        const QString path = QDir(TestSupport::Scratch()).filePath(QStringLiteral("earlier.log"));
        const bool isMade = Write(path, "2024-03-03 10:00:00.000|30|Warning|main|earlier\n")
            && FileUtilities::SetTime(path, Start().addMSecs(-kTwoDaysMs), FileTimeCreation, false);
        return isMade ? path : QString();
    }

    void Run(const char* scenario, const QStringList& arguments = {})
    {
        const TestSupport::ScenarioResult result = TestSupport::RunScenario(scenario, arguments);
        QVERIFY2(result.IsOk(), result.Describe());
        iFolder = result.iFolder;
    }

    // The page's queries in their order.
    static QStringList QueriesOfThePage()
    {
        QStringList queries = QString::fromUtf8(LogText::Read(QStringLiteral(LOG_PAGE))).split("\n```sql\n");
        queries.removeFirst();
        for (QString& query : queries)
            query = query.left(query.indexOf("\n```")).simplified();
        return queries;
    }

private Q_SLOTS:
    void initTestCase()
    {
        iFolder = QDir(TestSupport::Scratch());
        Lnav({QStringLiteral("-i"), QStringLiteral(LNAV_FORMAT)});
        QVERIFY2(iComplaint.startsWith("\xe2\x9c\x94 installed -- ") && iComplaint.count('\n') == 1, iComplaint);
        QVERIFY2(!iComplaint.contains("exit code"), iComplaint);
        iComplaint.clear();
    }

    void cleanup() { QCOMPARE(iComplaint, QByteArray()); }

    // lnav checks that each sample matches one pattern and has the level that it says.
    void lnavAcceptsTheFormat() { QCOMPARE(Lnav({QStringLiteral("-W"), QStringLiteral("-C")}), QByteArray()); }

    void eachLevelIsARow()
    {
        Run("everyLevel");
        const QStringList expected{
            "2024-03-05 14:07:09.042 ; debug ; Debug ; 30 ; LoggerAgent::SetLoggerFileName ; Enter",
            "2024-03-05 14:07:09.042 ; debug ; Debug ; 30 ; LoggerAgent::StartThread ; starting timer",
            "2024-03-05 14:07:09.042 ; info ; Information ; 10 ; main ; up and running",
            "2024-03-05 14:07:09.042 ; debug ; Debug ; 20 ; a name with blanks ; a|b||c|",
            "2024-03-05 14:07:09.042 ; trace ; Trace ; 25 ;  ; no function",
            "2024-03-05 14:07:09.042 ; warning ; Warning ; 30 ; Café::Öffne ; naïve 日本 😀, twolines, \"quoted\"\ttab",
            "2024-03-05 14:07:09.042 ; error ; Error ; 4294967295 ; operator ; |",
            "2024-03-05 14:07:09.042 ; critical ; Exception ; 0 ; Catch ; continued from app.log",
            "2024-03-05 14:07:09.042 ; critical ; Exception ; 7 ; Catch ; Unknown exception has been caught.",
            "2024-03-05 14:07:09.042 ; info ; Information ; 10 ; Logger::StopLogging ; stopping logging file path is "
            "app.log",
        };
        QCOMPARE(Select({"log_time", "log_level", "level", "code", "function", "log_body"}, {kLog}), expected);
    }

    void anInterruptedRunIsCounted()
    {
        iFolder.setPath(TestSupport::EnterFreshFolder());
        QVERIFY(Write(kLog,
                      "2024-03-05 14:07:09.042|10|Information|Logger::SetCrashFile|"
                      "recovered 12 lines of an interrupted run\n"
                      "2024-03-05 14:07:09.043|10|Information|Logger::SetCrashFile|"
                      "recovered 40000 lines of an interrupted run, 7 lines were not protected\n"
                      "2024-03-05 14:07:09.044|10|Information|main|recovered 1 lines of an interrupted run\n"));
        const QStringList expected{
            "2024-03-05 14:07:09.042 ; info ; 10 ; Logger::SetCrashFile ; 12 ; null",
            "2024-03-05 14:07:09.043 ; info ; 10 ; Logger::SetCrashFile ; 40000 ; 7",
            "2024-03-05 14:07:09.044 ; info ; 10 ; main ; null ; null",
        };
        QCOMPARE(Select({"log_time", "log_level", "code", "function", "recovered", "unprotected"}, {kLog}), expected);
    }

    // The first line of a file that continues another has no code, level and function.
    void rotatedFilesJoinInOrder()
    {
        Run("threeFiles", {MakeEarlierLog()});
        QStringList files = LogFiles();
        QCOMPARE(files, QStringList({"app-2024-03-05_14-07-09.log", "app-2024-03-07_14-07-09.log", "app.log"}));
        const QStringList expected{
            "2024-03-03 10:00:00.000 ; 30 ; Warning ; main ; earlier ; null",
            "2024-03-05 14:07:09.043 ; 10 ; Information ; main ; first ; null",
            "2024-03-05 14:07:09.043 ; 10 ; Information ; Logger::ResetLoggingLevel ; resetting log level 1 ; null",
            "2024-03-05 14:07:09.044 ; null ; null ; null ; continued from app-2024-03-05_14-07-09.log ; "
            "app-2024-03-05_14-07-09.log",
            "2024-03-05 14:07:09.045 ; 10 ; Information ; main ; second ; null",
            "2024-03-07 14:07:09.045 ; 10 ; Information ; main ; third ; null",
            "2024-03-07 14:07:09.045 ; 10 ; Information ; Logger::ResetLoggingLevel ; resetting log level 1 ; null",
            "2024-03-07 14:07:09.046 ; null ; null ; null ; continued from app-2024-03-07_14-07-09.log ; "
            "app-2024-03-07_14-07-09.log",
            "2024-03-07 14:07:09.047 ; 10 ; Information ; main ; fourth ; null",
            "2024-03-07 14:07:09.047 ; 10 ; Information ; Logger::StopLogging ; stopping logging file path is app.log "
            "; null",
        };
        for (int i = 0; i < 2; ++i) { // the oldest or the newest first
            QCOMPARE(Select({"log_time", "code", "level", "function", "log_body", "continued_from"}, files), expected);
            std::reverse(files.begin(), files.end());
        }
    }

    // lnav orders lines of the same millisecond by their position in their files, whichever these are.
    void rotatedWithinOneMillisecond()
    {
        Run("threeFiles", {MakeEarlierLog(), "still"});
        const QStringList expected{
            "2024-03-03 10:00:00.000 ; earlier",
            "2024-03-05 14:07:09.043 ; first",
            "2024-03-05 14:07:09.043 ; resetting log level 1",
            "2024-03-05 14:07:09.043 ; continued from app-2024-03-05_14-07-09.log",
            "2024-03-05 14:07:09.044 ; second",
            "2024-03-07 14:07:09.044 ; third",
            "2024-03-07 14:07:09.044 ; resetting log level 1",
            "2024-03-07 14:07:09.044 ; continued from app-2024-03-07_14-07-09.log",
            "2024-03-07 14:07:09.045 ; fourth",
            "2024-03-07 14:07:09.045 ; stopping logging file path is app.log",
        };
        QCOMPARE(Select({"log_time", "log_body"}, LogFiles(), "log_path, log_line"), expected);
    }

    void lateLineKeepsItsPlace()
    {
        Run("lateLine", {MakeEarlierLog()});
        const QStringList expected{
            "2024-03-03 10:00:00.000 ; 2024-03-03 10:00:00.000 ; earlier",
            "2024-03-05 14:07:09.052 ; 2024-03-05 14:07:09.052 ; first",
            "2024-03-05 14:07:09.052 ; 2024-03-05 14:07:09.052 ; resetting log level 1",
            "2024-03-05 14:07:09.053 ; 2024-03-05 14:07:09.053 ; continued from app-2024-03-05_14-07-09.log",
            "2024-03-05 14:07:09.053 ; 2024-03-05 14:07:09.048 ; late",
            "2024-03-05 14:07:09.058 ; 2024-03-05 14:07:09.058 ; second",
            "2024-03-05 14:07:09.058 ; 2024-03-05 14:07:09.058 ; stopping logging file path is app.log",
        };
        QCOMPARE(Select({"log_time", "log_actual_time", "log_body"}, LogFiles()), expected);
    }

    // On a log in which each query finds something.
    void queriesOfThePage()
    {
        Run("everyLevel");
        const QByteArray next = "2024-03-06 00:00:00.000continued from app.log\n"
                                "2024-03-06 00:00:00.001|30|Warning|Café::Öffne|again\n"
                                "2024-03-06 00:00:00.002|10|Information|Logger::SetCrashFile|"
                                "recovered 12 lines of an interrupted run\n"
                                "2024-03-06 00:00:00.003|30|Warning|Café::Öffne|and again\n";
        QVERIFY(Write(iFolder.filePath("app2.log"), next));
        const QStringList queries = QueriesOfThePage();
        QCOMPARE(queries.size(), 4);
        QCOMPARE(Ask(queries[0], {"log_time", "code", "function", "log_body"}, LogFiles()),
                 QStringList({
                     "2024-03-05 14:07:09.042 ; 4294967295 ; operator ; |",
                     "2024-03-05 14:07:09.042 ; 0 ; Catch ; continued from app.log",
                     "2024-03-05 14:07:09.042 ; 7 ; Catch ; Unknown exception has been caught.",
                 }));
        QCOMPARE(Ask(queries[1], {"function", "level", "code", "lines"}, LogFiles()),
                 QStringList({
                     "Café::Öffne ; Warning ; 30 ; 3",
                     "Catch ; Exception ; 0 ; 1",
                     "Catch ; Exception ; 7 ; 1",
                     "operator ; Error ; 4294967295 ; 1",
                 }));
        QCOMPARE(Ask(queries[2], {"log_time", "recovered", "unprotected"}, LogFiles()),
                 QStringList({"2024-03-06 00:00:00.002 ; 12 ; null"}));
        QCOMPARE(Ask(queries[3], {"file", "first", "last", "lines"}, LogFiles()),
                 QStringList({
                     "app.log ; 2024-03-05 14:07:09.042 ; 2024-03-05 14:07:09.042 ; 10",
                     "app2.log ; 2024-03-06 00:00:00.000 ; 2024-03-06 00:00:00.003 ; 4",
                 }));
    }
};

NEROLT_TEST_MAIN(tst_LnavFormat)

#include "tst_LnavFormat.moc"
