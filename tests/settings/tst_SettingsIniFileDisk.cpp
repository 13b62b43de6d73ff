#include "IniFiles.h"
#include "StoreContents.h"
#include "support/OrdinaryUser.h"

#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtTest/QtTest>

using IniFiles::NewPath;
using StoreContents::Line;
using StoreContents::Sections;

namespace {

const QByteArray kDisplay("[Display]\nWidth=800\nheight=600\n");

} // namespace

/// Where a SettingsIniFile is written, what it is denied, and odd contents.
class tst_SettingsIniFileDisk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void foldersAreMade()
    {
        SettingsIniFile ini;
        ini.SetKeyValue("S", "k", 1);
        QVERIFY(ini.WriteFile(QStringLiteral("new/deep/file.ini")));
        QCOMPARE(IniFiles::Read(QStringLiteral("new/deep/file.ini")), QByteArray("[S]\nk=1\n"));
        QCOMPARE(IniFiles::Entries(QStringLiteral("new/deep")), QStringList{"file.ini"});
    }

    void whereNoFileCanBe_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("folder in the place") << QStringLiteral("folder.ini");
        QTest::newRow("below a file") << QStringLiteral("file.ini/below.ini");
        QTest::newRow("far below a file") << QStringLiteral("file.ini/new/below.ini");
    }
    void whereNoFileCanBe()
    {
        QFETCH(QString, path);
        QDir().mkpath(QStringLiteral("folder.ini"));
        IniFiles::Write(QStringLiteral("file.ini"), kDisplay);
        const QStringList before = IniFiles::Entries(QStringLiteral("."));
        SettingsIniFile ini;
        ini.SetKeyValue("S", "k", 1);
        QCOMPARE(ini.WriteFile(path), false);
        QCOMPARE(IniFiles::Entries(QStringLiteral(".")), before);
        QCOMPARE(IniFiles::Read(QStringLiteral("file.ini")), kDisplay);
        QCOMPARE(Sections(ini), QStringList{Line("S", "k", 1)});
    }

    void withoutPermission_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<int>("fileMode");
        QTest::addColumn<int>("folderMode");
        QTest::addColumn<QByteArray>("after");
        const QByteArray text = "; c\n[S]\nk=1\n";
        const QByteArray written = "[S]\nk=2\n";
        QTest::newRow("file") << text << 0x4444 << 0x7777 << text;
        QTest::newRow("file that may not be read either") << text << 0x2222 << 0x7777 << text;
        QTest::newRow("folder of a new file") << IniFiles::kNoFile << 0 << 0x5555 << IniFiles::kNoFile;
        QTest::newRow("nothing is denied") << text << 0x6666 << 0x7777 << written;
        QTest::newRow("nothing is denied, new file") << IniFiles::kNoFile << 0 << 0x7777 << written;
    }
    void withoutPermission()
    {
        QFETCH(QByteArray, before);
        QFETCH(int, fileMode);
        QFETCH(int, folderMode);
        QFETCH(QByteArray, after);
        const QString folder = IniFiles::NewFolder();
        const QString path = folder + QStringLiteral("/file.ini");
        OrdinaryUser::Own(folder);
        if (before != IniFiles::kNoFile) {
            IniFiles::Write(path, before);
            OrdinaryUser::Own(path);
            QVERIFY(QFile::setPermissions(path, QFile::Permissions(fileMode)));
        }
        QVERIFY(QFile::setPermissions(folder, QFile::Permissions(folderMode)));
        bool written = false;
        {
            SettingsIniFile ini;
            ini.SetKeyValue("S", "k", 2);
            const OrdinaryUser user;
            written = ini.WriteFile(path);
        }
        QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x7777)));
        QFile::setPermissions(path, QFile::Permissions(0x6666));
        QCOMPARE(IniFiles::Read(path), after);
        QCOMPARE(IniFiles::Entries(folder).size(), int(after != IniFiles::kNoFile));
        QCOMPARE(written, before != after);
    }

    // Two characters in the name of a section, in that of a key, in a text and in a list.
    void anyTextComesBack()
    {
        const ushort units[]
            = {'a', 'B', ' ', '\t', '\n', '\r', '"',  '\'', '\\', ';',  '#',   ',',   '=',   '[',    ']',    '%',
               '@', '(', ')', '0',  'x',  0,    0x7f, 0x80, 0xe4, 0xff, 0x100, 0x131, 0x3c2, 0x20ac, 0xd83d, 0xde00};
        SettingsIniFile ini;
        for (const ushort first : units) {
            for (const ushort second : units) {
                const QString text = QString(QChar(first)) + QChar(second);
                ini.SetKeyValue(text, text, QVariant(text));
                ini.SetKeyValue(text, "foreign", QVariant(text + QChar(0xe4)));
                // Only while it is in memory is a list with a null character one of texts.
                ini.SetKeyValue(text, "list", QStringList{text, text}.replaceInStrings(QChar(0), QChar(1)));
            }
        }
        const QString path = NewPath();
        QVERIFY(ini.WriteFile(path));
        SettingsIniFile again;
        QVERIFY(again.ReadFile(path));
        QCOMPARE(Sections(again), Sections(ini));
    }
};

NEROLT_TEST_MAIN(tst_SettingsIniFileDisk)

#include "tst_SettingsIniFileDisk.moc"
