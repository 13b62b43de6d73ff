#include "HostProcess.h"

#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QDateTime>
#include <QtCore/QDirIterator>
#include <QtCore/QRegularExpression>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>
#include <QtTest/QtTest>

#include <memory>
#include <sys/utsname.h>

namespace {

const QString kSmallLoad = QStringLiteral("--lines=500");

// The numbers of the lines of a thread, in the order in which they stand in the texts.
QList<int> LoadLines(const QByteArray& text, int thread)
{
    const QByteArray start = "|10|Information|LoadThread::run|thread " + QByteArray::number(thread) + " line ";
    QList<int> numbers;
    for (const QByteArray& body : LogText::Bodies(text)) {
        if (body.startsWith(start))
            numbers += body.mid(start.size()).toInt();
    }
    return numbers;
}

QList<int> CountTo(int end)
{
    QList<int> numbers;
    for (int number = 0; number < end; ++number)
        numbers += number;
    return numbers;
}

} // namespace

class tst_Host : public QObject
{
    Q_OBJECT

private:
    // For each test, and that of one run that several look at.
    std::unique_ptr<DataFolder> iData;
    std::unique_ptr<DataFolder> iFirst;
    QByteArray iSummary;

private Q_SLOTS:
    void initTestCase()
    {
        iFirst = std::make_unique<DataFolder>();
        HostProcess host;
        QCOMPARE(host.Run({iFirst->Option(), kSmallLoad, QStringLiteral("--threads=3")}), 0);
        QCOMPARE(host.Err(), QByteArray());
        iSummary = host.Out();
    }

    void init() { iData = std::make_unique<DataFolder>(); }

    void cleanupTestCase()
    {
        iData.reset();
        iFirst.reset();
    }

    void summaryAgreesWithTheFiles()
    {
        const QList<QByteArray> lines = LogText::Lines(iFirst->Log());
        QCOMPARE(iFirst->Rotated().size(), 1);
        QCOMPARE(LogText::Lines(iSummary).first(),
                 QByteArray("Every line arrived, once and in its thread's order: 1,500"));
        QCOMPARE(Row(iSummary, "file"), iFirst->LogPath().toUtf8());
        QCOMPARE(Row(iSummary, "first line"), lines.first());
        QCOMPARE(Row(iSummary, "last line"), lines.last());
        QCOMPARE(Row(iSummary, "rotated"), iFirst->Rotated().first().toUtf8() + " (it was two days old)");
        QCOMPARE(Row(iSummary, "errors"), QByteArray("1001_prefs.ini, 1002_ff, 1003"));
        QCOMPARE(Row(iSummary, "lines"), QByteArray("1,500 (threads: 3)"));
        QVERIFY2(QRegularExpression(QStringLiteral("^\\d+\\.\\d{3} until the last was in the file$"))
                     .match(QString::fromUtf8(Row(iSummary, "seconds")))
                     .hasMatch(),
                 Row(iSummary, "seconds"));
        QVERIFY2(Row(iSummary, "rate").endsWith(" lines per second"), Row(iSummary, "rate"));
        const QLocale locale(QLocale::English);
        for (const QString& name : iFirst->Rotated() + QStringList{QStringLiteral("host.log")}) {
            const QString size = locale.formattedDataSize(QFileInfo(iFirst->Logs().filePath(name)).size(), 1);
            QCOMPARE(Row(iSummary, size.toUtf8()), name.toUtf8());
        }
        QVERIFY2(Row(iSummary, "peak").endsWith("iB"), Row(iSummary, "peak"));
        QVERIFY2(Row(iSummary, "at the end").endsWith("iB"), Row(iSummary, "at the end"));
        // What else is in a folder that the user named, only he knows.
        QCOMPARE(Row(iSummary, "to remove it"), QByteArray("<no row>"));
    }

    void machine()
    {
        struct utsname names = {};
        QCOMPARE(::uname(&names), 0);
        const QByteArrayList release = QByteArray(names.release).split('-').first().split('.');
        const QByteArray version = release.value(0) + '.' + release.value(1);
        QCOMPARE(Row(iSummary, "system"), "linux " + version);
        QCOMPARE(Row(iSummary, "processor"), SystemConfig::getCPUArchitecture().toUtf8());
        QCOMPARE(Row(iSummary, "built for"), QByteArray("unknown, not in a bundle"));
        QVERIFY2(Row(iSummary, "disk").endsWith("iB free"), Row(iSummary, "disk"));
        QCOMPARE(Row(iSummary, "user"), QByteArray("not logged in"));
        QCOMPARE(Row(iSummary, "agent"), QByteArray("NeroltAgent/" HOST_VERSION));
        QCOMPARE(Row(iSummary, "updates"),
                 "https://updates.example.org/latest?os=linux&version=" + version + "&cpu=" + Row(iSummary, "processor")
                     + "&channel=stable");
        QCOMPARE(Row(iSummary, "asked by"), QByteArray("DescribeMachine, Host::Run, main"));
    }

    // With one display tool, or the time that the others take would decide what is in the log when the host reads it.
    void report()
    {
        const QDir tools(iData->Base() + QStringLiteral("/tools"));
        QVERIFY(tools.mkpath(QStringLiteral(".")));
        for (const char* const tool : {"sh", "timeout"})
            QVERIFY(
                QFile::link(QStandardPaths::findExecutable(QLatin1String(tool)), tools.filePath(QLatin1String(tool))));
        iData->Write(QStringLiteral("tools/lspci"), "#!/bin/sh\necho an adapter\n");
        QVERIFY(QFile::setPermissions(tools.filePath(QStringLiteral("lspci")), QFile::Permissions(0x7555)));
        iData->Write(QStringLiteral("data/Logs/graphics.log"), "of another day\n"); // made anew each time
        HostProcess host;
        host.MakeReport();
        host.SetVariable("PATH", QFile::encodeName(tools.path()).constData());
        QCOMPARE(host.Run({iData->Option(), kSmallLoad}), 0);
        QCOMPARE(host.Err(), QByteArray());
        const QByteArray summary = host.Out();
        QCOMPARE(Row(summary, "displays"), QByteArray("2 lines in graphics.log"));
        const QByteArray framework = LogText::Read(iData->Logs().filePath(QStringLiteral("qtdiag.log")));
        QVERIFY2(framework.contains("Architecture:"), framework); // the real tool's
        const QRegularExpression some(QStringLiteral("^[1-9]\\d* relevant lines of qtdiag\\.log$"));
        QVERIFY2(some.match(QString::fromUtf8(Row(summary, "framework"))).hasMatch(), Row(summary, "framework"));
        QCOMPARE(iData->Logs().entryList({QStringLiteral("*.sh")}), QStringList());
    }

    void foldersAndSettings()
    {
        const QDir data(iFirst->Path());
        const QString preferences = data.filePath(QStringLiteral("prefs.ini"));
        QCOMPARE(Row(iSummary, "user data"), iFirst->Path().toUtf8());
        QCOMPARE(Row(iSummary, "cache"), data.filePath(QStringLiteral("Cache")).toUtf8());
        QCOMPARE(Row(iSummary, "downloads"), data.filePath(QStringLiteral("Downloads")).toUtf8());
        QVERIFY(data.exists(QStringLiteral("Cache")) && data.exists(QStringLiteral("Downloads")));
        QCOMPARE(Row(iSummary, "preferences"), preferences.toUtf8());
        QCOMPARE(Row(iSummary, "defaults"), QByteArray("merged"));
        QCOMPARE(Row(iSummary, "run"), QByteArray("1"));
        QCOMPARE(Row(iSummary, "window"), QByteArray("downloads from 22:30 to 05:15"));
    }

    void everyThreadLogsItsLines()
    {
        for (int thread = 0; thread < 3; ++thread)
            QCOMPARE(LoadLines(iFirst->Log(), thread), CountTo(500));
        QCOMPARE(LoadLines(iFirst->Log(), 3), QList<int>());
        const QDate oldDate = QDate::fromString(QString::fromLatin1(iFirst->RotatedLog(0).left(10)), Qt::ISODate);
        const qint64 days = oldDate.daysTo(QDate::currentDate());
        QVERIFY2(days == 2 || days == 3, iFirst->RotatedLog(0));
    }

    // The next run keeps what the user changed, and moves the log of the one before.
    void anotherRun()
    {
        HostProcess first;
        QCOMPARE(first.Run({iData->Option(), kSmallLoad}), 0);
        const QByteArray before = iData->Log();
        {
            QSettings preferences(QDir(iData->Path()).filePath(QStringLiteral("prefs.ini")), QSettings::IniFormat);
            preferences.setValue(QStringLiteral("User/LoggedIn"), QStringLiteral("true"));
            preferences.setValue(QStringLiteral("Downloads/AutoDownloadsStart"), QStringLiteral("7:05"));
        }
        HostProcess second;
        QCOMPARE(second.Run({iData->Option(), kSmallLoad}), 0);
        const QByteArray summary = second.Out();
        QCOMPARE(Row(summary, "user"), QByteArray("logged in"));
        QCOMPARE(Row(summary, "run"), QByteArray("2"));
        QCOMPARE(Row(summary, "window"), QByteArray("downloads from 07:05 to 05:15"));
        QCOMPARE(iData->Rotated().size(), 2);
        QVERIFY(iData->RotatedLog(1).startsWith(before));
        QCOMPARE(LogText::Lines(iData->RotatedLog(1)).size(), LogText::Lines(before).size() + 1);
        QVERIFY(!iData->Log().contains(before));
    }

    void theLogTellsTheWholeLife()
    {
        HostProcess host;
        QCOMPARE(host.Run({iData->Option(), QStringLiteral("--lines=1"), QStringLiteral("--threads=1")}), 0);
        QCOMPARE(LogText::Bodies(iData->RotatedLog(0)),
                 (QList<QByteArray>{"|10|Information|OldLog::Prepare|this is what a run of two days ago logged",
                                    "|10|Information|Host::StartLog|host " HOST_VERSION " starts"}));
        const QByteArray header = LogText::Lines(iData->Log()).first();
        QCOMPARE(header.mid(23), "continued from " + iData->Rotated().value(0).toUtf8());
        QCOMPARE(LogText::Bodies(iData->Log()).mid(1),
                 (QList<QByteArray>{"|1001|Error|Host::LogErrors|an error about a file",
                                    "|1002|Error|Host::LogErrors|an error with a status",
                                    "|1003|Exception|Host::LogErrors|Unknown exception has been caught.",
                                    "|10|Information|LoadThread::run|thread 0 line 0",
                                    "|10|Information|Logger::ResetLoggingLevel|resetting log level 22",
                                    "|30|Warning|RegisteredThread::LogThreads|Thread: logging thread, running: 1",
                                    "|30|Warning|RegisteredThread::LogThreads|Thread: load 0, running: 0",
                                    "|10|Information|Logger::ResetLoggingLevel|resetting log level 23",
                                    "|10|Information|Logger::StopLogging|stopping logging file path is "
                                        + iData->LogPath().toUtf8()}));
    }

    void aKilledRunIsCompletedByTheNext()
    {
        HostProcess killed;
        QCOMPARE(killed.Run({iData->Option(), kSmallLoad, QStringLiteral("--crash")}), -1);
        QCOMPARE(killed.Err(), QByteArray("host: killed as asked; the next run completes the log\n"));
        QVERIFY(iData->Logs().exists(QStringLiteral("host.crash")));
        const QByteArray before = iData->RotatedLog(0) + iData->Log();
        HostProcess next;
        QCOMPARE(next.Run({iData->Option(), kSmallLoad}), 0);
        QVERIFY(!iData->Logs().exists(QStringLiteral("host.crash")));
        const QByteArray text = iData->RotatedLog(0) + iData->RotatedLog(1);
        QVERIFY(text.startsWith(before));
        int lines = 0;
        for (int thread = 0; thread < 4; ++thread) {
            const QList<int> numbers = LoadLines(text, thread);
            QCOMPARE(numbers, CountTo(int(numbers.size())));
            lines += int(numbers.size());
        }
        QVERIFY(lines >= 1000);
        const QByteArray recovered = Row(next.Out(), "last crash");
        QCOMPARE(recovered,
                 "recovered " + QByteArray::number(text.count('\n') - 1 - before.count('\n'))
                     + " lines of an interrupted run");
        QCOMPARE(LogText::Bodies(text).last(), "|10|Information|Logger::SetCrashFile|" + recovered);
    }

    void onlyTheNewestRotatedFilesAreKept()
    {
        for (const char* const name : {"host-2024-01-01_00-00-00.log", "host-2024-01-02_00-00-00.log",
                                       "host-2024-01-03_00-00-00.log", "host-2024-01-04_00-00-00.log", "host-mine.log"})
            iData->Write(QLatin1String("data/Logs/") + QLatin1String(name), name);
        HostProcess host;
        QCOMPARE(host.Run({iData->Option(), kSmallLoad}), 0);
        QCOMPARE(Row(host.Out(), "removed"), QByteArray("1 of the older logs"));
        QVERIFY(!iData->Rotated().contains(QStringLiteral("host-2024-01-01_00-00-00.log")));
        QVERIFY(iData->Rotated().contains(QStringLiteral("host-2024-01-02_00-00-00.log")));
        QVERIFY(iData->Rotated().contains(QStringLiteral("host-mine.log")));
    }

    void ownFolder()
    {
        HostProcess host;
        host.SetVariable("XDG_DATA_HOME",
                         QFile::encodeName((iData->Base() + QStringLiteral("/a user's data"))).constData());
        QCOMPARE(host.Run({kSmallLoad}), 0);
        const QByteArray summary = host.Out();
        const QString folder = (iData->Base() + QStringLiteral("/a user's data/NeroltHost"));
        qint64 size = 0;
        QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext())
            size += QFileInfo(files.next()).size();
        QVERIFY(size > 0);
        QCOMPARE(Row(summary, QLocale(QLocale::English).formattedDataSize(size, 1).toUtf8()), folder.toUtf8());
        const QByteArray command = Row(summary, "to remove it");
        QCOMPARE(command, "rm -r '" + iData->Base().toUtf8() + "/a user'\\''s data/NeroltHost'");
        QCOMPARE(QProcess::execute(QStringLiteral("sh"), {QStringLiteral("-c"), QString::fromUtf8(command)}), 0);
        QVERIFY(!QFileInfo::exists(folder));
    }

    void terminal_data()
    {
        QTest::addColumn<QByteArray>("term");
        QTest::addColumn<QByteArray>("noColor");
        QTest::addColumn<bool>("hasBar");
        QTest::addColumn<bool>("hasColour");
        QTest::newRow("colours wanted") << QByteArray("xterm") << QByteArray() << true << true;
        QTest::newRow("no colours wanted") << QByteArray("xterm") << QByteArray("1") << true << false;
        QTest::newRow("dumb") << QByteArray("dumb") << QByteArray() << false << false;
        QTest::newRow("unknown") << QByteArray() << QByteArray() << false << false;
    }
    void terminal()
    {
        QFETCH(QByteArray, term);
        QFETCH(QByteArray, noColor);
        HostProcess host;
        host.OpenTerminal();
        host.MakeReport();
        host.SetVariable("TERM", term.constData());
        host.SetVariable("NO_COLOR", noColor.constData());
        QCOMPARE(host.Run({iData->Option(), kSmallLoad}), 0);
        const QByteArray screen = host.Screen();
        QTEST(screen.startsWith("\r\x1b[Kstarting the log ["), "hasBar");
        QTEST(screen.contains("\r\x1b[Klogging [########################################] 100 %\r\x1b[K"), "hasBar");
        QTEST(screen.contains("\r\x1b[Kmaking the report [                                        ]   0 %\r\x1b[K"),
              "hasBar");
        QTEST(screen.contains("\r\x1b[Kmaking the report [########################################] 100 %\r\x1b[K"),
              "hasBar");
        // The bar is gone before the summary.
        const QByteArray verdict(noColor.isEmpty() && !term.isEmpty() ? "\x1b[32mEvery line" : "Every line");
        QTEST(screen.contains("\r\x1b[Kchecking the log [########################################] 100 %\r\x1b[K"
                              + verdict),
              "hasBar");
        QTEST(screen.contains("\x1b[32mEvery line arrived, once and in its thread's order: 2,000\x1b[0m\r\n"),
              "hasColour");
        QTEST(screen.contains("\x1b[1mLog\x1b[0m\r\n"), "hasColour");
        QVERIFY2(screen.contains("thread's order: 2,000"), screen);
    }
};

NEROLT_TEST_MAIN(tst_Host)

#include "tst_Host.moc"
