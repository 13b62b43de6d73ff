#include "InstalledHook.h"
#include "PathText.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

using TestSupport::Scenario;
using namespace PathText;

namespace {

constexpr const char* kNoApplicationOption = "--no-application";
const char* const kLoginItem = "NeroltOrvaneLoginMac";
// Writes its arguments to a file beside itself, and only when it ends.
const QByteArray kRecord = "#!/bin/sh\n"
                           "{ echo \"$#\"; printf '<%s>\\n' \"$@\"; } >>\"$0.calls\"\n";

// What uname reports about the system, if the test overrides it.
bool gForgedNames = false;
int gNamesError = 0;
QByteArray gRelease;

const Scenario bundledStartAtBoot("bundledStartAtBoot", [](const QStringList&) {
    const InstalledHook hook;
    SystemConfig::SetSystemStartAtBoot(true, QString(), QString());
    return 0;
});

void PutUserAgent()
{
    std::puts(SystemConfig::UserAgent().toUtf8().constData());
}

// For a process with neither an application object nor a hook.
int WithoutApplication(int argc, char** argv)
{
    PutUserAgent();
    QCoreApplication::setApplicationVersion(Text("7.5"));
    PutUserAgent();
    {
        const QCoreApplication application(argc, argv);
        PutUserAgent();
    }
    PutUserAgent();
    return 0;
}

QByteArray PathLine(const QString& testPath)
{
    return "|25|Trace|SystemConfig::GetPath|The test path is " + testPath.toUtf8();
}

} // namespace

extern "C" Q_DECL_EXPORT int uname(struct utsname* names) noexcept
{
    if (gNamesError != 0) {
        errno = gNamesError;
        return -1;
    }
    const int result = int(::syscall(SYS_uname, names));
    if (gForgedNames)
        std::strncpy(names->release, gRelease.constData(), sizeof names->release - 1);
    return result;
}

class tst_SystemConfigHost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A fresh folder as the current one.
    void init()
    {
        iHook = std::make_unique<InstalledHook>();
        iFolder = TestSupport::EnterFreshFolder();
    }

    void cleanup()
    {
        gForgedNames = false;
        gNamesError = 0;
        QCoreApplication::setApplicationVersion(QString());
        iHook.reset();
    }

    void systemInfoHere()
    {
        QProcess uname;
        uname.start(Text("uname"), {Text("-r")});
        QVERIFY(uname.waitForFinished());
        int major = -1;
        int minor = -1;
        const QByteArray release = uname.readAllStandardOutput();
        QCOMPARE(std::sscanf(release.constData(), "%d.%d", &major, &minor), 2);
        CheckSystemInfo(QStringLiteral("%1.%2").arg(major).arg(minor));
    }

    void systemInfoOfOthers_data()
    {
        QTest::addColumn<QByteArray>("release");
        QTest::addColumn<int>("error");
        QTest::addColumn<QString>("version");
        QTest::newRow("distribution's kernel") << QByteArray("6.1.0-18-amd64") << 0 << Text("6.1");
        QTest::newRow("two digits") << QByteArray("10.15.7") << 0 << Text("10.15");
        QTest::newRow("one number") << QByteArray("7") << 0 << Text("7.0");
        QTest::newRow("no number") << QByteArray("unknown") << 0 << Text("0.0");
        QTest::newRow("no answer") << QByteArray() << EFAULT << Text("0.0");
    }
    void systemInfoOfOthers()
    {
        QFETCH(QByteArray, release);
        QFETCH(int, error);
        QFETCH(QString, version);
        gForgedNames = true;
        gRelease = release;
        gNamesError = error;
        CheckSystemInfo(version);
    }

    void userAgent_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("agent");
        QTest::newRow("empty") << Text("") << Text("NeroltAgent/3.0");
        QTest::newRow("number") << Text("4.1.2") << Text("NeroltAgent/4.1.2");
        QTest::newRow("template marks in a text") << Text("1.%1-%2 (%L1)") << Text("NeroltAgent/1.%1-%2 (%L1)");
        QTest::newRow("beyond ASCII") << Text("4\xce\xb2 \xf0\x9f\x98\x80")
                                      << Text("NeroltAgent/4\xce\xb2 \xf0\x9f\x98\x80");
    }
    void userAgent()
    {
        QFETCH(QString, version);
        QFETCH(QString, agent);
        QCoreApplication::setApplicationVersion(version);
        QCOMPARE(SystemConfig::UserAgent(), agent);
    }

    // The version counts only while there is an application object.
    void userAgentWithoutApplication()
    {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), {Text(kNoApplicationOption)});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.readAllStandardOutput(),
                 QByteArray("NeroltAgent/3.0\nNeroltAgent/3.0\nNeroltAgent/7.5\nNeroltAgent/3.0\n"));
    }

    void startAtBootRunsTheLoginItem_data()
    {
        QTest::addColumn<QString>("testPath");
        QTest::newRow("plain") << Text("t");
        QTest::newRow("blanks") << Text("a  folder with blanks/t");
        QTest::newRow("quotes") << Text("it's \"quoted\"");
        QTest::newRow("words for a shell") << Text("$HOME;`id`&*");
        QTest::newRow("template marks") << Text("%1%2");
        QTest::newRow("beginning with a hyphen") << Text("-t");
    }
    void startAtBootRunsTheLoginItem()
    {
        QFETCH(QString, testPath);
        testPath.prepend(iFolder + QLatin1Char('/'));
        const QString item = LoginItem(testPath + Text("/Resources"), kRecord);
        const QByteArrayList calls = {"1\n<enable>\n", "1\n<disable>\n", "1\n<disable>\n", "1\n<enable>\n"};
        CheckRuns(testPath, {true, false, false, true});
        QCOMPARE(LogText::Read(item + Text(".calls")), calls.join());
        QCOMPARE(Tree(testPath).size(), 3);
    }

    void startAtBootInABundle()
    {
        const QString contents = iFolder + Text("/My A.app/Contents");
        const QString program = contents + Text("/MacOS/program");
        QVERIFY(QDir().mkpath(contents + Text("/MacOS")));
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), program));
        const QString item = LoginItem(contents + Text("/Resources"), kRecord);
        QProcess process;
        TestSupport::StartScenario(process, "bundledStartAtBoot", {}, program);
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(LogText::Read(item + Text(".calls")), QByteArray("1\n<enable>\n"));
        QVERIFY(QFile::remove(program));
    }

    void startAtBootBlocksUntilTheEnd()
    {
        LoginItem(iFolder + Text("/Resources"), "#!/bin/sh\nsleep 0.1\necho end >\"$0.end\"\n");
        CheckRuns(iFolder, {true});
        QVERIFY(QFile::exists(iFolder + Text("/Resources/") + Text(kLoginItem) + Text(".end")));
    }

    void startAtBootIsSilent_data()
    {
        QTest::addColumn<QByteArray>("program");
        QTest::addColumn<int>("mode");
        QTest::newRow("missing") << QByteArray() << 0;
        QTest::newRow("not executable") << QByteArray("#!/bin/sh\necho run\n") << 0644;
        QTest::newRow("no interpreter") << QByteArray("#!/no/such/program\n") << 0755;
        QTest::newRow("fails") << QByteArray("#!/bin/sh\nexit 3\n") << 0755;
        QTest::newRow("killed") << QByteArray("#!/bin/sh\nkill -9 $$\n") << 0755;
        QTest::newRow("succeeds") << QByteArray("#!/bin/sh\n:\n") << 0755;
    }
    void startAtBootIsSilent()
    {
        QFETCH(QByteArray, program);
        QFETCH(int, mode);
        const QString resources = iFolder + Text("/Resources");
        if (!program.isNull())
            LoginItem(resources, program, mode);
        CheckRuns(iFolder, {true, false});
    }

    void otherFactsAreSilent()
    {
        const auto facts = [] {
            QString name;
            QString version;
            QString processor;
            SystemConfig::GetSystemInfo(name, version, processor);
            SystemConfig::UserAgent();
            SystemConfig::FileIsCacheFile(Text("content1"));
        };
        QCOMPARE(LogScenario::LoggedBy(facts), QList<QByteArray>());
    }
    void cacheFile()
    {
        for (const char* const name :
             {"content12", "response3.md5", "content0.md5x", "response9", "content1abc", "response1 2 ",
              "content123456789012345678901234567890", "content1.tar.md5", "content1.", "content1.md5.",
              "content1..md5", "content1\xd9\xa1", "content1\xf0\x9f\x98\x80"})
            QVERIFY2(SystemConfig::FileIsCacheFile(Text(name)), name);
        for (const char* const name : {"",
                                       "content",
                                       "response.md5",
                                       "contentA1",
                                       "response7.tmp",
                                       "Content1",
                                       "RESPONSE1",
                                       "conten1",
                                       "contents1",
                                       "contentresponse1",
                                       "xcontent1",
                                       " content1",
                                       "content 1",
                                       "content-1",
                                       "content.1",
                                       "content1.md5.tmp",
                                       "content1.MD5",
                                       "content1.md",
                                       "content1.md55",
                                       "content1.md5 ",
                                       "content1. ",
                                       ".md5",
                                       "1",
                                       "content\xf0\x9d\x9f\x8f",
                                       "c\xc3\xb6ntent1"})
            QVERIFY2(!SystemConfig::FileIsCacheFile(Text(name)), name);
        // The framework's own conversion says what a digit is.
        for (uint unit = 0; unit <= 0xFFFF; ++unit) {
            bool isDigit = false;
            QString(QChar(ushort(unit))).toInt(&isDigit, 10);
            for (const char* const prefix : {"content", "response"})
                QVERIFY2(SystemConfig::FileIsCacheFile(Text(prefix) + QChar(ushort(unit))) == isDigit,
                         QByteArray::number(unit, 16));
        }
    }

private:
    // The previous values of the variables are replaced.
    static void CheckSystemInfo(const QString& expected)
    {
        QString name = Text("before");
        QString version = name;
        QString processor = name;
        SystemConfig::GetSystemInfo(name, version, processor);
        QCOMPARE(name, Text("linux"));
        QCOMPARE(version, expected);
        QCOMPARE(processor, Text(""));
    }

    static QString LoginItem(const QString& resources, const QByteArray& program, int mode = 0755)
    {
        const QString path = resources + QLatin1Char('/') + Text(kLoginItem);
        if (!QDir().mkpath(resources) || !Write(path, program)
            || ::chmod(QFile::encodeName(path).constData(), mode_t(mode)) != 0)
            qFatal("cannot make %s", qPrintable(path));
        return path;
    }

    // The calls, and only the lines about the path in the log.
    static void CheckRuns(const QString& testPath, std::initializer_list<bool> calls)
    {
        SystemConfig::SetTestPath(testPath);
        const QByteArray debug = "|20|Debug|SystemConfig::GetResourcesPath|resource path is "
            + QCoreApplication::applicationDirPath().toUtf8() + "/Resources";
        QList<QByteArray> lines;
        LogScenario::Captured log;
        for (const bool enable : calls) {
            SystemConfig::SetSystemStartAtBoot(enable, Text("first; words"), Text("second"));
            lines << debug << PathLine(testPath);
        }
        QCOMPARE(log.Lines(), lines);
    }

    std::unique_ptr<InstalledHook> iHook;
    QString iFolder;
};

int main(int argc, char** argv)
{
    if (argc == 2 && qstrcmp(argv[1], kNoApplicationOption) == 0)
        return WithoutApplication(argc, argv);
    return TestSupport::Main(argc, argv, [](int count, char** arguments) {
        tst_SystemConfigHost test;
        return QTest::qExec(&test, count, arguments);
    });
}

#include "tst_SystemConfigHost.moc"
