#include "InstalledHook.h"
#include "PathText.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

using namespace PathText;

namespace {

constexpr const char* kNoApplicationOption = "--no-application";
const char* const kLoginItem = "Resources/NeroltOrvaneLoginMac";

// What uname reports about the system, if the test overrides it.
const char* gRelease = nullptr;

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
    const int result = int(::syscall(SYS_uname, names));
    if (gRelease)
        std::strncpy(names->release, gRelease, sizeof names->release - 1);
    return result;
}

class tst_SystemConfigHost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A fresh instance, and a fresh folder as the current one, the user's.
    void init()
    {
        iHook = std::make_unique<InstalledHook>();
        iFolder = TestSupport::EnterFreshFolder();
        SystemConfig::SetTestPath(iFolder);
    }

    void cleanup()
    {
        gRelease = nullptr;
        QCoreApplication::setApplicationVersion(QString());
        iHook.reset();
    }

    void systemInfo()
    {
        QString name = Text("before");
        QString version = name;
        QString processor = name;
        gRelease = "10.15.7-some";
        SystemConfig::GetSystemInfo(name, version, processor);
        QCOMPARE(name, Text("linux"));
        QCOMPARE(version, Text("10.15"));
        QCOMPARE(processor, Text(""));
    }

    void userAgent()
    {
        QCOMPARE(SystemConfig::UserAgent(), Text("NeroltAgent/3.0"));
        for (const char* const version : {"4.1.2", "1.%1-%2 (\xce\xb2)"}) {
            QCoreApplication::setApplicationVersion(Text(version));
            QCOMPARE(SystemConfig::UserAgent(), Text("NeroltAgent/") + Text(version));
        }
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

    // The program is there when the caller goes on, or it would not have written yet.
    void startAtBootRunsTheLoginItemToItsEnd()
    {
        const QString testPath = iFolder + Text("/it's \"a\"  folder;`id`&$HOME/%1%2");
        SystemConfig::SetTestPath(testPath);
        const QString item = testPath + QLatin1Char('/') + Text(kLoginItem);
        QVERIFY(WriteProgram(item, "sleep 0.1; printf '<%s>' \"$#\" \"$@\" >>\"$0.calls\""));
        const auto calls = [] {
            for (const bool enable : {true, false})
                SystemConfig::SetSystemStartAtBoot(enable, Text("first; words"), Text("second"));
        };
        const QByteArray resources = "|20|Debug|SystemConfig::GetResourcesPath|resource path is "
            + QCoreApplication::applicationDirPath().toUtf8() + "/Resources";
        const QByteArray path = PathLine(testPath);
        QCOMPARE(LogScenario::LoggedBy(calls), (QList<QByteArray>{resources, path, resources, path}));
        QCOMPARE(LogText::Read(item + Text(".calls")), QByteArray("<1><enable><1><disable>"));
    }

    void startAtBootIsSilentIfTheItemFails()
    {
        const int noDebug = LogScenario::kAllLevels ^ LoggerDefs::Debug;
        const auto call = [] { SystemConfig::SetSystemStartAtBoot(true, QString(), QString()); };
        QCOMPARE(LogScenario::LoggedBy(call, noDebug), QList<QByteArray>{PathLine(iFolder)});
        QVERIFY(Write(Text(kLoginItem), "not executable"));
        QCOMPARE(LogScenario::LoggedBy(call, noDebug), QList<QByteArray>{PathLine(iFolder)});
        for (const char* const end : {"exit 3", "kill -9 $$"}) {
            QVERIFY(WriteProgram(Text(kLoginItem), end));
            QCOMPARE(LogScenario::LoggedBy(call, noDebug), QList<QByteArray>{PathLine(iFolder)});
        }
    }

    void otherFactsAreSilent()
    {
        QVERIFY(Write(Text("prefs.ini"), "[User]\nLoggedIn=true\n"));
        const auto facts = [] {
            QString name;
            QString version;
            QString processor;
            SystemConfig::GetSystemInfo(name, version, processor);
            SystemConfig::UserAgent();
            SystemConfig::FileIsCacheFile(Text("content1"));
            SystemConfig::SetStringInCurrentUser(Text("User"), Text("LoggedIn"), true);
            SystemConfig::SetStringInCurrentUser(Text("LoggedIn"), Text("false"), false);
            SystemConfig::SetDWORDInCurrentUser(Text("User"), Text("LoggedIn"), 0);
        };
        const QStringList before = Tree(QDir::homePath());
        QCOMPARE(LogScenario::LoggedBy(facts), QList<QByteArray>());
        QCOMPARE(Tree(QDir::homePath()), before);
        QCOMPARE(LogText::Read(Text("prefs.ini")), QByteArray("[User]\nLoggedIn=true\n"));
    }

    void isUserLoggedIn_data()
    {
        QTest::addColumn<QByteArray>("prefs");
        QTest::addColumn<bool>("answer");
        QTest::addColumn<QByteArray>("value"); // null when there is none
        const auto row = [](const char* edge, const char* prefs, bool answer, const char* value) {
            QTest::newRow(edge) << QByteArray(prefs) << answer << QByteArray(value);
        };
        row("true", "[User]\nLoggedIn=true\n", true, "true");
        row("mixed case", "[A]\nLoggedIn=false\n[User]\nName=x\nLoggedIn=tRuE\n[Z]\nLoggedIn=no\n", true, "tRuE");
        row("false", "[User]\nLoggedIn=false\n", false, "false");
        row("one", "[User]\nLoggedIn=1\n", false, "1");
        row("more behind", "[User]\nLoggedIn=truely\n", false, "truely");
        row("empty value", "[User]\nLoggedIn=\n", false, "");
        row("missing key", "[User]\nName=true\n", false, nullptr);
        row("missing section", "[Users]\nLoggedIn=true\n", false, nullptr);
        row("outside of sections", "LoggedIn=true\n", false, nullptr);
        row("missing file", nullptr, false, nullptr);
    }
    void isUserLoggedIn()
    {
        QFETCH(QByteArray, prefs);
        QFETCH(bool, answer);
        QFETCH(QByteArray, value);
        QVERIFY(prefs.isNull() || Write(Text("prefs.ini"), prefs));
        QList<QByteArray> lines{"|25|Trace|IsUserLoggedIn|Enter.", PathLine(iFolder),
                                "|25|Trace|IniFile::SettingValue|the return value is " + value};
        if (!value.isNull())
            lines += "|25|Trace|IniFile::GetKeyValue|The key is LoggedIn value is " + value;
        lines += QByteArray("|20|Debug|IsUserLoggedIn|User is logged in ") + (answer ? '1' : '0');
        for (const int mask : {LogScenario::kAllLevels, int(LoggerDefs::Trace), int(LoggerDefs::Debug), 0}) {
            const auto call = [answer] { QCOMPARE(SystemConfig::IsUserLoggedIn(), answer); };
            QCOMPARE(LogScenario::LoggedBy(call, mask), LogScenario::Passing(lines, mask));
        }
        QCOMPARE(LogText::Read(Text("prefs.ini")), prefs);
        QCOMPARE(Tree(iFolder), prefs.isNull() ? QStringList() : Texts({"prefs.ini"}));
    }

    void everyCallReadsTheFileOfTheUsersData()
    {
        SystemConfig::SetTestPath(QString());
        SystemConfig::SetDesktopFolders(iFolder, Text("d"), Text("c"), Text("b"));
        // Of different sizes: within a millisecond the framework recognises a changed file by nothing else.
        for (const char* const value : {"true", "false ", "TRUE   ", ""}) {
            Write(Text("prefs.ini"), QByteArray("[User]\nLoggedIn=") + value + '\n');
            QCOMPARE(SystemConfig::IsUserLoggedIn(), QByteArray(value).toLower().startsWith("true"));
        }
    }

    void cacheFile()
    {
        for (const char* const name : {"content12", "response3.md5", "content0.md5x", "response9", "content1abc",
                                       "response1 2 ", "content1.tar.md5", "content1.", "content1\xd9\xa1"})
            QVERIFY2(SystemConfig::FileIsCacheFile(Text(name)), name);
        for (const char* const name : {"",
                                       "content",
                                       "response",
                                       "content.md5",
                                       "contentA1",
                                       "response7.tmp",
                                       "Content1",
                                       "RESPONSE1",
                                       "contents1",
                                       "contentresponse1",
                                       "xcontent1",
                                       "content 1",
                                       "content-1",
                                       "content1.md5.tmp",
                                       "content1.MD5",
                                       "content1.md",
                                       "content1.md55",
                                       "content1.md5 ",
                                       "1",
                                       "content\xf0\x9d\x9f\x8f"})
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
