#include "settings/StoreContents.h"
#include "support/Framework.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QSize>
#include <QtTest/QtTest>

#include <limits>

using StoreContents::Empty;
using StoreContents::Line;
using StoreContents::Removed;
using StoreContents::Sections;
using StoreContents::Text;

namespace {

const QString kBefore = QStringLiteral("what the caller put in");

// The removal table holds an empty text for each key.
QString RemovedLine(const char* section, const char* key)
{
    return Line(QString::fromUtf8(section), QString::fromUtf8(key), QString());
}

QString Get(const SettingsIniFile& ini, const char* group, const char* key)
{
    QString value = kBefore;
    const bool found = ini.GetKeyValue(QString::fromUtf8(group), QString::fromUtf8(key), value);
    return (found ? QStringLiteral("true: ") : QStringLiteral("false: ")) + value;
}

QString Hit(const char* text)
{
    return QStringLiteral("true: ") + QString::fromUtf8(text);
}

QString Miss()
{
    return QStringLiteral("false: ") + kBefore;
}

// Display and Net with keys, Paths without: its only key was removed, and one of Display's.
void Fill(SettingsIniFile& ini)
{
    ini.SetKeyValue("Display", "Width", 800);
    ini.SetKeyValue("Display", "height", Text("600"));
    ini.SetKeyValue("Display", "Depth", 24);
    ini.SetKeyValue("Paths", "Cache", Text("cachedir"));
    ini.SetKeyValue("Net", "Proxy", QStringList{"a", "b"});
    ini.RemoveKey("display", "DEPTH");
    ini.RemoveKey("Paths", "cache");
}

const QStringList& FilledSections()
{
    static const QStringList lines{Line("Display", "height", Text("600")), Line("Display", "Width", 800),
                                   Line("Net", "Proxy", QStringList{"a", "b"}), Empty("Paths")};
    return lines;
}

const QStringList& FilledRemovals()
{
    static const QStringList lines{RemovedLine("display", "DEPTH"), RemovedLine("Paths", "cache")};
    return lines;
}

// Records each value that is stored through the interface.
class Listener : public SettingsIniFile
{
public:
    using SettingsIniFile::SetKeyValue;

    void SetKeyValue(const QString& group, const QString& key, const QVariant& value) override
    {
        iHeard += Line(group, key, value);
        SettingsIniFile::SetKeyValue(group, key, value);
    }

    QStringList iHeard;
};

} // namespace

class tst_SettingsIniFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void valuesStayAsTheyAreStored_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("no value") << QVariant();
        QTest::newRow("null of a type") << TestSupport::NullOf(QMetaType::Int);
        QTest::newRow("signed 64-bit integer") << QVariant(std::numeric_limits<qint64>::min());
        QTest::newRow("number as text") << Text("1");
        QTest::newRow("bytes") << QVariant(QByteArray("\0\xff", 2));
        QTest::newRow("list of strings") << QVariant(QStringList{"a", "b"});
        QTest::newRow("size") << QVariant(QSize(640, 480));
    }
    void valuesStayAsTheyAreStored()
    {
        QFETCH(QVariant, value);
        SettingsIniFile ini;
        ini.SetKeyValue("S", "k", Text("old"));
        ini.SetKeyValue("S", "k", value);
        const QVariant& stored = (ini.*SettingsIniFile_iSections()).first()->first();
        QCOMPARE(stored.userType(), value.userType());
        QCOMPARE(stored.isNull(), value.isNull());
        QCOMPARE(stored, value);
    }

    void textsAreStoredAsTexts()
    {
        Listener ini;
        ini.SetKeyValue("S", "k", QString("v"));
        ini.SetKeyValue("S", "empty", QString());
        const QStringList expected{Line("S", "k", Text("v")), Line("S", "empty", QString())};
        QCOMPARE(ini.iHeard, expected);
        QCOMPARE(Sections(ini), (QStringList{expected.at(1), expected.at(0)}));
        QCOMPARE((ini.*SettingsIniFile_iSections()).first()->first().userType(), int(QMetaType::QString));
    }

    void firstSpellingStays()
    {
        SettingsIniFile ini;
        ini.SetKeyValue("Net", "Proxy", 1);
        ini.SetKeyValue("NET", "PROXY", Text("two"));
        ini.SetKeyValue("net", "Port", 3);
        QCOMPARE(Sections(ini), (QStringList{Line("Net", "Port", 3), Line("Net", "Proxy", Text("two"))}));
        ini.SetKeyValue("nET", "pROXY", QStringList{"four"});
        QCOMPARE(Sections(ini), (QStringList{Line("Net", "Port", 3), Line("Net", "Proxy", QStringList{"four"})}));
    }

    void spellingGoesWithTheKey()
    {
        SettingsIniFile ini;
        ini.SetKeyValue("Net", "Proxy", 1);
        ini.RemoveKey("Net", "Proxy");
        ini.SetKeyValue("NET", "PROXY", 2); // the section was never removed
        QCOMPARE(Sections(ini), QStringList{Line("Net", "PROXY", 2)});
        ini.Clear();
        ini.SetKeyValue("NET", "proxy", 3);
        QCOMPARE(Sections(ini), QStringList{Line("NET", "proxy", 3)});
    }

    void foundInAnySpelling_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QByteArray>("asked");
        QTest::addColumn<bool>("found");
        QTest::newRow("same") << QByteArray("Key") << QByteArray("Key") << true;
        QTest::newRow("other case") << QByteArray("Key") << QByteArray("kEY") << true;
        QTest::newRow("empty") << QByteArray("") << QByteArray("") << true;
        QTest::newRow("empty is no other") << QByteArray("Key") << QByteArray("") << false;
        QTest::newRow("prefix") << QByteArray("Key") << QByteArray("Ke") << false;
        QTest::newRow("final sigma") << QByteArray("\xcf\x82") << QByteArray("\xce\xa3") << true;
    }
    void foundInAnySpelling()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QByteArray, asked);
        QFETCH(bool, found);
        SettingsIniFile ini;
        ini.SetKeyValue("S", QString(stored), 1);
        ini.SetKeyValue(QString(stored), "k", 2);
        QCOMPARE(Get(ini, "s", asked), found ? Hit("1") : Miss());
        QCOMPARE(Get(ini, asked, "K"), found ? Hit("2") : Miss());
        ini.SetKeyValue("S", QString(asked), 3);
        QCOMPARE(Get(ini, "S", stored), found ? Hit("3") : Hit("1"));
        ini.RemoveKey("S", QString(asked));
        QCOMPARE(Get(ini, "S", stored), found ? Miss() : Hit("1"));
    }

    void removedKeyIsRecorded()
    {
        SettingsIniFile ini;
        ini.SetKeyValue("Paths", "Cache", 1);
        ini.RemoveKey("PATHS", "cACHE");
        QCOMPARE(Sections(ini), QStringList{Empty("Paths")});
        QCOMPARE(Removed(ini), QStringList{RemovedLine("PATHS", "cACHE")});
        QCOMPARE(Get(ini, "Paths", "Cache"), Miss());
    }

    void whatIsNotThereIsNotRecorded()
    {
        SettingsIniFile ini;
        ini.RemoveKey("S", "k");
        QCOMPARE(Sections(ini), QStringList());
        ini.SetKeyValue("S", "k", 1);
        ini.RemoveKey("S", "other");
        ini.RemoveKey("other", "k");
        ini.RemoveKey("S", "");
        ini.RemoveKey("", "k");
        QCOMPARE(Sections(ini), QStringList{Line("S", "k", 1)});
        QVERIFY((ini.*SettingsIniFile_iRemoved()).isEmpty());
    }

    void firstSpellingOfARemovalStays()
    {
        SettingsIniFile ini;
        for (const char* const spelling : {"Key", "KEY", "key"}) {
            ini.SetKeyValue("S", "key", 1);
            ini.RemoveKey("S", QString(spelling));
        }
        ini.SetKeyValue("S", "other", 1);
        ini.RemoveKey("s", "Other");
        QCOMPARE(Removed(ini), (QStringList{RemovedLine("S", "Key"), RemovedLine("S", "Other")}));
        QCOMPARE((ini.*SettingsIniFile_iRemoved()).first()->first().userType(), int(QMetaType::QString));
    }

    void emptyNamesAreNames()
    {
        SettingsIniFile ini;
        ini.SetKeyValue("S", "", 1);
        ini.SetKeyValue("S", "k", 2);
        ini.SetKeyValue("", "k", 3);
        ini.RemoveKey("S", "");
        QCOMPARE(Sections(ini), (QStringList{Line("", "k", 3), Line("S", "k", 2)}));
        QCOMPARE(Removed(ini), QStringList{RemovedLine("S", "")});
    }

    void clearKeepsTheRemovals()
    {
        SettingsIniFile ini;
        Fill(ini);
        ini.Clear();
        QVERIFY((ini.*SettingsIniFile_iSections()).isEmpty());
        QCOMPARE(Removed(ini), FilledRemovals());
        ini.Clear();
        QCOMPARE(Get(ini, "Display", "Width"), Miss());
        ini.SetKeyValue("DISPLAY", "WIDTH", 1);
        QCOMPARE(Sections(ini), QStringList{Line("DISPLAY", "WIDTH", 1)});
    }

    void copyHasTheValuesOnly()
    {
        SettingsIniFile ini;
        Fill(ini);
        const SettingsIniFile copy(ini);
        QCOMPARE(Sections(ini), FilledSections());
        QCOMPARE(Removed(ini), FilledRemovals());
        QCOMPARE(Sections(copy), FilledSections().mid(0, 3)); // without the section that has no keys
        QVERIFY((copy.*SettingsIniFile_iRemoved()).isEmpty());
    }

    void copySharesNothing()
    {
        SettingsIniFile ini;
        Fill(ini);
        SettingsIniFile copy(ini);
        SettingsIniFile assigned;
        assigned = ini;
        copy.SetKeyValue("Display", "Width", 1);
        copy.RemoveKey("Net", "Proxy");
        assigned.Clear();
        QCOMPARE(Sections(ini), FilledSections());
        ini.SetKeyValue("Display", "height", 2);
        ini.SetKeyValue("Paths", "Cache", 3);
        QCOMPARE(Sections(copy),
                 (QStringList{Line("Display", "height", Text("600")), Line("Display", "Width", 1), Empty("Net")}));
        QCOMPARE(Sections(assigned), QStringList());
    }

    void assignmentReplacesTheValuesAndKeepsTheRemovals()
    {
        SettingsIniFile source;
        Fill(source);
        SettingsIniFile target;
        target.SetKeyValue("Own", "removed", 1);
        target.SetKeyValue("Own", "kept", 2);
        target.SetKeyValue("DISPLAY", "WIDTH", 3); // another spelling, which is lost
        target.RemoveKey("Own", "removed");
        QCOMPARE(&(target = source), &target);
        QCOMPARE(Sections(target), FilledSections().mid(0, 3));
        QCOMPARE(Removed(target), QStringList{RemovedLine("Own", "removed")});
        QCOMPARE(Sections(source), FilledSections());
        QCOMPARE(Removed(source), FilledRemovals());
    }

    void assignmentToItselfEmpties()
    {
        SettingsIniFile ini;
        Fill(ini);
        const SettingsIniFile& same = ini;
        QCOMPARE(&(ini = same), &ini);
        QVERIFY((ini.*SettingsIniFile_iSections()).isEmpty());
        QCOMPARE(Removed(ini), FilledRemovals());
        ini.SetKeyValue("S", "k", 1);
        QCOMPARE(Get(ini, "S", "k"), Hit("1"));
    }

    void assignmentStoresThroughTheInterface()
    {
        SettingsIniFile source;
        Fill(source);
        Listener target;
        static_cast<SettingsIniFile&>(target) = source;
        QCOMPARE(target.iHeard, FilledSections().mid(0, 3));
        QCOMPARE(Sections(target), target.iHeard);
    }
};

NEROLT_TEST_MAIN(tst_SettingsIniFile)

#include "tst_SettingsIniFile.moc"
