#include "HostProcess.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"

#include <QtTest/QtTest>

#include <csignal>
#include <memory>

namespace {

const QString kSmallLoad = QStringLiteral("--lines=500");

} // namespace

/// What the host refuses, and what ends it early.
class tst_HostInTrouble : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DataFolder> iData;

private Q_SLOTS:
    void init() { iData = std::make_unique<DataFolder>(); }

    void cleanupTestCase() { iData.reset(); }

    void helpAndVersion()
    {
        HostProcess host;
        QCOMPARE(host.Run({iData->Option(), QStringLiteral("--help")}), 0);
        const QByteArray text = host.Out();
        for (const char* const option :
             {"--crash", "--help", "--version", "--folder <folder>", "--lines <n>", "--threads <n>"})
            QVERIFY2(text.contains(option), option);
        QCOMPARE(host.Run({iData->Option(), QStringLiteral("--version")}), 0);
        QCOMPARE(host.Out(), QByteArray("host " HOST_VERSION "\n"));
        QVERIFY(!QFile::exists(iData->Path()));
    }

    void badInput()
    {
        const QByteArray lines = "--lines takes a number from 1 to 10000000, not ";
        const QByteArray threads = "--threads takes a number from 1 to 64, not ";
        const std::pair<const char*, QByteArray> inputs[] = {
            {"--lines=0", lines + "\"0\""},
            {"--lines=10000001", lines + "\"10000001\""},
            {"--lines=4294967297", lines + "\"4294967297\""},
            {"--lines=-5", lines + "\"-5\""},
            {"--lines=1.5", lines + "\"1.5\""},
            {"--lines=", lines + "\"\""},
            {"--threads=0", threads + "\"0\""},
            {"--threads=65", threads + "\"65\""},
            {"--folder=", "--folder needs a name"},
            {"--lines", "Missing value after '--lines'."},
            {"--line=5", "Unknown option 'line'."},
            {"5", "unexpected argument \"5\""},
        };
        for (const auto& [argument, error] : inputs) {
            HostProcess host;
            QCOMPARE(host.Run({iData->Option(), QString::fromLatin1(argument)}), 2);
            QCOMPARE(host.Out(), QByteArray());
            QCOMPARE(host.Err(), "host: " + error + "\nTry 'host --help'.\n");
        }
        QVERIFY(!QFile::exists(iData->Path()));
    }

    void folderIsAFile()
    {
        iData->Write(QStringLiteral("data"), "mine");
        HostProcess host;
        QCOMPARE(host.Run({iData->Option()}), 2);
        QCOMPARE(host.Err(), "host: " + iData->Path().toUtf8() + " is not a folder\nTry 'host --help'.\n");
        QCOMPARE(LogText::Read(iData->Path()), QByteArray("mine"));
    }

    void readOnlyFolder()
    {
        OrdinaryUser::Own(iData->Base());
        QVERIFY(QFile::setPermissions(iData->Base(), QFile::ReadOwner | QFile::ExeOwner));
        HostProcess host;
        host.RunAsOrdinaryUser();
        const int code = host.Run({iData->Option()});
        QVERIFY(QFile::setPermissions(iData->Base(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(code, 2);
        QCOMPARE(host.Err(), "host: " + iData->Base().toUtf8() + " may not be written to\nTry 'host --help'.\n");
        QCOMPARE(QDir(iData->Base()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    }

    void readOnlyLog()
    {
        iData->Write(QStringLiteral("data/Logs/host.log"), "mine\n");
        QVERIFY(QFile::setPermissions(iData->LogPath(), QFile::ReadOwner));
        for (const QString& path : {iData->LogPath(), iData->Logs().path()})
            OrdinaryUser::Own(path);
        HostProcess host;
        host.RunAsOrdinaryUser();
        QCOMPARE(host.Run({iData->Option()}), 2);
        QCOMPARE(host.Err(), "host: " + iData->LogPath().toUtf8() + " may not be written to\nTry 'host --help'.\n");
        QCOMPARE(iData->Log(), QByteArray("mine\n"));
        QCOMPARE(iData->Rotated(), QStringList());
    }

    void twoHostsInOneFolder()
    {
        HostProcess first;
        QVERIFY(first.StartAndHold(*iData));
        HostProcess second;
        QCOMPARE(second.Run({iData->Option(), kSmallLoad}), 2);
        QCOMPARE(second.Err(), "host: another host uses " + iData->Path().toUtf8() + "\nTry 'host --help'.\n");
        QVERIFY(first.Release(SIGTERM));
        QCOMPARE(first.Finish(), 130);
    }

    void interrupted()
    {
        HostProcess host;
        QVERIFY(host.StartAndHold(*iData) && host.Release(SIGINT));
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
        QVERIFY(host.StartAndHold(*iData));
        QVERIFY(QFile::resize(iData->LogPath(), 0));
        QVERIFY(host.Release(SIGINT));
        QCOMPARE(host.Finish(), 1);
        const QByteArray error = host.Err();
        QVERIFY2(error.startsWith("host: the log is wrong: "), error);
        QCOMPARE(LogText::Lines(host.Out()).first(), "The log is wrong: " + error.mid(24).trimmed());
    }

    void fullDiskForTheSummary()
    {
        HostProcess host;
        host.setStandardOutputFile(QStringLiteral("/dev/full"));
        QCOMPARE(host.Run({iData->Option(), kSmallLoad}), 1);
        QCOMPARE(host.Err(), QByteArray("host: cannot write the summary\n"));
    }
};

NEROLT_TEST_MAIN(tst_HostInTrouble)

#include "tst_HostInTrouble.moc"
