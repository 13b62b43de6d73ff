#include "IniFiles.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniFile.h>

#include <QtCore/QFileInfo>
#include <QtCore/QSettings>
#include <QtTest/QtTest>

#include <csignal>
#include <sys/resource.h>

using namespace IniFiles;
using TestSupport::Scenario;

namespace {

using Lines = QList<QByteArray>;

// A disk that accepts only so many bytes for each file.
void LimitFiles(rlim_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

// The framework does not notice that a small file was truncated.
const Scenario fullDisk("fullDisk", [](const QStringList&) {
    const QString path = QStringLiteral("full.ini");
    IniFile ini(path);
    ini.SetKeyValue(kGroup, kKey, QStringLiteral("old"));
    LimitFiles(1000);
    const QByteArray large(3000, 'x');
    ini.SetKeyValue(kGroup, kKey, QString::fromLatin1(large));
    if (Read(path) != "[A]\nk=old\n" || Get(ini).toLatin1() != large
        || Entries(QStringLiteral(".")) != QStringList{path})
        return 1;
    LimitFiles(RLIM_INFINITY);
    ini.SetKeyValue(kGroup, QStringLiteral("b"), 1);
    return Read(path) == "[A]\nb=1\nk=" + large + "\n" ? 0 : 2;
});

} // namespace

// The contents of the file: changed by others, damaged, inaccessible.
class tst_IniFileDisk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsThrough()
    {
        const QString path = NewPath();
        const IniFile ini(path);
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        Write(path, "[A]\nk=first\n");
        QCOMPARE(Get(ini), QStringLiteral("first"));
        Write(path, "[A]\nk=the second\n");
        QCOMPARE(Get(ini), QStringLiteral("the second"));
        Write(path, "[A]\nother=the second\n");
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        Write(path, "[A]\nk=third\n");
        QCOMPARE(Get(ini), QStringLiteral("third"));
        QVERIFY(QFile::remove(path) && QFile::rename(NewFile("[A]\nk=replaced\n"), path));
        QCOMPARE(Get(ini), QStringLiteral("replaced"));
        QFile::remove(path);
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        Write(path, "");
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
    }

    void readsThroughChangesOfTheSameSize()
    {
        const QString path = NewFile("[A]\nk=1\n");
        const IniFile ini(path);
        QCOMPARE(Get(ini), QStringLiteral("1"));
        const QDateTime time = QFileInfo(path).lastModified();
        Write(path, "[A]\nk=2\n");
        SetTime(path, time.addMSecs(-1));
        QCOMPARE(Get(ini), QStringLiteral("2"));
    }

    void objectsOnOneFileSeeEachOther()
    {
        const QString path = NewPath();
        IniFile first(path);
        IniFile second(path);
        QSettings third(path, QSettings::IniFormat);
        first.SetKeyValue(kGroup, kKey, QStringLiteral("1"));
        QCOMPARE(Get(second), QStringLiteral("1"));
        second.RemoveKey(kGroup, kKey);
        QCOMPARE(Get(first), QStringLiteral("<none>"));
        third.setValue(QStringLiteral("A/k"), QStringLiteral("3"));
        QCOMPARE(Get(first), QStringLiteral("3"));
        QCOMPARE(Get(second), QStringLiteral("3"));
    }

    void aChangeKeepsWhatOthersChanged()
    {
        const QString path = NewFile("[A]\nk=1\n");
        IniFile ini(path);
        QCOMPARE(Get(ini), QStringLiteral("1"));
        Write(path, "[A]\nk=1\nnew=2\n");
        ini.SetKeyValue(kGroup, kKey, 3);
        QCOMPARE(Read(path), QByteArray("[A]\nk=3\nnew=2\n"));
        Write(path, "[A]\nk=3\n[B]\nnewer=4\n");
        ini.RemoveKey(kGroup, kKey);
        QCOMPARE(Read(path), QByteArray("[B]\nnewer=4\n"));
    }

    void aFolder()
    {
        const QString folder = NewFolder();
        IniFile ini(folder);
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        ini.SetKeyValue(kGroup, kKey, 1);
        QCOMPARE(Get(ini), QStringLiteral("1"));
        QVERIFY(QFileInfo(folder).isDir());
        QCOMPARE(Entries(folder), QStringList());
    }

    void malformed_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("kept");
        const auto row = [](const char* name, const char* text, const char* kept) {
            QTest::newRow(name) << QByteArray(text) << QByteArray(kept);
        };
        row("line without an equals sign", "[A]\nno sense\nk=v\n", "k=v\n");
        row("missing closing bracket", "[A\nk=v\n", "k=v\n");
        row("no line feed at the end", "[A]\nk=v", "k=v\n");
        row("other line feeds", "[A]\r\nk=v\r\n", "k=v\n");
        row("byte order mark", "\xef\xbb\xbf[A]\nk=v\n", "k=v\n");
        row("open quotes", "[A]\nk=v\nq=\"open\n", "k=v\nq=open\\n\n");
        row("bytes", "\x01\x02\xff\xfe\n[A]\nk=v\n", "k=v\n");
        row("section twice", "[A]\nk=u\n[B]\nx=1\n[A]\nk=v\n", "k=v\n\n[B]\nx=1\n");
    }
    void malformed()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, kept);
        const QString path = NewFile(text);
        IniFile ini(path);
        QCOMPARE(Get(ini), QStringLiteral("v"));
        QCOMPARE(Read(path), text);
        ini.SetKeyValue(kGroup, QStringLiteral("b"), 1);
        QCOMPARE(Read(path), "[A]\nb=1\n" + kept);
    }

    // To the framework its keys differ from those at the top level, until it writes them.
    void aSectionWithoutAName()
    {
        const QString path = NewFile("[]\nk=1\n[General]\nk=2\n");
        IniFile(path).SetKeyValue(kGroup, kKey, 3);
        QVERIFY2(Read(path).endsWith("\n\n[A]\nk=3\n"), Read(path));
    }

    // A change that cannot be written stays in the object, and is written as soon as that is possible.
    void aFileThatMayNotBeWritten_data()
    {
        QTest::addColumn<int>("fileMode");
        QTest::addColumn<int>("folderMode");
        QTest::addColumn<QString>("before");
        QTest::newRow("unreadable file") << 0x0000 << 0x7000 << "<none>";
        QTest::newRow("read-only file") << 0x4000 << 0x7000 << "v";
        QTest::newRow("write-only file") << 0x2000 << 0x7000 << "<none>";
        QTest::newRow("read-only folder") << 0x6000 << 0x5000 << "v";
        QTest::newRow("both read-only") << 0x4000 << 0x5000 << "v";
    }
    void aFileThatMayNotBeWritten()
    {
        QFETCH(int, fileMode);
        QFETCH(int, folderMode);
        QFETCH(QString, before);
        const QString folder = NewFolder();
        const QString path = QDir(folder).filePath(QStringLiteral("s.ini"));
        Write(path, "[A]\nk=v\n");
        OrdinaryUser::Own(path);
        OrdinaryUser::Own(folder);
        const OrdinaryUser user;
        QVERIFY(QFile::setPermissions(path, QFile::Permissions(fileMode)));
        QVERIFY(QFile::setPermissions(folder, QFile::Permissions(folderMode)));
        LogScenario::Captured log(LogScenario::kAllLevels & ~LoggerDefs::Trace);
        IniFile ini(path);
        QCOMPARE(Get(ini), before);
        ini.SetKeyValue(kGroup, QStringLiteral("x"), 1);
        QCOMPARE(Get(ini, kGroup, QStringLiteral("x")), QStringLiteral("1"));
        QCOMPARE(Entries(folder), QStringList{QStringLiteral("s.ini")});
        QCOMPARE(log.Lines(), Lines());
        QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x7000)));
        QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x6000)));
        QCOMPARE(Read(path), QByteArray("[A]\nk=v\n"));
        SetTime(path, QFileInfo(path).lastModified().addSecs(-1));
        Get(ini);
        QCOMPARE(Read(path), QByteArray("[A]\nk=v\nx=1\n"));
    }

    void aFileThatVanishes()
    {
        const QString path = NewFile("[A]\nk=v\nother=w\n");
        IniFile ini(path);
        QCOMPARE(Get(ini), QStringLiteral("v"));
        QVERIFY(QFile::remove(path));
        ini.RemoveKey(kGroup, QStringLiteral("missing"));
        QVERIFY(!QFile::exists(path));
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        ini.SetKeyValue(kGroup, kKey, 1);
        QCOMPARE(Read(path), QByteArray("[A]\nk=1\n"));
    }

    void aFolderThatVanishes()
    {
        const QString folder = NewFolder();
        const QString path = QDir(folder).filePath(QStringLiteral("s.ini"));
        IniFile ini(path);
        ini.SetKeyValue(kGroup, kKey, 1);
        QVERIFY(QDir(folder).removeRecursively());
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        ini.SetKeyValue(kGroup, kKey, 2);
        QCOMPARE(Read(path), QByteArray("[A]\nk=2\n"));
    }

    void aDiskThatIsFullForAWhile()
    {
        const TestSupport::ScenarioResult result = TestSupport::RunScenario("fullDisk");
        QVERIFY2(result.IsOk(), result.Describe());
    }
};

NEROLT_TEST_MAIN(tst_IniFileDisk)

#include "tst_IniFileDisk.moc"
