#include "HostProcess.h"

#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QDateTime>
#include <QtCore/QDirIterator>
#include <QtCore/QRegularExpression>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <csignal>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

const QString kSmallLoad = QStringLiteral("--lines=500");
const QString kManyLines = QStringLiteral("--lines=10000000");

// The value of a row of the summary: "  label   value".
QByteArray Row(const QByteArray& summary, const QByteArray& label)
{
    for (const QByteArray& line : LogText::Lines(summary)) {
        if (line.startsWith("  " + label + ' '))
            return line.mid(2 + label.size()).trimmed();
    }
    return "<no row>";
}

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

void Write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), qint64(text.size()));
}

} // namespace

class tst_Host : public QObject
{
    Q_OBJECT

private:
    QScopedPointer<QTemporaryDir> iFolder;

    QString Folder() const { return iFolder->filePath(QStringLiteral("data")); }
    QString FolderOption() const { return QStringLiteral("--folder=") + Folder(); }
    QDir Logs() const { return QDir(iFolder->filePath(QStringLiteral("data/Logs"))); }
    QString LogPath() const { return Logs().filePath(QStringLiteral("host.log")); }
    QByteArray Log() const { return LogText::Read(LogPath()); }
    QStringList Rotated() const { return Logs().entryList({QStringLiteral("host-*.log")}, QDir::Files, QDir::Name); }
    QByteArray RotatedLog(int index) const { return LogText::Read(Logs().filePath(Rotated().value(index))); }

    static bool IsPlain(const QByteArray& output) { return !output.contains('\r') && !output.contains('\x1b'); }

private Q_SLOTS:
    void init() { iFolder.reset(new QTemporaryDir(TestSupport::Scratch() + QStringLiteral("/host"))); }

    void summaryAgreesWithTheFiles()
    {
        HostProcess host;
        QCOMPARE(host.Run({FolderOption(), kSmallLoad, QStringLiteral("--threads=3")}), 0);
        QCOMPARE(host.Err(), QByteArray());
        const QByteArray summary = host.Out();
        const QList<QByteArray> lines = LogText::Lines(Log());
        QCOMPARE(Rotated().size(), 1);

        QCOMPARE(LogText::Lines(summary).first(),
                 QByteArray("Every line arrived, once and in its thread's order: 1,500"));
        QCOMPARE(Row(summary, "file"), LogPath().toUtf8());
        QCOMPARE(Row(summary, "first line"), lines.first());
        QCOMPARE(Row(summary, "last line"), lines.last());
        QCOMPARE(Row(summary, "rotated"), Rotated().first().toUtf8() + " (it was two days old)");
        QCOMPARE(Row(summary, "errors"), QByteArray("1001_prefs.ini, 1002_ff, 1003"));
        QCOMPARE(Row(summary, "lines"), QByteArray("1,500 (threads: 3)"));
        QVERIFY2(QRegularExpression(QStringLiteral("^\\d+\\.\\d{3} until the last was in the file$"))
                     .match(QString::fromUtf8(Row(summary, "seconds")))
                     .hasMatch(),
                 Row(summary, "seconds"));
        QVERIFY2(Row(summary, "rate").endsWith(" lines per second"), Row(summary, "rate"));
        const QLocale locale(QLocale::English);
        for (const QString& name : Rotated() + QStringList{QStringLiteral("host.log")}) {
            const QString size = locale.formattedDataSize(QFileInfo(Logs().filePath(name)).size(), 1);
            QCOMPARE(Row(summary, size.toUtf8()), name.toUtf8());
        }
        QVERIFY2(Row(summary, "peak").endsWith("iB"), Row(summary, "peak"));
        QVERIFY2(Row(summary, "at the end").endsWith("iB"), Row(summary, "at the end"));
    }

    void machine()
    {
        struct utsname names = {};
        QCOMPARE(::uname(&names), 0);
        const QByteArray release = QByteArray(names.release).split('-').first();
        const QByteArray version = release.split('.').value(0) + '.' + release.split('.').value(1);
        HostProcess host;
        QCOMPARE(host.Run({FolderOption(), kSmallLoad}), 0);
        const QByteArray summary = host.Out();
        QCOMPARE(Row(summary, "system"), "linux " + version);
        QCOMPARE(Row(summary, "processor"), SystemConfig::getCPUArchitecture().toUtf8());
        QCOMPARE(Row(summary, "built for"), QByteArray("unknown, not in a bundle"));
        QVERIFY2(Row(summary, "disk").endsWith("iB free"), Row(summary, "disk"));
        QCOMPARE(Row(summary, "user"), QByteArray("not logged in"));
        QCOMPARE(Row(summary, "agent"), QByteArray("NeroltAgent/" HOST_VERSION));
        QCOMPARE(Row(summary, "updates"),
                 "https://updates.example.org/latest?os=linux&version=" + version + "&cpu=" + Row(summary, "processor")
                     + "&channel=stable");
        QCOMPARE(Row(summary, "asked by"), QByteArray("DescribeMachine, Host::Run, main"));

        QSettings(QDir(Folder()).filePath(QStringLiteral("prefs.ini")), QSettings::IniFormat)
            .setValue(QStringLiteral("User/LoggedIn"), QStringLiteral("true"));
        HostProcess later;
        QCOMPARE(later.Run({FolderOption(), kSmallLoad}), 0);
        QCOMPARE(Row(later.Out(), "user"), QByteArray("logged in"));
    }

    void report()
    {
        HostProcess host;
        host.MakeReport();
        QCOMPARE(host.Run({FolderOption(), kSmallLoad}), 0);
        QCOMPARE(host.Err(), QByteArray());
        const QByteArray summary = host.Out();
        const QByteArray displays = LogText::Read(Logs().filePath(QStringLiteral("graphics.log")));
        QByteArrayList lines = displays.split('\n');
        lines.removeAll(QByteArray());
        QVERIFY(!lines.isEmpty());
        QCOMPARE(Row(summary, "displays"),
                 lines.size() == 1 ? lines.first() : QByteArray::number(lines.size()) + " lines in graphics.log");
        const QByteArray framework = LogText::Read(Logs().filePath(QStringLiteral("qtdiag.log")));
        QVERIFY2(framework.contains("Architecture:"), framework); // the real tool's
        const QRegularExpression some(QStringLiteral("^[1-9]\\d* relevant lines of qtdiag\\.log$"));
        QVERIFY2(some.match(QString::fromUtf8(Row(summary, "framework"))).hasMatch(), Row(summary, "framework"));
        QCOMPARE(Logs().entryList({QStringLiteral("*.sh")}), QStringList());

        // Anew each time.
        Write(Logs().filePath(QStringLiteral("graphics.log")), "of another day\n");
        HostProcess later;
        later.MakeReport();
        QCOMPARE(later.Run({FolderOption(), kSmallLoad}), 0);
        QCOMPARE(Row(later.Out(), "displays"), Row(summary, "displays"));
    }

    void foldersAndSettings()
    {
        const QDir data(Folder());
        const QString preferences = data.filePath(QStringLiteral("prefs.ini"));
        HostProcess first;
        QCOMPARE(first.Run({FolderOption(), kSmallLoad}), 0);
        const QByteArray summary = first.Out();
        QCOMPARE(Row(summary, "user data"), Folder().toUtf8());
        QCOMPARE(Row(summary, "cache"), data.filePath(QStringLiteral("Cache")).toUtf8());
        QCOMPARE(Row(summary, "downloads"), data.filePath(QStringLiteral("Downloads")).toUtf8());
        QVERIFY(data.exists(QStringLiteral("Cache")) && data.exists(QStringLiteral("Downloads")));
        QCOMPARE(Row(summary, "preferences"), preferences.toUtf8());
        QCOMPARE(Row(summary, "defaults"), QByteArray("merged"));
        QCOMPARE(Row(summary, "run"), QByteArray("1"));
        QCOMPARE(Row(summary, "window"), QByteArray("downloads from 22:30 to 05:15"));

        // What the user changes stays.
        QSettings(preferences, QSettings::IniFormat).setValue(QStringLiteral("Downloads/AutoDownloadsStart"), "7:05");
        HostProcess second;
        QCOMPARE(second.Run({FolderOption(), kSmallLoad}), 0);
        const QByteArray later = second.Out();
        QCOMPARE(Row(later, "run"), QByteArray("2"));
        QCOMPARE(Row(later, "window"), QByteArray("downloads from 07:05 to 05:15"));
    }

    void everyThreadLogsItsLines()
    {
        HostProcess host;
        QCOMPARE(host.Run({FolderOption(), kSmallLoad, QStringLiteral("--threads=3")}), 0);
        for (int thread = 0; thread < 3; ++thread)
            QCOMPARE(LoadLines(Log(), thread), CountTo(500));
        QCOMPARE(LoadLines(Log(), 3), QList<int>());
    }

    void theLogTellsTheWholeLife()
    {
        HostProcess host;
        QCOMPARE(host.Run({FolderOption(), QStringLiteral("--lines=1"), QStringLiteral("--threads=1")}), 0);
        QCOMPARE(LogText::Bodies(RotatedLog(0)),
                 (QList<QByteArray>{"|10|Information|OldLog::Prepare|this is what a run of two days ago logged",
                                    "|10|Information|Host::StartLog|host " HOST_VERSION " starts"}));
        const QByteArray header = LogText::Lines(Log()).first();
        QCOMPARE(header.mid(23), "continued from " + Rotated().value(0).toUtf8());
        QCOMPARE(LogText::Bodies(Log()).mid(1),
                 (QList<QByteArray>{"|1001|Error|Host::LogErrors|an error about a file",
                                    "|1002|Error|Host::LogErrors|an error with a status",
                                    "|1003|Exception|Host::LogErrors|Unknown exception has been caught.",
                                    "|10|Information|LoadThread::run|thread 0 line 0",
                                    "|10|Information|Logger::ResetLoggingLevel|resetting log level 22",
                                    "|30|Warning|RegisteredThread::LogThreads|Thread: logging thread, running: 1",
                                    "|30|Warning|RegisteredThread::LogThreads|Thread: load 0, running: 0",
                                    "|10|Information|Logger::ResetLoggingLevel|resetting log level 23",
                                    "|10|Information|Logger::StopLogging|stopping logging file path is "
                                        + LogPath().toUtf8()}));
    }

    void oldLogIsTwoDaysOld()
    {
        HostProcess host;
        QCOMPARE(host.Run({FolderOption(), kSmallLoad}), 0);
        const QDate today = QDate::currentDate();
        const QDate oldDate = QDate::fromString(QString::fromLatin1(RotatedLog(0).left(10)), Qt::ISODate);
        QVERIFY2(oldDate.daysTo(today) == 2 || oldDate.daysTo(today) == 3, RotatedLog(0));
    }

    void nextRunMovesTheLogOfTheOneBefore()
    {
        HostProcess first;
        QCOMPARE(first.Run({FolderOption(), kSmallLoad}), 0);
        const QByteArray before = Log();
        HostProcess second;
        QCOMPARE(second.Run({FolderOption(), kSmallLoad}), 0);
        QCOMPARE(Rotated().size(), 2);
        QVERIFY(RotatedLog(1).startsWith(before));
        QCOMPARE(LogText::Lines(RotatedLog(1)).size(), LogText::Lines(before).size() + 1);
        QVERIFY(!Log().contains(before));
    }

    void aKilledRunIsCompletedByTheNext()
    {
        HostProcess killed;
        QCOMPARE(killed.Run({FolderOption(), kSmallLoad, QStringLiteral("--crash")}), -1);
        QCOMPARE(killed.Err(), QByteArray("host: killed as asked; the next run completes the log\n"));
        QVERIFY(Logs().exists(QStringLiteral("host.crash")));
        const QByteArray before = RotatedLog(0) + Log();
        HostProcess next;
        QCOMPARE(next.Run({FolderOption(), kSmallLoad}), 0);
        QVERIFY(!Logs().exists(QStringLiteral("host.crash")));
        const QByteArray text = RotatedLog(0) + RotatedLog(1);
        QVERIFY(text.startsWith(before));
        int lines = 0;
        for (int thread = 0; thread < 4; ++thread) {
            const QList<int> numbers = LoadLines(text, thread);
            QCOMPARE(numbers, CountTo(numbers.size()));
            lines += numbers.size();
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
        QVERIFY(Logs().mkpath(QStringLiteral(".")));
        for (const char* const name : {"host-2024-01-01_00-00-00.log", "host-2024-01-02_00-00-00.log",
                                       "host-2024-01-03_00-00-00.log", "host-2024-01-04_00-00-00.log", "host-mine.log"})
            Write(Logs().filePath(QString::fromLatin1(name)), name);
        HostProcess host;
        QCOMPARE(host.Run({FolderOption(), kSmallLoad}), 0);
        QCOMPARE(Row(host.Out(), "removed"), QByteArray("1 of the older logs"));
        QVERIFY(!Rotated().contains(QStringLiteral("host-2024-01-01_00-00-00.log")));
        QVERIFY(Rotated().contains(QStringLiteral("host-2024-01-02_00-00-00.log")));
        QVERIFY(Rotated().contains(QStringLiteral("host-mine.log")));
    }

    void standardFolder()
    {
        HostProcess host;
        host.SetVariable("XDG_DATA_HOME", iFolder->path().toLocal8Bit().constData());
        QCOMPARE(host.Run({kSmallLoad}), 0);
        const QString log = iFolder->filePath(QStringLiteral("NeroltHost/Logs/host.log"));
        QCOMPARE(Row(host.Out(), "file"), log.toUtf8());
        QCOMPARE(LoadLines(LogText::Read(log), 3), CountTo(500));
    }

    void folderIsRelativeToTheCurrentOne()
    {
        HostProcess host;
        host.setWorkingDirectory(iFolder->path());
        QCOMPARE(host.Run({QStringLiteral("--folder=data"), kSmallLoad}), 0);
        QCOMPARE(Row(host.Out(), "file"), LogPath().toUtf8());
    }

    void help()
    {
        HostProcess host;
        QCOMPARE(host.Run({FolderOption(), QStringLiteral("--help")}), 0);
        const QByteArray text = host.Out();
        for (const char* const option :
             {"--crash", "--help", "--version", "--folder <folder>", "--lines <n>", "--threads <n>"})
            QVERIFY2(text.contains(option), option);
        QCOMPARE(host.Err(), QByteArray());
        QVERIFY(!QFile::exists(Folder()));
    }

    void version()
    {
        HostProcess host;
        QCOMPARE(host.Run({FolderOption(), QStringLiteral("--version")}), 0);
        QCOMPARE(host.Out(), QByteArray("host " HOST_VERSION "\n"));
        QVERIFY(!QFile::exists(Folder()));
    }

    void badInput_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QByteArray>("error");
        const QByteArray lines = "--lines takes a number from 1 to 10000000, not ";
        const QByteArray threads = "--threads takes a number from 1 to 64, not ";
        QTest::newRow("no lines") << QStringLiteral("--lines=0") << lines + "\"0\"";
        QTest::newRow("too many lines") << QStringLiteral("--lines=10000001") << lines + "\"10000001\"";
        QTest::newRow("more lines than an int holds")
            << QStringLiteral("--lines=4294967297") << lines + "\"4294967297\"";
        QTest::newRow("negative lines") << QStringLiteral("--lines=-5") << lines + "\"-5\"";
        QTest::newRow("lines in words") << QStringLiteral("--lines=many") << lines + "\"many\"";
        QTest::newRow("a fraction of a line") << QStringLiteral("--lines=1.5") << lines + "\"1.5\"";
        QTest::newRow("empty lines") << QStringLiteral("--lines=") << lines + "\"\"";
        QTest::newRow("no threads") << QStringLiteral("--threads=0") << threads + "\"0\"";
        QTest::newRow("too many threads") << QStringLiteral("--threads=65") << threads + "\"65\"";
        QTest::newRow("empty folder") << QStringLiteral("--folder=") << QByteArray("--folder needs a name");
        QTest::newRow("option without value")
            << QStringLiteral("--lines") << QByteArray("Missing value after '--lines'.");
        QTest::newRow("unknown option") << QStringLiteral("--line=5") << QByteArray("Unknown option 'line'.");
        QTest::newRow("stray argument") << QStringLiteral("5") << QByteArray("unexpected argument \"5\"");
    }
    void badInput()
    {
        QFETCH(QString, argument);
        QFETCH(QByteArray, error);
        HostProcess host;
        host.SetVariable("XDG_DATA_HOME", Folder().toLocal8Bit().constData());
        QCOMPARE(host.Run({FolderOption(), argument}), 2);
        QCOMPARE(host.Out(), QByteArray());
        QCOMPARE(host.Err(), "host: " + error + "\nTry 'host --help'.\n");
        QVERIFY(!QFile::exists(Folder()));
    }

    void folderIsAFile()
    {
        Write(Folder(), "mine");
        HostProcess host;
        QCOMPARE(host.Run({FolderOption()}), 2);
        QCOMPARE(host.Err(), "host: " + Folder().toUtf8() + " is not a folder\nTry 'host --help'.\n");
        QCOMPARE(LogText::Read(Folder()), QByteArray("mine"));
    }

    void readOnlyFolder()
    {
        OrdinaryUser::Own(iFolder->path());
        QVERIFY(QFile::setPermissions(iFolder->path(), QFile::ReadOwner | QFile::ExeOwner));
        HostProcess host;
        host.RunAsOrdinaryUser();
        const int code = host.Run({FolderOption()});
        QVERIFY(QFile::setPermissions(iFolder->path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(code, 2);
        QCOMPARE(host.Err(), "host: " + iFolder->path().toUtf8() + " may not be written to\nTry 'host --help'.\n");
        QCOMPARE(QDir(iFolder->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    }

    void readOnlyLog()
    {
        QVERIFY(Logs().mkpath(QStringLiteral(".")));
        Write(LogPath(), "mine\n");
        QVERIFY(QFile::setPermissions(LogPath(), QFile::ReadOwner));
        for (const QString& path : {LogPath(), Logs().path()})
            OrdinaryUser::Own(path);
        HostProcess host;
        host.RunAsOrdinaryUser();
        QCOMPARE(host.Run({FolderOption()}), 2);
        QCOMPARE(host.Err(), "host: " + LogPath().toUtf8() + " may not be written to\nTry 'host --help'.\n");
        QCOMPARE(Log(), QByteArray("mine\n"));
        QCOMPARE(Rotated(), QStringList());
    }

    void ordinaryUser()
    {
        OrdinaryUser::Own(iFolder->path());
        HostProcess host;
        host.RunAsOrdinaryUser();
        QCOMPARE(host.Run({FolderOption(), kSmallLoad}), 0);
        QCOMPARE(LoadLines(Log(), 3), CountTo(500));
        QCOMPARE(Rotated().size(), 1);
    }

    void ownFolder()
    {
        HostProcess host;
        host.SetVariable("XDG_DATA_HOME",
                         QFile::encodeName(iFolder->filePath(QStringLiteral("a user's data"))).constData());
        QCOMPARE(host.Run({kSmallLoad}), 0);
        const QByteArray summary = host.Out();
        const QString folder = iFolder->filePath(QStringLiteral("a user's data/NeroltHost"));
        qint64 size = 0;
        QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext())
            size += QFileInfo(files.next()).size();
        QVERIFY(size > 0);
        QCOMPARE(Row(summary, QLocale(QLocale::English).formattedDataSize(size, 1).toUtf8()), folder.toUtf8());
        const QByteArray command = Row(summary, "to remove it");
        QCOMPARE(command, "rm -r '" + iFolder->path().toUtf8() + "/a user'\\''s data/NeroltHost'");
        QCOMPARE(QProcess::execute(QStringLiteral("sh"), {QStringLiteral("-c"), QString::fromUtf8(command)}), 0);
        QVERIFY(!QFileInfo::exists(folder));
    }

    // What else is in a folder that the user named, only he knows.
    void namedFolder()
    {
        HostProcess host;
        QCOMPARE(host.Run({FolderOption(), kSmallLoad}), 0);
        QCOMPARE(Row(host.Out(), "to remove it"), QByteArray("<no row>"));
    }

    void twoHostsInOneFolder()
    {
        HostProcess first;
        first.Start({FolderOption(), kManyLines});
        QTRY_VERIFY_WITH_TIMEOUT(!Rotated().isEmpty(), 30000);
        HostProcess second;
        QCOMPARE(second.Run({FolderOption(), kSmallLoad}), 2);
        QCOMPARE(second.Err(), "host: another host uses " + Folder().toUtf8() + "\nTry 'host --help'.\n");
        QCOMPARE(::kill(pid_t(first.processId()), SIGTERM), 0);
        QCOMPARE(first.Finish(), 130);
    }

    void interrupted()
    {
        HostProcess host;
        host.Start({FolderOption(), kManyLines, QStringLiteral("--threads=2")});
        QTRY_VERIFY_WITH_TIMEOUT(Log().contains("|thread 0 line 1000\n"), 30000);
        QCOMPARE(::kill(pid_t(host.processId()), SIGINT), 0);
        QCOMPARE(host.Finish(), 130);
        const QByteArray summary = host.Out();
        QVERIFY2(LogText::Lines(summary).first().endsWith(" (interrupted before the end)"), summary);
        QVERIFY2(Row(summary, "last line").contains("|Logger::StopLogging|"), summary);
        QCOMPARE(host.Err(), QByteArray());
    }

    // The claim that every line arrived is worth something only if the host notices when it is not so.
    void lostLinesAreNoticed()
    {
        HostProcess host;
        host.Start({FolderOption(), QStringLiteral("--lines=2000000")});
        QTRY_VERIFY_WITH_TIMEOUT(Log().contains("|thread 0 line 1000\n"), 30000);
        QVERIFY(QFile::resize(LogPath(), 0));
        QCOMPARE(::kill(pid_t(host.processId()), SIGINT), 0);
        QCOMPARE(host.Finish(), 1);
        const QByteArray error = host.Err();
        QVERIFY2(error.startsWith("host: the log is wrong: "), error);
        QCOMPARE(LogText::Lines(host.Out()).first(), "The log is wrong: " + error.mid(24).trimmed());
    }

    void fullDiskForTheSummary()
    {
        HostProcess host;
        host.setStandardOutputFile(QStringLiteral("/dev/full"));
        QCOMPARE(host.Run({FolderOption(), kSmallLoad}), 1);
        QCOMPARE(host.Err(), QByteArray("host: cannot write the summary\n"));
    }

    void plainInAPipe()
    {
        HostProcess host;
        host.SetVariable("TERM", "xterm");
        QCOMPARE(host.Run({FolderOption(), kSmallLoad}), 0);
        QVERIFY(IsPlain(host.Out()));
        QCOMPARE(host.Err(), QByteArray());
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
        QCOMPARE(host.Run({FolderOption(), kSmallLoad}), 0);
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
