#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IIniFileBase.h>
#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QSize>
#include <QtCore/QVariant>
#include <QtCore/QVector>
#include <QtTest/QtTest>

#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>

namespace {

const QString kFile = QStringLiteral("store.ini");
const QString kBefore = QStringLiteral("what the caller put in");

static_assert(std::is_abstract<IIniFileBase>::value && std::has_virtual_destructor<IIniFileBase>::value, "interface");
static_assert(sizeof(IIniFileBase) == sizeof(void*), "no data");
static_assert(std::is_convertible<IniFile*, IIniFileBase*>::value, "a store");
static_assert(std::is_convertible<SettingsIniFile*, IIniFileBase*>::value, "a store");
static_assert(!std::is_abstract<IniFile>::value && !std::is_abstract<SettingsIniFile>::value, "complete");

struct WithoutGet : IIniFileBase
{
    void SetKeyValue(const QString&, const QString&, const QVariant&) override { }
    void RemoveKey(const QString&, const QString&) override { }
};
struct WithoutSet : IIniFileBase
{
    bool GetKeyValue(const QString&, const QString&, QString&) const override { return false; }
    void RemoveKey(const QString&, const QString&) override { }
};
struct WithoutRemove : IIniFileBase
{
    bool GetKeyValue(const QString&, const QString&, QString&) const override { return false; }
    void SetKeyValue(const QString&, const QString&, const QVariant&) override { }
};
static_assert(std::is_abstract<WithoutGet>::value, "a store has to answer");
static_assert(std::is_abstract<WithoutSet>::value, "a store has to store");
static_assert(std::is_abstract<WithoutRemove>::value, "a store has to remove");

// The index of a virtual function in its class's table. The two destructors are the first two entries. A pointer to
// such a function holds the offset into the table, with or without a mark in its lowest bit.
template <typename Function>
int SlotOf(Function function)
{
    quintptr offset = 0;
    std::memcpy(&offset, &function, sizeof offset);
    return int((offset & ~quintptr(1)) / sizeof(void*));
}

template <class Store>
QList<int> SlotsOf()
{
    using Get = bool (Store::*)(const QString&, const QString&, QString&) const;
    using Set = void (Store::*)(const QString&, const QString&, const QVariant&);
    using Remove = void (Store::*)(const QString&, const QString&);
    return {SlotOf(Get(&Store::GetKeyValue)), SlotOf(Set(&Store::SetKeyValue)), SlotOf(Remove(&Store::RemoveKey))};
}

// One call of the interface and its expected result.
struct Step
{
    enum What { Set, Remove, Get, TimeOfDay };

    What iWhat;
    QString iGroup;
    QString iKey;
    QVariant iValue;
    QString iOutcome;
};
using Steps = QVector<Step>;

Step Set(const QString& group, const QString& key, const QVariant& value)
{
    return {Step::Set, group, key, value, QString()};
}

Step Remove(const QString& group, const QString& key)
{
    return {Step::Remove, group, key, QVariant(), QString()};
}

Step Hit(const QString& group, const QString& key, const QString& text)
{
    return {Step::Get, group, key, QVariant(), QStringLiteral("true: ") + text};
}

Step Miss(const QString& group, const QString& key)
{
    return {Step::Get, group, key, QVariant(), QStringLiteral("false: ") + kBefore};
}

Step TimeOfDay(const QString& group, const QString& key, const char* text)
{
    return {Step::TimeOfDay, group, key, QVariant(), QString::fromLatin1(text)};
}

QString Do(IIniFileBase& store, const Step& step)
{
    switch (step.iWhat) {
    case Step::Set:
        store.SetKeyValue(step.iGroup, step.iKey, step.iValue);
        return QString();
    case Step::Remove:
        store.RemoveKey(step.iGroup, step.iKey);
        return QString();
    case Step::Get: {
        QString value = kBefore;
        const bool found = store.GetKeyValue(step.iGroup, step.iKey, value);
        return (found ? QStringLiteral("true: ") : QStringLiteral("false: ")) + value;
    }
    case Step::TimeOfDay:
        return IniFile::GetTimeFromPrefs(store, step.iGroup, step.iKey).toString(QStringLiteral("hh:mm:ss.zzz"));
    }
    return QStringLiteral("no such step");
}

struct Store
{
    const char* iName;
    std::unique_ptr<IIniFileBase> (*iMake)();
    bool iWritesThrough;
};

std::unique_ptr<IIniFileBase> MakeIniFile()
{
    return std::make_unique<IniFile>(kFile);
}

std::unique_ptr<IIniFileBase> MakeSettingsIniFile()
{
    return std::make_unique<SettingsIniFile>();
}

const Store kStores[] = {
    {"IniFile", MakeIniFile, true},
    {"SettingsIniFile", MakeSettingsIniFile, false},
};

void AddScenario(const char* name, const Steps& steps)
{
    for (const Store& store : kStores)
        QTest::addRow("%s: %s", store.iName, name) << &store << steps;
}

// A value is set over another, read, and removed again.
void AddValue(const char* name, const QVariant& value, const QString& text)
{
    const QString s = QStringLiteral("S");
    const QString k = QStringLiteral("k");
    AddScenario(name,
                {Set(s, k, value), Hit(s, k, text), Set(s, k, QStringLiteral("old")), Set(s, k, value), Hit(s, k, text),
                 Remove(s, k), Miss(s, k)});
}

// A section and a key of that name hold a value beside others.
void AddName(const char* name, const QString& text)
{
    const QString plain = QStringLiteral("plain");
    AddScenario(name,
                {Set(text, plain, QStringLiteral("1")), Set(plain, text, QStringLiteral("2")),
                 Set(text, text, QStringLiteral("3")), Set(plain, plain, QStringLiteral("4")),
                 Hit(text, plain, QStringLiteral("1")), Hit(plain, text, QStringLiteral("2")),
                 Hit(text, text, QStringLiteral("3")), Remove(text, text), Miss(text, text),
                 Hit(text, plain, QStringLiteral("1")), Hit(plain, text, QStringLiteral("2")),
                 Hit(plain, plain, QStringLiteral("4"))});
}

void AddLookUps()
{
    const QString a = QStringLiteral("A");
    const QString b = QStringLiteral("B");
    const QString k = QStringLiteral("k");
    const QString j = QStringLiteral("j");
    const QString one = QStringLiteral("one");
    const QString two = QStringLiteral("two");
    AddScenario("nothing is there", {Miss(a, k), Miss(QString(), QStringLiteral("k"))});
    AddScenario("no such section", {Set(a, k, one), Miss(b, k)});
    AddScenario("no such key", {Set(a, k, one), Miss(a, j)});
    AddScenario("key of another section", {Set(a, k, one), Set(b, j, two), Miss(a, j), Miss(b, k)});
    AddScenario("section's name as key", {Set(a, k, one), Miss(a, a), Miss(k, a), Miss(k, k)});
    AddScenario("beginning of a name",
                {Set(QStringLiteral("Section"), QStringLiteral("key"), one),
                 Miss(QStringLiteral("Sect"), QStringLiteral("key")),
                 Miss(QStringLiteral("Section"), QStringLiteral("ke"))});
    AddScenario("looking does not create", {Miss(a, k), Miss(a, k), Set(a, j, one), Miss(a, k)});
    AddScenario("same key in two sections", {Set(a, k, one), Set(b, k, two), Hit(a, k, one), Hit(b, k, two)});
    AddScenario("looking does not change", {Set(a, k, one), Hit(a, k, one), Hit(a, k, one)});
    AddScenario("later value replaces", {Set(a, k, one), Set(a, k, two), Hit(a, k, two)});
    AddScenario("later value of another type",
                {Set(a, k, QSize(1, 2)), Set(a, k, true), Hit(a, k, "true"), Set(a, k, QStringList{one, two}),
                 Hit(a, k, "one two")});
    AddScenario("value that has no text replaces one", {Set(a, k, one), Set(a, k, 3.5), Hit(a, k, QString())});
    AddScenario("same value again", {Set(a, k, one), Set(a, k, one), Hit(a, k, one)});
}

void AddRemovals()
{
    const QString a = QStringLiteral("A");
    const QString b = QStringLiteral("B");
    const QString k = QStringLiteral("k");
    const QString j = QStringLiteral("j");
    const QString one = QStringLiteral("one");
    const QString two = QStringLiteral("two");
    AddScenario("removed", {Set(a, k, one), Remove(a, k), Miss(a, k)});
    AddScenario(
        "removed among others",
        {Set(a, k, one), Set(a, j, two), Set(b, k, two), Remove(a, k), Miss(a, k), Hit(a, j, two), Hit(b, k, two)});
    AddScenario("removed twice", {Set(a, k, one), Remove(a, k), Remove(a, k), Miss(a, k)});
    AddScenario("removed from nothing", {Remove(a, k), Miss(a, k)});
    AddScenario("removed from no such section", {Set(a, k, one), Remove(b, k), Hit(a, k, one), Miss(b, k)});
    AddScenario("removed though not there", {Set(a, k, one), Remove(a, j), Hit(a, k, one), Miss(a, j)});
    AddScenario("removed and set again", {Set(a, k, one), Remove(a, k), Set(a, k, two), Hit(a, k, two)});
    AddScenario("removed, set, removed", {Set(a, k, one), Remove(a, k), Set(a, k, two), Remove(a, k), Miss(a, k)});
    AddScenario("other key set after a section was emptied",
                {Set(a, k, one), Remove(a, k), Set(a, j, two), Hit(a, j, two), Miss(a, k)});
    AddScenario("removed value was empty", {Set(a, k, QString()), Remove(a, k), Miss(a, k)});
}

void AddValues()
{
    AddValue("true", true, QStringLiteral("true"));
    AddValue("false", false, QStringLiteral("false"));
    AddValue("integer", 1, QStringLiteral("1"));
    AddValue("smallest integer", std::numeric_limits<int>::min(), QStringLiteral("-2147483648"));
    AddValue("unsigned integer", 4294967295U, QStringLiteral("4294967295"));
    AddValue("unsigned 64-bit integer", std::numeric_limits<quint64>::max(), QStringLiteral("18446744073709551615"));
    AddValue("signed 64-bit integer", qint64(-7), QString());
    AddValue("floating point", 3.5, QString());
    AddValue("bytes", QByteArray("bytes"), QString());
    AddValue("list of strings", QStringList{QStringLiteral("a b"), QStringLiteral("c,d")}, QStringLiteral("a b c,d"));
    AddValue("list of one string", QStringList{QStringLiteral("a")}, QStringLiteral("a"));
    AddValue("empty list of strings", QStringList(), QString());
    const QDateTime time(QDate(2024, 3, 5), QTime(14, 7, 9));
    AddValue("date and time", time, time.toString(Qt::TextDate)); // the names of days depend on the locale
    AddValue("time alone", QTime(14, 7, 9), QString());
    AddValue("size", QSize(640, 480), QStringLiteral("@Size(640 480)"));
    AddValue("list of anything", QVariantList{1, QStringLiteral("a")}, QString());
    AddValue("no value", QVariant(), QString());
    AddValue("null text", QString(), QString());
    AddValue("empty text", QStringLiteral(""), QString());
    AddValue("text of blanks", QStringLiteral("  "), QStringLiteral("  "));
    AddValue("text with a comma", QStringLiteral("a, b"), QStringLiteral("a, b"));
    AddValue("text with a semicolon", QStringLiteral("a;b"), QStringLiteral("a;b"));
    AddValue("text with an equals sign", QStringLiteral("a=b"), QStringLiteral("a=b"));
    AddValue("text with quotes and backslashes", QStringLiteral("\"a\\n\""), QStringLiteral("\"a\\n\""));
    AddValue("text with line breaks", QStringLiteral("a\r\nb\n"), QStringLiteral("a\r\nb\n"));
    AddValue("text with a percent sign", QStringLiteral("%1 %20"), QStringLiteral("%1 %20"));
    AddValue("text like a typed value", QStringLiteral("@Size(1 2)"), QStringLiteral("@Size(1 2)"));
    AddValue("text like a section", QStringLiteral("[A]"), QStringLiteral("[A]"));
    const QString foreign = QString::fromUtf8("\xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80");
    AddValue("text beyond Latin-1", foreign, foreign);
    AddValue("long text", QString(100000, QLatin1Char('x')), QString(100000, QLatin1Char('x')));
}

void AddNames()
{
    AddName("name with blanks", QStringLiteral("a b  c"));
    AddName("name with an equals sign", QStringLiteral("a=b"));
    AddName("name with brackets", QStringLiteral("[a]"));
    AddName("name with a semicolon", QStringLiteral(";a"));
    AddName("name with a percent sign", QStringLiteral("%41"));
    AddName("name beyond Latin-1", QString::fromUtf8("\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80"));
    AddName("name with a line break", QStringLiteral("a\nb"));
    AddName("name with dots and commas", QStringLiteral("a.b,c"));
    AddName("name of one digit", QStringLiteral("0"));
    AddName("General", QStringLiteral("General"));
    AddName("long name", QString(5000, QLatin1Char('n')));
}

void AddTimes()
{
    const QString s = QStringLiteral("S");
    const QString start = QString::fromLatin1(ZEP_GLOBALS::gAutoDownloadsStartTime);
    const QString end = QString::fromLatin1(ZEP_GLOBALS::gAutoDownloadsEndTime);
    AddScenario("time of day", {Set(s, start, QStringLiteral("07:45")), TimeOfDay(s, start, "07:45:00.000")});
    AddScenario("time of day missing", {TimeOfDay(s, start, "16:00:00.000"), TimeOfDay(s, end, "20:00:00.000")});
    AddScenario("time of day removed",
                {Set(s, start, QStringLiteral("07:45")), Remove(s, start), TimeOfDay(s, start, "16:00:00.000")});
    AddScenario("time of day out of range", {Set(s, end, QStringLiteral("24:00")), TimeOfDay(s, end, "")});
    AddScenario("time of day as a number of hours", {Set(s, end, 7), TimeOfDay(s, end, "20:00:00.000")});
}

template <class Base>
class Witness : public Base
{
public:
    template <class... Arguments>
    explicit Witness(bool& destroyed, const Arguments&... arguments)
        : Base(arguments...)
        , iDestroyed(destroyed)
    {
    }
    ~Witness() override { iDestroyed = true; }

private:
    bool& iDestroyed;
};

} // namespace

Q_DECLARE_METATYPE(const Store*)
Q_DECLARE_METATYPE(Steps)

class tst_IIniFileBase : public QObject
{
    Q_OBJECT

private:
    static void addStores()
    {
        QTest::addColumn<const Store*>("store");
        for (const Store& store : kStores)
            QTest::newRow(store.iName) << &store;
    }

private Q_SLOTS:
    void init() { QFile::remove(kFile); }

    void slotsInTheirOrder()
    {
        const QList<int> expected{2, 3, 4};
        QCOMPARE(SlotsOf<IIniFileBase>(), expected);
        QCOMPARE(SlotsOf<IniFile>(), expected);
        QCOMPARE(SlotsOf<SettingsIniFile>(), expected);
    }

    void contract_data()
    {
        QTest::addColumn<const Store*>("store");
        QTest::addColumn<Steps>("steps");
        AddLookUps();
        AddRemovals();
        AddValues();
        AddNames();
        AddTimes();
    }
    void contract()
    {
        QFETCH(const Store*, store);
        QFETCH(Steps, steps);
        const std::unique_ptr<IIniFileBase> ini = store->iMake();
        for (int i = 0; i < steps.size(); ++i) {
            const QString outcome = Do(*ini, steps.at(i));
            QVERIFY2(outcome == steps.at(i).iOutcome,
                     qPrintable(QStringLiteral("step %1 gave \"%2\", not \"%3\"")
                                    .arg(QString::number(i), outcome, steps.at(i).iOutcome)));
        }
    }

    void missLeavesTheCallersValue_data()
    {
        QTest::addColumn<const Store*>("store");
        QTest::addColumn<QString>("value");
        for (const Store& store : kStores) {
            QTest::addRow("%s: null", store.iName) << &store << QString();
            QTest::addRow("%s: empty", store.iName) << &store << QStringLiteral("");
            QTest::addRow("%s: some text", store.iName) << &store << QStringLiteral("default").repeated(2);
        }
    }
    void missLeavesTheCallersValue()
    {
        QFETCH(const Store*, store);
        QFETCH(QString, value);
        const std::unique_ptr<IIniFileBase> ini = store->iMake();
        ini->SetKeyValue(QStringLiteral("S"), QStringLiteral("k"), QStringLiteral("v"));
        QString passed = value;
        const QChar* const text = passed.constData();
        QVERIFY(!ini->GetKeyValue(QStringLiteral("none"), QStringLiteral("k"), passed));
        QVERIFY(!ini->GetKeyValue(QStringLiteral("S"), QStringLiteral("none"), passed));
        QCOMPARE(passed, value);
        QCOMPARE(passed.isNull(), value.isNull());
        QCOMPARE(passed.constData(), text);
    }

    void hitReplacesTheCallersValueOnly_data() { addStores(); }
    void hitReplacesTheCallersValueOnly()
    {
        QFETCH(const Store*, store);
        const std::unique_ptr<IIniFileBase> ini = store->iMake();
        ini->SetKeyValue(QStringLiteral("S"), QStringLiteral("k"), QStringLiteral("v"));
        ini->SetKeyValue(QStringLiteral("S"), QStringLiteral("empty"), QString());
        QString value = kBefore;
        QVERIFY(ini->GetKeyValue(QStringLiteral("S"), QStringLiteral("k"), value));
        QCOMPARE(value, QStringLiteral("v"));
        value += QStringLiteral(" changed by the caller");
        QString again;
        QVERIFY(ini->GetKeyValue(QStringLiteral("S"), QStringLiteral("k"), again));
        QCOMPARE(again, QStringLiteral("v"));
        QVERIFY(ini->GetKeyValue(QStringLiteral("S"), QStringLiteral("empty"), again));
        QCOMPARE(again, QString());
        QCOMPARE(kBefore, QStringLiteral("what the caller put in"));
    }

    void whenTheFileChanges_data() { addStores(); }
    void whenTheFileChanges()
    {
        QFETCH(const Store*, store);
        const std::unique_ptr<IIniFileBase> ini = store->iMake();
        QVERIFY(!QFile::exists(kFile));
        ini->SetKeyValue(QStringLiteral("S"), QStringLiteral("k"), QStringLiteral("v"));
        ini->SetKeyValue(QStringLiteral("S"), QStringLiteral("j"), 2);
        QCOMPARE(QFile::exists(kFile), store->iWritesThrough);
        if (store->iWritesThrough)
            QCOMPARE(LogText::Read(kFile), QByteArray("[S]\nj=2\nk=v\n"));
        ini->RemoveKey(QStringLiteral("S"), QStringLiteral("k"));
        if (store->iWritesThrough)
            QCOMPARE(LogText::Read(kFile), QByteArray("[S]\nj=2\n"));
    }

    void objectsAreIndependentInMemory()
    {
        const std::unique_ptr<IIniFileBase> one = MakeSettingsIniFile();
        const std::unique_ptr<IIniFileBase> other = MakeSettingsIniFile();
        one->SetKeyValue(QStringLiteral("S"), QStringLiteral("k"), 1);
        QCOMPARE(Do(*other, Miss(QStringLiteral("S"), QStringLiteral("k"))),
                 Miss(QStringLiteral("S"), QStringLiteral("k")).iOutcome);
    }

    void deletedThroughTheInterface()
    {
        bool iniFile = false;
        bool settings = false;
        std::unique_ptr<IIniFileBase> ini = std::make_unique<Witness<IniFile>>(iniFile, kFile);
        QVERIFY(!iniFile);
        ini = std::make_unique<Witness<SettingsIniFile>>(settings);
        QVERIFY(iniFile && !settings);
        ini.reset();
        QVERIFY(settings);
    }
};

NEROLT_TEST_MAIN(tst_IIniFileBase)

#include "tst_IIniFileBase.moc"
