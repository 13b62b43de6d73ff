#include "IniFiles.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/IniFile.h>

#include <QtTest/QtTest>

#include <memory>

using namespace IniFiles;

namespace {

using Lines = QList<QByteArray>;

QByteArray PathLine(const QByteArray& text)
{
    return "|20|Debug|IniFile::SetFilePath|" + text;
}

} // namespace

/// Which file an object has: by its construction, as a copy, by assignment and by SetFilePath.
class tst_IniFileBinding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutAFile()
    {
        const QStringList before = Entries(TestSupport::Scratch());
        LogScenario::Captured log;
        IniFile ini{QString()};
        IniFile copy(ini);
        QCOMPARE(ini.GetFileName(), QString());
        ini.RemoveKey(kGroup, kKey);
        for (IniFile* const none : {&ini, &copy}) {
            none->SetKeyValue(kGroup, kKey, 1);
            QCOMPARE(Get(*none), QStringLiteral("<none>"));
        }
        QCOMPARE(log.Lines(), Lines());
        QCOMPARE(Entries(TestSupport::Scratch()), before);
    }

    void constructionTouchesNothing()
    {
        const QString path = NewPath();
        LogScenario::Captured log;
        const IniFile ini(path);
        QCOMPARE(ini.GetFileName(), path);
        QVERIFY(!QFile::exists(path));
        QCOMPARE(log.Lines(), Lines());
    }

    void aCopySharesTheFileAndNotTheObject()
    {
        const QString path = NewPath();
        auto ini = std::make_unique<IniFile>(path);
        LogScenario::Captured log(LogScenario::kAllLevels & ~LoggerDefs::Trace);
        IniFile copy(*ini);
        QCOMPARE(log.Lines(), Lines());
        ini->SetKeyValue(kGroup, kKey, 1);
        QCOMPARE(Get(copy), QStringLiteral("1"));
        copy.SetKeyValue(kGroup, kKey, 2);
        QCOMPARE(Get(*ini), QStringLiteral("2"));
        ini->SetFilePath(NewPath());
        QCOMPARE(copy.GetFileName(), path);
        ini.reset();
        copy.SetKeyValue(kGroup, kKey, 3);
        QCOMPARE(Read(path), QByteArray("[A]\nk=3\n"));
    }

    void assignment_data()
    {
        QTest::addColumn<bool>("hasOld");
        QTest::addColumn<bool>("hasNew");
        QTest::newRow("none to none") << false << false;
        QTest::newRow("none to a file") << true << false;
        QTest::newRow("file to none") << false << true;
        QTest::newRow("file to another") << true << true;
    }
    void assignment()
    {
        QFETCH(bool, hasOld);
        QFETCH(bool, hasNew);
        const QString oldPath = hasOld ? NewPath() : QString();
        const QString newPath = hasNew ? NewPath() : QString();
        IniFile ini(oldPath);
        ini.SetKeyValue(kGroup, kKey, 1);
        const IniFile other(newPath);
        LogScenario::Captured log;
        QCOMPARE(&(ini = other), &ini);
        QCOMPARE(log.Lines(), Lines());
        QCOMPARE(ini.GetFileName(), newPath);
        QCOMPARE(other.GetFileName(), newPath);
        ini.SetKeyValue(kGroup, kKey, 2);
        QCOMPARE(Get(other), QString(hasNew ? QStringLiteral("2") : QStringLiteral("<none>")));
        if (hasOld)
            QCOMPARE(Read(oldPath), QByteArray("[A]\nk=1\n"));
    }

    // What was merged and is not in the file yet stays with the object.
    void selfAssignmentDoesNothing()
    {
        IniFile ini(NewPath());
        QVERIFY(ini.Merge(NewFile("[A]\nk=1\n"), QString()));
        const IniFile& self = ini;
        QCOMPARE(&(ini = self), &ini);
        QVERIFY(!QFile::exists(ini.GetFileName()));
        QCOMPARE(Get(ini), QStringLiteral("1"));
    }

    void setFilePath()
    {
        const QString first = NewPath();
        const QString second = NewPath();
        IniFile ini{QString()};
        LogScenario::Captured log;
        ini.SetFilePath(first);
        QCOMPARE(log.Lines(), Lines{PathLine("The file is " + first.toUtf8())});
        ini.SetKeyValue(kGroup, kKey, 1);
        ini.SetFilePath(second);
        QCOMPARE(log.Lines(),
                 (Lines{PathLine("The file is " + second.toUtf8()), PathLine("Clear the old settings first.")}));
        QCOMPARE(ini.GetFileName(), second);
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        QCOMPARE(Read(first), QByteArray("[A]\nk=1\n"));
        QVERIFY(!QFile::exists(second));
    }

    // The message has the path that was given, GetFileName returns the full one.
    void setFilePathToARelativePath()
    {
        IniFile ini{QString()};
        LogScenario::Captured log(LoggerDefs::Debug);
        ini.SetFilePath(QStringLiteral("other%1.ini"));
        QCOMPARE(log.Lines(), Lines{PathLine("The file is other%1.ini")});
        QCOMPARE(ini.GetFileName(), QDir::current().filePath(QStringLiteral("other%1.ini")));
    }

    void setFilePathToAnEmptyPath()
    {
        const QStringList before = Entries(TestSupport::Scratch());
        IniFile ini{QString()};
        LogScenario::Captured log(LoggerDefs::Debug);
        ini.SetFilePath(QString());
        QCOMPARE(ini.GetFileName(), QString());
        ini.SetFilePath(QString());
        QCOMPARE(
            log.Lines(),
            (Lines{PathLine("The file is "), PathLine("The file is "), PathLine("Clear the old settings first.")}));
        ini.SetKeyValue(kGroup, kKey, 1);
        ini.RemoveKey(kGroup, kKey);
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        QCOMPARE(Entries(TestSupport::Scratch()), before);
    }
};

NEROLT_TEST_MAIN(tst_IniFileBinding)

#include "tst_IniFileBinding.moc"
