#include "InstalledHook.h"
#include "PathText.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtTest/QtTest>

#include <memory>
#include <sys/stat.h>

using namespace PathText;

namespace {

// Any change of the file alters one of these.
QByteArray State(const QString& path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return "missing";
    const QFileInfo info(path);
    return QByteArray::number(quint64(status.st_ino)) + ' '
        + QByteArray::number(info.metadataChangeTime().toMSecsSinceEpoch());
}

} // namespace

class tst_LoggedIn : public QObject
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

    void cleanup() { iHook.reset(); }

    void isUserLoggedIn_data()
    {
        QTest::addColumn<QByteArray>("prefs");
        QTest::addColumn<bool>("answer");
        QTest::addColumn<QByteArray>("value"); // null when there is none
        const auto row = [](const char* edge, const char* prefs, bool answer, const char* value) {
            QTest::newRow(edge) << QByteArray(prefs) << answer << QByteArray(value);
        };
        row("true", "[User]\nLoggedIn=true\n", true, "true");
        row("capitals", "[User]\nLoggedIn=TRUE\n", true, "TRUE");
        row("one capital", "[User]\nLoggedIn=True\n", true, "True");
        row("mixed", "[User]\nLoggedIn=tRuE\n", true, "tRuE");
        row("quoted", "[User]\nLoggedIn=\"true\"\n", true, "true");
        row("blanks around", "[User]\n LoggedIn = true \n", true, "true");
        row("line ends of another platform", "[User]\r\nLoggedIn=true\r\n", true, "true");
        row("last line without an end", "[User]\nLoggedIn=true", true, "true");
        row("among others", "[A]\nLoggedIn=false\n[User]\nName=x\nLoggedIn=true\nAge=1\n[Z]\nLoggedIn=no\n", true,
            "true");
        row("false", "[User]\nLoggedIn=false\n", false, "false");
        row("one", "[User]\nLoggedIn=1\n", false, "1");
        row("zero", "[User]\nLoggedIn=0\n", false, "0");
        row("yes", "[User]\nLoggedIn=yes\n", false, "yes");
        row("on", "[User]\nLoggedIn=on\n", false, "on");
        row("blank within quotes", "[User]\nLoggedIn=\" true\"\n", false, " true");
        row("list", "[User]\nLoggedIn=true, true\n", false, "true true");
        row("more behind", "[User]\nLoggedIn=truely\n", false, "truely");
        row("template mark", "[User]\nLoggedIn=%1\n", false, "%1");
        row("empty value", "[User]\nLoggedIn=\n", false, "");
        row("missing key", "[User]\nName=true\n", false, nullptr);
        row("key in lower case", "[User]\nloggedin=true\n", false, nullptr);
        row("section in lower case", "[user]\nLoggedIn=true\n", false, nullptr);
        row("missing section", "[Users]\nLoggedIn=true\n", false, nullptr);
        row("outside of sections", "LoggedIn=true\n", false, nullptr);
        row("commented out", "[User]\n;LoggedIn=true\n", false, nullptr);
        row("no settings", "nothing to see here\n", false, nullptr);
        row("empty file", "", false, nullptr);
    }
    void isUserLoggedIn()
    {
        QFETCH(QByteArray, prefs);
        QFETCH(bool, answer);
        QFETCH(QByteArray, value);
        QVERIFY(Write(Text("prefs.ini"), prefs));
        CheckLoggedIn(answer, value);
        QCOMPARE(LogText::Read(Text("prefs.ini")), prefs);
    }

    void notLoggedInWithoutAFile()
    {
        CheckLoggedIn(false, QByteArray());
        QCOMPARE(Tree(iFolder), QStringList());
        QVERIFY(QDir().mkdir(Text("prefs.ini"))); // a folder is none
        CheckLoggedIn(false, QByteArray());
        QCOMPARE(Tree(iFolder), Texts({"prefs.ini/"}));
        const QString parent = iFolder;
        iFolder += Text("/missing/folder");
        SystemConfig::SetTestPath(iFolder);
        CheckLoggedIn(false, QByteArray());
        QCOMPARE(Tree(parent), Texts({"prefs.ini/"}));
    }

    void notLoggedInWithAFileThatCannotBeRead()
    {
        const QString path = iFolder + Text("/prefs.ini");
        QVERIFY(Write(path, "[User]\nLoggedIn=true\n"));
        OrdinaryUser::Own(path);
        OrdinaryUser::Own(iFolder);
        QCOMPARE(::chmod("prefs.ini", 0), 0);
        {
            const OrdinaryUser user;
            CheckLoggedIn(false, QByteArray());
        }
        QCOMPARE(::chmod("prefs.ini", 0600), 0);
        QCOMPARE(LogText::Read(path), QByteArray("[User]\nLoggedIn=true\n"));
    }

    void loggedInIsLoggedByLevel_data() { LogScenario::AddMasks({LoggerDefs::Trace, LoggerDefs::Debug}); }
    void loggedInIsLoggedByLevel()
    {
        QFETCH(int, mask);
        QVERIFY(Write(Text("prefs.ini"), "[User]\nLoggedIn=True\n"));
        CheckLoggedIn(true, "True", mask);
    }

    void everyCallReadsTheFileOfTheUsersData()
    {
        SystemConfig::SetTestPath(QString());
        SystemConfig::SetDesktopFolders(iFolder, Text("d"), Text("c"), Text("b"));
        QVERIFY(!SystemConfig::IsUserLoggedIn());
        // Of different sizes: within a millisecond the framework recognises a changed file by nothing else.
        for (const char* const value : {"true", "false ", "TRUE   ", ""}) {
            Write(Text("prefs.ini"), QByteArray("[User]\nLoggedIn=") + value + '\n');
            QCOMPARE(SystemConfig::IsUserLoggedIn(), QByteArray(value).toLower().startsWith("true"));
        }
        QFile::remove(Text("prefs.ini"));
        QVERIFY(!SystemConfig::IsUserLoggedIn());
    }

    void emptySettersDoNothing()
    {
        QVERIFY(Write(Text("prefs.ini"), "[User]\nLoggedIn=true\n"));
        const QByteArray state = State(Text("prefs.ini")) + State(iFolder);
        const QStringList tree = Tree(QDir::homePath());
        const auto calls = [] {
            SystemConfig::SetStringInCurrentUser(Text("User"), Text("LoggedIn"), true);
            SystemConfig::SetStringInCurrentUser(Text("LoggedIn"), Text("false"), false);
            SystemConfig::SetDWORDInCurrentUser(Text("User"), Text("LoggedIn"), 0);
        };
        QCOMPARE(LogScenario::LoggedBy(calls), QList<QByteArray>());
        QCOMPARE(State(Text("prefs.ini")) + State(iFolder), state);
        QCOMPARE(Tree(QDir::homePath()), tree);
    }

private:
    void CheckLoggedIn(bool answer, const QByteArray& value, int mask = LogScenario::kAllLevels) const
    {
        const QString path = iFolder + Text("/prefs.ini");
        QList<QByteArray> lines{"|25|Trace|IsUserLoggedIn|Enter.",
                                "|25|Trace|SystemConfig::GetPath|The test path is " + iFolder.toUtf8(),
                                "|25|Trace|IniFile::SettingValue|the return value is " + value};
        if (!value.isNull())
            lines += "|25|Trace|IniFile::GetKeyValue|The key is LoggedIn value is " + value;
        lines += QByteArray("|20|Debug|IsUserLoggedIn|User is logged in ") + (answer ? '1' : '0');
        const QByteArray before = State(path) + State(iFolder);
        const auto call = [answer] { QCOMPARE(SystemConfig::IsUserLoggedIn(), answer); };
        QCOMPARE(LogScenario::LoggedBy(call, mask), LogScenario::Passing(lines, mask));
        QCOMPARE(State(path) + State(iFolder), before);
    }

    std::unique_ptr<InstalledHook> iHook;
    QString iFolder;
};

NEROLT_TEST_MAIN(tst_LoggedIn)

#include "tst_LoggedIn.moc"
