#include "InstalledHook.h"
#include "PathText.h"
#include "support/Framework.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <memory>
#include <sys/stat.h>

using namespace PathText;

using Getter = QString (*)();
Q_DECLARE_METATYPE(Getter)

namespace {

const QList<QByteArray> kCopied{"Architecture",          "Features",    "Network", "Screens",
                                "Platform capabilities", "Environment", "GPU"};
const QList<QByteArray> kDropped{"Library info", "Standard paths", "File selectors", "Style hints",
                                 "Theme",        "Fonts",          "Palette",        "Additional"};

QByteArray ExcerptOf(const QByteArray& output)
{
    return Write(Text("Logs/qtdiag.log"), output) ? SystemConfig::GetQtDialogData().toUtf8() : "not written";
}

} // namespace

class tst_SystemReportFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::SetLocalCodec("UTF-8"); }

    // A fresh instance, and a fresh folder as the current one, the user's, with logs.
    void init()
    {
        iHook = std::make_unique<InstalledHook>();
        iFolder = TestSupport::EnterFreshFolder();
        QVERIFY(QDir().mkdir(Text("Logs")));
        SystemConfig::SetTestPath(iFolder);
    }

    void cleanup() { iHook.reset(); }

    void detailsExist_data()
    {
        QTest::addColumn<QStringList>("things");
        QTest::addColumn<bool>("exist");
        QTest::newRow("neither") << Texts({"Logs/qtdiag.sh", "Logs/graphics.sh"}) << false;
        QTest::newRow("diagnostic") << Texts({"Logs/qtdiag.log"}) << false;
        QTest::newRow("graphics") << Texts({"Logs/graphics.log"}) << false;
        QTest::newRow("both") << Texts({"Logs/qtdiag.log", "Logs/graphics.log"}) << true;
        QTest::newRow("dead link") << Texts({"Logs/qtdiag.log -> ../a", "Logs/graphics.log"}) << false;
    }
    void detailsExist()
    {
        QFETCH(QStringList, things);
        QFETCH(bool, exist);
        for (const QString& thing : qAsConst(things))
            QVERIFY(Make(thing));
        const QStringList before = Tree(iFolder);
        QCOMPARE(SystemConfig::SystemDetailsExist(), exist);
        QCOMPARE(Tree(iFolder), before);
    }

    void detailsExistWhereTheUsersFolderIs()
    {
        QVERIFY(Make(Text("Logs/qtdiag.log")) && Make(Text("Logs/graphics.log")));
        SystemConfig::SetTestPath(QString());
        SystemConfig::SetDesktopFolders(iFolder, Text("d"), Text("c"), Text("b"));
        QVERIFY(SystemConfig::SystemDetailsExist());
        QCOMPARE(SystemConfig::GetQtDialogData(), Text("text\r\n"));
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), Text("text\n"));
        SystemConfig::SetTestPath(iFolder + Text("/other"));
        QVERIFY(!SystemConfig::SystemDetailsExist());
        QVERIFY(QDir().mkdir(Text("other")) && Make(Text("other/Logs -> ../Logs")));
        QVERIFY(SystemConfig::SystemDetailsExist());
    }

    void nothingExistsWithoutAFolder()
    {
        for (const char* const name : {"missing", "file"}) {
            SystemConfig::SetTestPath(iFolder + Text("/") + Text(name));
            QVERIFY(Write(Text("file"), "text\n"));
            QVERIFY(!SystemConfig::SystemDetailsExist());
            QCOMPARE(SystemConfig::GetQtDialogData(), QString());
            QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), QString());
            SystemConfig::RemoveShFiles();
        }
        QCOMPARE(Tree(iFolder), Texts({"Logs/", "file"}));
    }

    void excerpt_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QByteArray>("excerpt");
        const auto row = [](const char* name, const QByteArray& output, const QByteArray& excerpt) {
            QTest::newRow(name) << output << excerpt;
        };
        row("the example", "Architecture: x\nBuild: y\nLibrary info:\nz\nScreens:\nw\n",
            "Architecture: x\r\nBuild: y\r\nScreens:\r\nw\r\n");
        row("empty", "", "");
        row("first line drops", "Fonts\na\n", "");
        row("on and off again", "a\nFonts\nLocales:\nTheme\nc\nGPU\nd\nNetwork\ne\nFonts\nf\n",
            "a\r\nGPU\r\nd\r\nNetwork\r\ne\r\n");
        row("indented headings", "a\n  Fonts:\nb\n\tGPU:\nc\n", "a\r\n\tGPU:\r\nc\r\n");
        row("word inside a dropped section", "Fonts:\n  x\n  Network Sans\n  y\n", "  Network Sans\r\n  y\r\n");
        row("word across two lines", "a\nFon\nts\nb\n", "a\r\nFon\r\nts\r\nb\r\n");
        row("empty lines", "\na\n\nFonts\n\nGPU\n\n", "\r\na\r\n\r\nGPU\r\n\r\n");
        row("no line end at the end", "a\nGPU", "a\r\nGPU\r\n");
        row("dropped line without line end", "a\nFonts", "a\r\n");
        row("CR LF", "a\r\nFonts\r\nb\r\nGPU\r\n\nc\r\n", "a\r\nGPU\r\n\r\nc\r\n");
        row("CR is no line end", "a\rFonts\nb\n", "");
        row("blanks stay", "  a \t\n b\n", "  a \t\r\n b\r\n");
        row("beyond ASCII", "\xc3\xbc \xe6\x97\xa5 \xf0\x9f\x98\x80\n", "\xc3\xbc \xe6\x97\xa5 \xf0\x9f\x98\x80\r\n");
        row("bytes that are no text", "a\xff\nFonts \xe9\nb\n", "a\xef\xbf\xbd\r\n");
        row("byte order mark", "\xef\xbb\xbf\nGPU\n", "\r\nGPU\r\n");
        row("NUL stays", QByteArray("a\0b\n\0Fonts\nc\n", 13), QByteArray("a\0b\r\n", 5));
        const QByteArray wide(100000, 'x');
        row("long line", wide + "\nFonts\n" + wide + "GPU" + wide + "\na",
            wide + "\r\n" + wide + "GPU" + wide + "\r\na\r\n");
    }
    void excerpt()
    {
        QFETCH(QByteArray, output);
        QFETCH(QByteArray, excerpt);
        QVERIFY(Write(Text("Logs/graphics.log"), "another"));
        QCOMPARE(ExcerptOf(output), excerpt);
        QCOMPARE(LogText::Read(Text("Logs/qtdiag.log")), output);
    }

    void wordsOfTheExcerpt_data()
    {
        QTest::addColumn<QByteArray>("word");
        QTest::addColumn<bool>("isCopied");
        for (const QByteArray& word : kCopied)
            QTest::newRow(word.constData()) << word << true;
        for (const QByteArray& word : kDropped)
            QTest::newRow(word.constData()) << word << false;
    }
    void wordsOfTheExcerpt()
    {
        QFETCH(QByteArray, word);
        QFETCH(bool, isCopied);
        const QByteArray line = "a" + word + "b\n";
        const QByteArray decided = isCopied ? "a" + word + "b\r\nafter\r\n" : QByteArray();
        QCOMPARE(ExcerptOf(line + "after\n"), decided);
        QCOMPARE(ExcerptOf("Fonts\n" + line + "after\n"), decided);
        QByteArray otherCase = word;
        otherCase[0] = char(otherCase[0] ^ 0x20);
        for (const QByteArray& almost : {word.toLower(), otherCase, word.mid(1), word.chopped(1)}) {
            QCOMPARE(ExcerptOf(almost + "\n"), almost + "\r\n");
            QCOMPARE(ExcerptOf("Fonts\n" + almost + "\nGPU\n"), QByteArray("GPU\r\n"));
        }
    }

    void copyingComesFirst()
    {
        for (const QByteArray& copied : kCopied) {
            for (const QByteArray& dropped : kDropped) {
                const QByteArray line = dropped + " " + copied;
                QCOMPARE(ExcerptOf("Fonts\n" + line + "\na\n"), line + "\r\na\r\n");
            }
        }
    }

    void graphicsData_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("data");
        QTest::newRow("empty") << QByteArray() << QString();
        QTest::newRow("as it is") << QByteArray(" a\r\nFonts\n\n") << Text(" a\r\nFonts\n\n");
        QTest::newRow("beyond ASCII") << QByteArray("\xc3\xbc\xe6\x97\xa5") << Text("\xc3\xbc\xe6\x97\xa5");
        QTest::newRow("cut at the first NUL") << QByteArray("a\n\0b\0c", 6) << Text("a\n");
        QTest::newRow("NUL first") << QByteArray("\0a", 2) << QString();
        QTest::newRow("long") << QByteArray(1000000, 'x') << QString(1000000, QLatin1Char('x'));
    }
    void graphicsData()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, data);
        QVERIFY(Write(Text("Logs/qtdiag.log"), "another"));
        QVERIFY(Write(Text("Logs/graphics.log"), output));
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), data);
        QCOMPARE(LogText::Read(Text("Logs/graphics.log")), output);
    }

    void dataThatCannotBeRead_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Getter>("getter");
        QTest::newRow("diagnostic") << Text("Logs/qtdiag.log") << Getter(SystemConfig::GetQtDialogData);
        QTest::newRow("graphics") << Text("Logs/graphics.log") << Getter(SystemConfig::GetQMacSystemProfilertData);
    }
    void dataThatCannotBeRead()
    {
        QFETCH(QString, name);
        QFETCH(Getter, getter);
        QCOMPARE(getter(), QString());
        QVERIFY(Make(name + Text(" -> nowhere")));
        QCOMPARE(getter(), QString());
        QVERIFY(QFile::remove(name) && QDir().mkdir(name));
        QCOMPARE(getter(), QString());
        QVERIFY(QDir().rmdir(name) && Make(name));
        OrdinaryUser::Own(iFolder + Text("/") + name);
        QCOMPARE(::chmod(name.toUtf8().constData(), 0), 0);
        {
            const OrdinaryUser user;
            QCOMPARE(getter(), QString());
        }
        QCOMPARE(::chmod(name.toUtf8().constData(), 0600), 0);
        {
            const OrdinaryUser user;
            QVERIFY(!getter().isEmpty());
        }
    }

    void scriptsAreRemoved_data()
    {
        QTest::addColumn<QStringList>("things");
        QTest::addColumn<QStringList>("others");
        QTest::newRow("nothing there") << QStringList() << QStringList();
        QTest::newRow("both") << Texts({"Logs/graphics.sh", "Logs/qtdiag.sh"}) << QStringList();
        QTest::newRow("diagnostic") << Texts({"Logs/qtdiag.sh"}) << QStringList();
        QTest::newRow("graphics") << Texts({"Logs/graphics.sh"}) << QStringList();
        QTest::newRow("others stay") << QStringList()
                                     << Texts({"Logs/graphics.log", "Logs/graphics.sh1", "Logs/qtdiag.log",
                                               "graphics.sh", "qtdiag.sh"});
        QTest::newRow("links, not what they lead to")
            << Texts({"Logs/qtdiag.sh -> ../a", "Logs/graphics.sh -> ../b"}) << Texts({"a", "b/"});
        QTest::newRow("folder in place of a script") << Texts({"Logs/graphics.sh"}) << Texts({"Logs/qtdiag.sh/"});
    }
    void scriptsAreRemoved()
    {
        QFETCH(QStringList, things);
        QFETCH(QStringList, others);
        for (const QString& thing : others + things)
            QVERIFY(Make(thing));
        others += Text("Logs/");
        others.sort();
        for (int times = 0; times < 2; ++times) {
            SystemConfig::RemoveShFiles();
            QCOMPARE(Tree(iFolder), others);
        }
    }

    void crashLogIsEmpty()
    {
        const QByteArray enter = "|25|Trace|GetLastCrashLog|Enter.";
        for (const int mask : {LogScenario::kAllLevels, int(LoggerDefs::Trace), 55}) {
            const auto call = [] { QCOMPARE(SystemConfig::GetLastCrashLog(), QString()); };
            QCOMPARE(LogScenario::LoggedBy(call, mask), LogScenario::Passing({enter}, mask));
        }
    }

    void othersSayNothing()
    {
        for (const char* const name : {"qtdiag.log", "graphics.log", "qtdiag.sh", "graphics.sh", "dxdiag.log"})
            QVERIFY(Make(Text("Logs/") + Text(name)));
        const auto calls = [] {
            SystemConfig::SystemDetailsExist();
            SystemConfig::GetQtDialogData();
            SystemConfig::GetQMacSystemProfilertData();
            QCOMPARE(SystemConfig::GetDxDialogData(), QString());
            SystemConfig::RemoveShFiles();
        };
        QCOMPARE(LogScenario::LoggedBy(calls, LogScenario::kAllLevels ^ LoggerDefs::Trace), QList<QByteArray>());
    }

private:
    std::unique_ptr<InstalledHook> iHook;
    QString iFolder;
};

NEROLT_TEST_MAIN(tst_SystemReportFiles)

#include "tst_SystemReportFiles.moc"
