#include "InstalledHook.h"
#include "PathText.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/LoggerDefs.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <cstdio>
#include <sys/stat.h>

using TestSupport::Scenario;
using TestSupport::ScenarioResult;
using namespace PathText;

namespace {

constexpr int kAll = 63;

void PutWhetherLoggedIn()
{
    std::puts(SystemConfig::IsUserLoggedIn() ? "1" : "0");
}

const Scenario loggedIn("loggedIn", [](const QStringList& arguments) {
    return Logged(arguments[0].toInt(), [&] {
        SystemConfig::SetTestPath(arguments[1]);
        PutWhetherLoggedIn();
    });
});

const Scenario loggedInAsOrdinaryUser("loggedInAsOrdinaryUser", [](const QStringList& arguments) {
    return Logged(kAll, [&] {
        SystemConfig::SetTestPath(arguments[0]);
        const OrdinaryUser user;
        PutWhetherLoggedIn();
    });
});

const Scenario loggedInByUserData("loggedInByUserData", [](const QStringList& arguments) {
    const InstalledHook hook;
    SystemConfig::SetDesktopFolders(arguments[0], arguments[1], arguments[1], arguments[1]);
    PutWhetherLoggedIn();
    return 0;
});

const Scenario loggedInMeanwhile("loggedInMeanwhile", [](const QStringList&) {
    const InstalledHook hook;
    SystemConfig::SetTestPath(QDir::currentPath());
    PutWhetherLoggedIn();
    // Of different sizes: within a millisecond the framework recognises a changed file by nothing else.
    for (const char* const value : {"true", "false ", "TRUE   ", ""}) {
        Write(Text("prefs.ini"), QByteArray("[User]\nLoggedIn=") + value + '\n');
        PutWhetherLoggedIn();
    }
    Write(Text("prefs.ini"), "[User]\nLoggedIn=true\n");
    PutWhetherLoggedIn();
    QFile::remove(Text("prefs.ini"));
    PutWhetherLoggedIn();
    return 0;
});

const Scenario emptySetters("emptySetters", [](const QStringList&) {
    const QStringList before = Tree(QDir::homePath());
    return Logged(kAll, [&] {
        SystemConfig::SetTestPath(QDir::currentPath());
        for (const bool flag : {false, true}) {
            SystemConfig::SetStringInCurrentUser(Text("User"), Text("LoggedIn"), flag);
            SystemConfig::SetStringInCurrentUser(QString(), QString(), flag);
        }
        SystemConfig::SetDWORDInCurrentUser(Text("User"), Text("LoggedIn"), 1);
        SystemConfig::SetDWORDInCurrentUser(QString(), QString(), -1);
        std::puts(Tree(QDir::homePath()) == before ? "as before" : "changed");
    });
});

// The attributes of a file or folder. Any change alters one of them.
QByteArray State(const QString& path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return "missing";
    const auto nsecs = [](const struct timespec& time) {
        return QByteArray::number(qint64(time.tv_sec)) + '.' + QByteArray::number(qint64(time.tv_nsec));
    };
    return QByteArray::number(quint64(status.st_ino)) + ' ' + QByteArray::number(status.st_mode, 8) + ' '
        + QByteArray::number(qint64(status.st_size)) + ' ' + nsecs(status.st_mtim) + ' ' + nsecs(status.st_ctim);
}

const QByteArray kEnter = "|25|Trace|IsUserLoggedIn|Enter.";

QByteArray PathLine(const QString& testPath)
{
    return "|25|Trace|SystemConfig::GetPath|The test path is " + testPath.toUtf8();
}

} // namespace

class tst_LoggedIn : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A fresh folder as the current one.
    void init() { iFolder = TestSupport::EnterFreshFolder(); }

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
        const QString path = iFolder + Text("/prefs.ini");
        QVERIFY(Write(path, prefs));
        CheckLoggedIn(answer, value);
        QCOMPARE(LogText::Read(path), prefs);
    }

    void notLoggedInWithoutAFile()
    {
        CheckLoggedIn(false, QByteArray());
        QCOMPARE(Tree(iFolder), QStringList());
    }

    void notLoggedInWithoutAFolder()
    {
        const QString parent = iFolder;
        iFolder += Text("/missing/folder");
        CheckLoggedIn(false, QByteArray());
        QCOMPARE(Tree(parent), QStringList());
    }

    void notLoggedInWithAFolderForAFile()
    {
        QVERIFY(QDir().mkdir(Text("prefs.ini")));
        CheckLoggedIn(false, QByteArray());
        QCOMPARE(Tree(iFolder), QStringList(Text("prefs.ini/")));
    }

    void notLoggedInWithAFileThatCannotBeRead()
    {
        const QString path = iFolder + Text("/prefs.ini");
        QVERIFY(Write(path, "[User]\nLoggedIn=true\n"));
        OrdinaryUser::Own(path);
        OrdinaryUser::Own(iFolder);
        const QByteArray name = QFile::encodeName(path);
        QCOMPARE(::chmod(name.constData(), 0), 0);
        const QByteArray before = State(path) + State(iFolder);
        const auto result = Run("loggedInAsOrdinaryUser", {iFolder});
        QCOMPARE(result.iStdout, QByteArray("0\n"));
        QCOMPARE(BodiesOf(result), Lines(false, QByteArray()));
        QCOMPARE(State(path) + State(iFolder), before);
        QCOMPARE(::chmod(name.constData(), 0600), 0);
        QCOMPARE(LogText::Read(path), QByteArray("[User]\nLoggedIn=true\n"));
    }

    void loggedInIsLoggedByLevel_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<bool>("hasTrace");
        QTest::addColumn<bool>("hasDebug");
        QTest::newRow("all") << kAll << true << true;
        QTest::newRow("trace") << int(LoggerDefs::Trace) << true << false;
        QTest::newRow("debug") << int(LoggerDefs::Debug) << false << true;
        QTest::newRow("no trace") << (kAll & ~LoggerDefs::Trace) << false << true;
        QTest::newRow("no debug") << (kAll & ~LoggerDefs::Debug) << true << false;
        QTest::newRow("neither") << (kAll & ~(LoggerDefs::Debug | LoggerDefs::Trace)) << false << false;
        QTest::newRow("nothing") << 0 << false << false;
    }
    void loggedInIsLoggedByLevel()
    {
        QFETCH(int, level);
        QFETCH(bool, hasTrace);
        QFETCH(bool, hasDebug);
        QVERIFY(Write(iFolder + Text("/prefs.ini"), "[User]\nLoggedIn=True\n"));
        const auto result = Run("loggedIn", {QString::number(level), iFolder});
        QList<QByteArray> lines;
        for (const QByteArray& line : Lines(true, "True")) {
            if (line.startsWith("|25|") ? hasTrace : hasDebug)
                lines += line;
        }
        QCOMPARE(result.iStdout, QByteArray("1\n"));
        QCOMPARE(BodiesOf(result), lines);
    }

    void preferencesOfTheUsersData()
    {
        QVERIFY(QDir().mkdir(Text("user data")) && QDir().mkdir(Text("other")));
        QVERIFY(Write(Text("user data/prefs.ini"), "[User]\nLoggedIn=true\n"));
        const QStringList folders = {iFolder + Text("/user data"), iFolder + Text("/other")};
        QCOMPARE(Run("loggedInByUserData", folders).iStdout, QByteArray("1\n"));
        QCOMPARE(Run("loggedInByUserData", {folders[1], folders[0]}).iStdout, QByteArray("0\n"));
    }

    void everyCallReadsTheFile()
    {
        QCOMPARE(Run("loggedInMeanwhile", {}).iStdout, QByteArray("0\n1\n0\n1\n0\n1\n0\n"));
    }

    void emptySettersDoNothing()
    {
        const auto result = Run("emptySetters", {});
        QCOMPARE(result.iStdout, QByteArray("as before\n"));
        QCOMPARE(BodiesOf(result), QList<QByteArray>());
        QCOMPARE(Tree(result.iFolder.path()), QStringList(Text("app.log")));
    }

    void emptySettersLeavePreferencesAlone()
    {
        const InstalledHook hook;
        const QByteArray prefs = "[User]\nLoggedIn=true\n";
        QVERIFY(Write(Text("prefs.ini"), prefs));
        SystemConfig::SetTestPath(iFolder);
        const QByteArray before = State(Text("prefs.ini")) + State(iFolder);
        SystemConfig::SetStringInCurrentUser(Text("User"), Text("LoggedIn"), true);
        SystemConfig::SetStringInCurrentUser(Text("LoggedIn"), Text("false"), false);
        SystemConfig::SetDWORDInCurrentUser(Text("User"), Text("LoggedIn"), 0);
        QCOMPARE(State(Text("prefs.ini")) + State(iFolder), before);
        QCOMPARE(LogText::Read(Text("prefs.ini")), prefs);
    }

private:
    static ScenarioResult Run(const char* scenario, const QStringList& arguments)
    {
        const ScenarioResult result = TestSupport::RunScenario(scenario, arguments);
        if (!result.IsOk() || !result.iStderr.isEmpty())
            QTest::qFail(result.Describe().constData(), __FILE__, __LINE__);
        return result;
    }

    QList<QByteArray> Lines(bool answer, const QByteArray& value) const
    {
        QList<QByteArray> lines
            = {kEnter, PathLine(iFolder), "|25|Trace|IniFile::SettingValue|the return value is " + value};
        if (!value.isNull())
            lines += "|25|Trace|IniFile::GetKeyValue|The key is LoggedIn value is " + value;
        lines += QByteArray("|20|Debug|IsUserLoggedIn|User is logged in ") + (answer ? '1' : '0');
        return lines;
    }

    void CheckLoggedIn(bool answer, const QByteArray& value) const
    {
        const QString path = iFolder + Text("/prefs.ini");
        const QByteArray before = State(path) + State(iFolder);
        const auto result = Run("loggedIn", {QString::number(kAll), iFolder});
        QCOMPARE(result.iStdout, QByteArray(answer ? "1\n" : "0\n"));
        QCOMPARE(BodiesOf(result), Lines(answer, value));
        QCOMPARE(State(path) + State(iFolder), before);
    }

    QString iFolder;
};

NEROLT_TEST_MAIN(tst_LoggedIn)

#include "tst_LoggedIn.moc"
