#include "settings/StoreContents.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QDateTime>
#include <QtCore/QSize>
#include <QtTest/QtTest>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>
#include <type_traits>
#include <utility>

using StoreContents::Empty;
using StoreContents::Line;
using StoreContents::Removed;
using StoreContents::Sections;

struct HostValue
{
    int iNumber = 7;
};
Q_DECLARE_METATYPE(HostValue)

namespace {

static_assert(std::is_base_of<IIniFileBase, SettingsIniFile>::value, "a store");
static_assert(std::is_default_constructible<SettingsIniFile>::value, "made empty");
static_assert(std::is_same<decltype(std::declval<SettingsIniFile&>() = std::declval<const SettingsIniFile&>()),
                           SettingsIniFile&>::value,
              "assignment returns the object");

const QString kBefore = QStringLiteral("what the caller put in");

QVariant Text(const char* text)
{
    return QString::fromUtf8(text);
}

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

// The same tables as plain lists with linear search.
class PlainTable
{
public:
    void Set(const QString& group, const QString& key, const QVariant& value)
    {
        Keys& keys = Find(iSections, group, Keys());
        Find(keys, key, QVariant()) = value;
    }

    bool Remove(const QString& group, const QString& key)
    {
        const int section = IndexOf(iSections, group);
        const int place = section < 0 ? -1 : IndexOf(iSections.at(section).second, key);
        if (place >= 0)
            iSections[section].second.removeAt(place);
        return place >= 0;
    }

    QStringList Lines() const
    {
        QStringList lines;
        for (const auto& section : Sorted(iSections)) {
            if (section.second.isEmpty())
                lines += Empty(section.first);
            for (const auto& key : Sorted(section.second))
                lines += Line(section.first, key.first, key.second);
        }
        return lines;
    }

private:
    template <typename Value>
    using Named = QList<QPair<QString, Value>>;
    using Keys = Named<QVariant>;

    template <typename Value>
    static int IndexOf(const Named<Value>& entries, const QString& name)
    {
        for (int i = 0; i < entries.size(); ++i) {
            if (entries.at(i).first.compare(name, Qt::CaseInsensitive) == 0)
                return i;
        }
        return -1;
    }

    template <typename Value>
    static Value& Find(Named<Value>& entries, const QString& name, const Value& initial)
    {
        const int index = IndexOf(entries, name);
        if (index >= 0)
            return entries[index].second;
        entries.append({name, initial});
        return entries.last().second;
    }

    template <typename Value>
    static Named<Value> Sorted(Named<Value> entries)
    {
        std::sort(entries.begin(), entries.end(),
                  [](const auto& a, const auto& b) { return a.first.compare(b.first, Qt::CaseInsensitive) < 0; });
        return entries;
    }

    Named<Keys> iSections;
};

// Hides the overload for texts, which is not virtual.
class Hider : public SettingsIniFile
{
public:
    using SettingsIniFile::SetKeyValue;

    void SetKeyValue(const QString&, const QString&, const QString&) { iCalled = true; }

    bool iCalled = false;
};

} // namespace

class tst_SettingsIniFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void twoMembersInOrder()
    {
        SettingsIniFile ini;
        const char* const start = reinterpret_cast<const char*>(&ini);
        QCOMPARE(sizeof(SettingsIniFile), sizeof(IIniFileBase) + 2 * sizeof(StoreTable));
        QCOMPARE(reinterpret_cast<const char*>(&(ini.*SettingsIniFile_iSections())) - start,
                 std::ptrdiff_t(sizeof(IIniFileBase)));
        QCOMPARE(reinterpret_cast<const char*>(&(ini.*SettingsIniFile_iRemoved())) - start,
                 std::ptrdiff_t(sizeof(IIniFileBase) + sizeof(StoreTable)));
    }

    void newObjectIsEmpty()
    {
        const SettingsIniFile ini;
        QCOMPARE(Sections(ini), QStringList());
        QCOMPARE(Removed(ini), QStringList());
        QCOMPARE(Get(ini, "", ""), Miss());
    }

    void valuesStayAsTheyAreStored_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("no value") << QVariant();
        QTest::newRow("null text") << QVariant(QString());
        QTest::newRow("null of a type") << QVariant(QVariant::Int);
        QTest::newRow("bool") << QVariant(true);
        QTest::newRow("integer") << QVariant(-1);
        QTest::newRow("unsigned integer") << QVariant(1U);
        QTest::newRow("signed 64-bit integer") << QVariant(std::numeric_limits<qint64>::min());
        QTest::newRow("unsigned 64-bit integer") << QVariant(std::numeric_limits<quint64>::max());
        QTest::newRow("floating point") << QVariant(0.1);
        QTest::newRow("number as text") << Text("1");
        QTest::newRow("bytes") << QVariant(QByteArray("\0\xff", 2));
        QTest::newRow("list of strings") << QVariant(QStringList{"a", "b"});
        QTest::newRow("empty list of strings") << QVariant(QStringList());
        QTest::newRow("date and time") << QVariant(QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9), Qt::UTC));
        QTest::newRow("size") << QVariant(QSize(640, 480));
        QTest::newRow("map") << QVariant(QVariantMap{{"x", 1}});
    }
    void valuesStayAsTheyAreStored()
    {
        QFETCH(QVariant, value);
        SettingsIniFile ini;
        ini.SetKeyValue("S", "k", Text("old"));
        ini.SetKeyValue("S", "k", value);
        QCOMPARE(Sections(ini), QStringList{Line("S", "k", value)});
        const QVariant& stored = (ini.*SettingsIniFile_iSections()).first()->first();
        QCOMPARE(stored.userType(), value.userType());
        QCOMPARE(stored.isNull(), value.isNull());
        QCOMPARE(stored, value);
    }

    void valuesOfTheHostsTypes()
    {
        SettingsIniFile ini;
        HostValue value;
        value.iNumber = 42;
        ini.SetKeyValue("S", "k", QVariant::fromValue(value));
        const SettingsIniFile copy(ini);
        QCOMPARE((copy.*SettingsIniFile_iSections()).first()->first().value<HostValue>().iNumber, 42);
        QCOMPARE(Get(copy, "S", "k"), Hit(""));
    }

    void textsAreStoredAsTexts()
    {
        Listener ini;
        ini.SetKeyValue("S", "k", QString("v"));
        ini.SetKeyValue("S", "empty", QString());
        const QStringList expected{Line("S", "k", Text("v")), Line("S", "empty", QString())};
        QCOMPARE(ini.iHeard, expected);
        QCOMPARE(Sections(ini), (QStringList{expected.at(1), expected.at(0)}));
        QCOMPARE((ini.*SettingsIniFile_iSections()).first()->first().type(), QVariant::String);
    }

    void overloadForTextsIsNotVirtual()
    {
        Hider ini;
        static_cast<SettingsIniFile&>(ini).SetKeyValue("S", "k", QString("v"));
        QVERIFY(!ini.iCalled);
        QCOMPARE(Get(ini, "S", "k"), Hit("v"));
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

    void sectionsAndKeysInTheOrderOfNames()
    {
        SettingsIniFile ini;
        for (const char* const section : {"b", "C", "", "_", "A", "B1"}) {
            for (const char* const key : {"z", "Y", "x"})
                ini.SetKeyValue(QString(section), QString(key), 7);
        }
        QStringList expected;
        for (const char* const section : {"", "_", "A", "b", "B1", "C"}) {
            for (const char* const key : {"x", "Y", "z"})
                expected += Line(QString(section), QString(key), 7);
        }
        QCOMPARE(Sections(ini), expected);
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
        QTest::newRow("other is not empty") << QByteArray("") << QByteArray("Key") << false;
        QTest::newRow("prefix") << QByteArray("Key") << QByteArray("Ke") << false;
        QTest::newRow("longer") << QByteArray("Key") << QByteArray("Keys") << false;
        QTest::newRow("blank behind") << QByteArray("Key") << QByteArray("Key ") << false;
        QTest::newRow("slash") << QByteArray("a/B") << QByteArray("A/b") << true;
        QTest::newRow("umlaut") << QByteArray("\xc3\xa4") << QByteArray("\xc3\x84") << true;
        QTest::newRow("final sigma") << QByteArray("\xcf\x82") << QByteArray("\xce\xa3") << true;
        QTest::newRow("titlecase digraph") << QByteArray("\xc7\x85") << QByteArray("\xc7\x86") << true;
        QTest::newRow("sharp s") << QByteArray("\xc3\x9f") << QByteArray("SS") << false;
        QTest::newRow("dotless i") << QByteArray("\xc4\xb1") << QByteArray("I") << false;
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
        ini.SetKeyValue("Paths", "Temp", 2);
        ini.RemoveKey("PATHS", "cACHE");
        QCOMPARE(Sections(ini), QStringList{Line("Paths", "Temp", 2)});
        QCOMPARE(Removed(ini), QStringList{RemovedLine("PATHS", "cACHE")});
        QCOMPARE(Get(ini, "Paths", "Cache"), Miss());
    }

    void sectionStaysWithoutKeys()
    {
        SettingsIniFile ini;
        ini.SetKeyValue("Paths", "Cache", 1);
        ini.RemoveKey("Paths", "Cache");
        QCOMPARE(Sections(ini), QStringList{Empty("Paths")});
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
        QCOMPARE((ini.*SettingsIniFile_iRemoved()).first()->first().type(), QVariant::String);
    }

    void removalIsNotTakenBack()
    {
        SettingsIniFile ini;
        ini.SetKeyValue("S", "k", 1);
        ini.RemoveKey("S", "k");
        ini.SetKeyValue("S", "k", Text("x"));
        QCOMPARE(Get(ini, "S", "k"), Hit("x"));
        QCOMPARE(Removed(ini), QStringList{RemovedLine("S", "k")});
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

    void anyOperationsInAnyOrder()
    {
        const char* const names[]
            = {"a", "A", "b", "B", "_", "Z", "z", "aa", "AB", "ab", "", "\xc3\xa4", "\xc3\x84", "K", "\xe2\x84\xaa"};
        std::mt19937 random(20240305);
        const auto name = [&] { return QString::fromUtf8(names[random() % (sizeof names / sizeof *names)]); };
        for (int round = 0; round < 200; ++round) {
            SettingsIniFile ini;
            PlainTable plain;
            PlainTable removed;
            for (int step = 0; step < 60; ++step) {
                const QString group = name();
                const QString key = name();
                if (random() % 3 != 0) {
                    ini.SetKeyValue(group, key, step);
                    plain.Set(group, key, step);
                } else {
                    ini.RemoveKey(group, key);
                    if (plain.Remove(group, key))
                        removed.Set(group, key, QString());
                }
            }
            QCOMPARE(Sections(ini), plain.Lines());
            QCOMPARE(Removed(ini), removed.Lines());
        }
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
        const StoreTable& source = ini.*SettingsIniFile_iSections();
        const StoreTable tables[] = {copy.*SettingsIniFile_iSections(), assigned.*SettingsIniFile_iSections()};
        for (const QString& section : {QString("Display"), QString("Net")}) {
            QVERIFY(tables[0].value(section) != source.value(section));
            QVERIFY(tables[1].value(section) != source.value(section));
            QVERIFY(tables[0].value(section) != tables[1].value(section));
        }
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

    void copyOutlivesItsSource()
    {
        auto ini = std::make_unique<SettingsIniFile>();
        Fill(*ini);
        const SettingsIniFile copy(*ini);
        ini.reset();
        QCOMPARE(Sections(copy), FilledSections().mid(0, 3));
    }

    void copyOfNothing()
    {
        const SettingsIniFile ini;
        const SettingsIniFile copy(ini);
        QCOMPARE(Sections(copy), QStringList());
        QCOMPARE(Removed(copy), QStringList());
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

    void assignmentOfNothing()
    {
        SettingsIniFile target;
        Fill(target);
        target = SettingsIniFile();
        QVERIFY((target.*SettingsIniFile_iSections()).isEmpty());
        QCOMPARE(Removed(target), FilledRemovals());
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
