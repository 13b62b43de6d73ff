#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QVariant>
#include <QtTest/QtTest>

namespace {

const QString kGroup = QStringLiteral("A");
const QString kChanged = QStringLiteral("changed");

// So many seconds old.
void Put(const QString& path, int secs)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || file.write("mine") != 4 || !file.flush()
        || !file.setFileTime(QDateTime::currentDateTime().addSecs(-secs), QFileDevice::FileModificationTime))
        qFatal("cannot make %s", qPrintable(path));
}

} // namespace

// Files that killed writers leave.
class tst_IniLeftovers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void leftovers_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("secs");
        QTest::addColumn<bool>("stays");
        QTest::newRow("old") << QStringLiteral("s.ini.AbCxyZ") << 90 << false;
        QTest::newRow("young") << QStringLiteral("s.ini.AbCxyZ") << 30 << true;
        QTest::newRow("digit") << QStringLiteral("s.ini.AbCxy1") << 90 << true;
        QTest::newRow("short") << QStringLiteral("s.ini.AbCxy") << 90 << true;
        QTest::newRow("long") << QStringLiteral("s.ini.AbCxyZZ") << 90 << true;
        QTest::newRow("of another file") << QStringLiteral("t.ini.AbCxyZ") << 90 << true;
    }
    void leftovers()
    {
        QFETCH(QString, name);
        QFETCH(int, secs);
        TestSupport::EnterFreshFolder();
        Put(name, secs);
        IniFile(QStringLiteral("s.ini")).SetKeyValue(kGroup, kChanged, 1);
        QTEST(QFile::exists(name), "stays");
        QCOMPARE(LogText::Read(QStringLiteral("s.ini")), QByteArray("[A]\nchanged=1\n"));
    }

    // Not even after a change was lost.
    void aReaderRemovesNothing()
    {
        TestSupport::EnterFreshFolder();
        const QString leftover = QStringLiteral("s.ini.AbCxyZ");
        Put(leftover, 90);
        QVERIFY(QDir().mkdir(QStringLiteral("folder")));
        IniFile(QStringLiteral("folder")).SetKeyValue(kGroup, kChanged, 1);
        QString value;
        QVERIFY(!IniFile(QStringLiteral("s.ini")).GetKeyValue(kGroup, kChanged, value));
        QVERIFY(QFile::exists(leftover));
    }

    void leftoversThatAreNone()
    {
        TestSupport::EnterFreshFolder();
        const QString link = QStringLiteral("s.ini.abcdef");
        const QString folder = QStringLiteral("s.ini.ghijkl");
        const QString strangers = QStringLiteral("s.ini.mnopqr");
        for (const QString& name : {QStringLiteral("victim"), strangers})
            Put(name, 90);
        if (OrdinaryUser::IsTestRoot())
            OrdinaryUser::Own(QDir().absoluteFilePath(strangers));
        else
            QFile::remove(strangers);
        QVERIFY(QFile::link(QStringLiteral("victim"), link) && QDir().mkdir(folder));
        SettingsIniFile ini;
        ini.SetKeyValue(kGroup, kChanged, 1);
        QVERIFY(ini.WriteFile(QStringLiteral("s.ini")));
        QVERIFY(QFile::exists(QStringLiteral("victim")));
        QVERIFY(QFileInfo(link).isSymLink());
        QVERIFY(QFileInfo(folder).isDir());
        QCOMPARE(QFile::exists(strangers), OrdinaryUser::IsTestRoot());
    }
};

NEROLT_TEST_MAIN(tst_IniLeftovers)

#include "tst_IniLeftovers.moc"
