#include "IniFiles.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QSize>
#include <QtCore/QVariant>
#include <QtTest/QtTest>

#include <limits>
#include <memory>

using IniFiles::Get;

namespace {

const QString kFile = QStringLiteral("store.ini");

struct Store
{
    const char* iName;
    std::unique_ptr<IIniFileBase> (*iMake)();
};

const Store kStores[] = {
    {"IniFile", []() -> std::unique_ptr<IIniFileBase> { return std::make_unique<IniFile>(kFile); }},
    {"SettingsIniFile", []() -> std::unique_ptr<IIniFileBase> { return std::make_unique<SettingsIniFile>(); }},
};

void AddRow(const char* name, const QVariant& value, const QString& text = QString())
{
    for (int store = 0; store < 2; ++store)
        QTest::addRow("%s: %s", kStores[store].iName, name) << store << value << text;
}

void AddColumns()
{
    QTest::addColumn<int>("store");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
}

std::unique_ptr<IIniFileBase> Made(int store)
{
    return kStores[store].iMake();
}

// "+A/k=v" sets, "-A/k" removes, "A/k=v" finds that value, "A/k" finds nothing. Returns what was different.
QString Do(IIniFileBase& store, const QString& step)
{
    const bool isChange = step.startsWith(QLatin1Char('+')) || step.startsWith(QLatin1Char('-'));
    const QString name = step.mid(isChange ? 1 : 0).section(QLatin1Char('='), 0, 0);
    const QString group = name.section(QLatin1Char('/'), 0, 0);
    const QString key = name.section(QLatin1Char('/'), 1);
    const QString value = step.section(QLatin1Char('='), 1);
    if (step.startsWith(QLatin1Char('+')))
        store.SetKeyValue(group, key, value);
    else if (step.startsWith(QLatin1Char('-')))
        store.RemoveKey(group, key);
    else if (Get(store, group, key) != (step.contains(QLatin1Char('=')) ? value : QStringLiteral("<none>")))
        return step + QLatin1String(" but found ") + Get(store, group, key);
    return QString();
}

} // namespace

/// What both stores do alike.
class tst_IIniFileBase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QFile::remove(kFile); }

    void contract_data()
    {
        AddColumns();
        AddRow("nothing is there", QStringLiteral("A/k /k"));
        AddRow("no such section or key", QStringLiteral("+A/k=1 B/k A/j A/A k/A k/k"));
        AddRow("beginning of a name", QStringLiteral("+Section/key=1 Sect/key Section/ke"));
        AddRow("looking does not create or change", QStringLiteral("A/k A/k +A/j=1 A/k A/j=1 A/j=1"));
        AddRow("same key in two sections", QStringLiteral("+A/k=1 +B/k=2 A/k=1 B/k=2"));
        AddRow("later value replaces", QStringLiteral("+A/k=1 +A/k=2 A/k=2 +A/k=2 A/k=2 +A/k= A/k="));
        AddRow("removed among others", QStringLiteral("+A/k=1 +A/j=2 +B/k=2 -A/k A/k A/j=2 B/k=2"));
        AddRow("removed twice", QStringLiteral("+A/k=1 -A/k -A/k A/k"));
        AddRow("removed what is not there", QStringLiteral("-A/k A/k +A/k=1 -B/k -A/j A/k=1 B/k A/j"));
        AddRow("removed and set again", QStringLiteral("+A/k=1 -A/k +A/k=2 A/k=2 -A/k A/k"));
        AddRow("other key set after a section was emptied", QStringLiteral("+A/k=1 -A/k +A/j=2 A/j=2 A/k"));
        AddRow("removed value was empty", QStringLiteral("+A/k= -A/k A/k"));
    }
    void contract()
    {
        QFETCH(int, store);
        QFETCH(QVariant, value);
        const std::unique_ptr<IIniFileBase> ini = Made(store);
        for (const QString& step : value.toString().split(QLatin1Char(' ')))
            QCOMPARE(Do(*ini, step), QString());
    }

    void values_data()
    {
        AddColumns();
        AddRow("true", true, QStringLiteral("true"));
        AddRow("smallest integer", std::numeric_limits<int>::min(), QStringLiteral("-2147483648"));
        AddRow("unsigned integer", 4294967295U, QStringLiteral("4294967295"));
        AddRow("unsigned 64-bit", std::numeric_limits<quint64>::max(), QStringLiteral("18446744073709551615"));
        AddRow("signed 64-bit integer", qint64(-7), QString());
        AddRow("floating point", 3.5, QString());
        AddRow("bytes", QByteArray("bytes"), QString());
        AddRow("list of strings", QStringList{QStringLiteral("a b"), QStringLiteral("c,d")}, QStringLiteral("a b c,d"));
        AddRow("list of one string", QStringList{QStringLiteral("a")}, QStringLiteral("a"));
        AddRow("empty list of strings", QStringList(), QString());
        const QDateTime time(QDate(2024, 3, 5), QTime(14, 7, 9));
        AddRow("date and time", time, time.toString(Qt::TextDate)); // the names of days depend on the locale
        AddRow("time alone", QTime(14, 7, 9), QString());
        AddRow("size", QSize(640, 480), QStringLiteral("@Size(640 480)"));
        AddRow("list of anything", QVariantList{1, QStringLiteral("a")}, QString());
        AddRow("no value", QVariant(), QString());
        const QString foreign = QString::fromUtf8("\xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80");
        for (const QString& text :
             {QStringLiteral("  "), QStringLiteral("a, b"), QStringLiteral("a;b"), QStringLiteral("a=b"),
              QStringLiteral("\"a\\n\""), QStringLiteral("a\r\nb\n"), QStringLiteral("%1 %20"),
              QStringLiteral("@Size(1 2)"), QStringLiteral("[A]"), foreign, QString(100000, QLatin1Char('x'))})
            AddRow(qPrintable(QLatin1String("text ") + text.left(20)), text, text);
    }
    void values()
    {
        QFETCH(int, store);
        QFETCH(QVariant, value);
        QFETCH(QString, text);
        const std::unique_ptr<IIniFileBase> ini = Made(store);
        const QString s = QStringLiteral("S");
        const QString k = QStringLiteral("k");
        ini->SetKeyValue(s, k, value);
        QCOMPARE(Get(*ini, s, k), text);
        ini->SetKeyValue(s, k, QStringLiteral("old"));
        ini->SetKeyValue(s, k, value);
        QCOMPARE(Get(*ini, s, k), text);
    }

    void names_data()
    {
        AddColumns();
        const QString foreign = QString::fromUtf8("\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80");
        for (const QString& name :
             {QStringLiteral("a b  c"), QStringLiteral("a=b"), QStringLiteral("[a]"), QStringLiteral(";a"),
              QStringLiteral("%41"), foreign, QStringLiteral("a\nb"), QStringLiteral("a.b,c"), QStringLiteral("0"),
              QStringLiteral("General"), QString(5000, QLatin1Char('n'))})
            AddRow(qPrintable(name.left(20)), name);
    }
    // A section and a key of that name hold a value beside others.
    void names()
    {
        QFETCH(int, store);
        QFETCH(QVariant, value);
        const QString name = value.toString();
        const QString plain = QStringLiteral("plain");
        const std::unique_ptr<IIniFileBase> ini = Made(store);
        ini->SetKeyValue(name, plain, QStringLiteral("1"));
        ini->SetKeyValue(plain, name, QStringLiteral("2"));
        ini->SetKeyValue(name, name, QStringLiteral("3"));
        QCOMPARE(Get(*ini, name, plain), QStringLiteral("1"));
        QCOMPARE(Get(*ini, plain, name), QStringLiteral("2"));
        QCOMPARE(Get(*ini, name, name), QStringLiteral("3"));
        ini->RemoveKey(name, name);
        QCOMPARE(Get(*ini, name, name), QStringLiteral("<none>"));
        QCOMPARE(Get(*ini, name, plain), QStringLiteral("1"));
        QCOMPARE(Get(*ini, plain, name), QStringLiteral("2"));
    }

    void timesOfDay()
    {
        const QString s = QStringLiteral("S");
        const QString start = QString::fromLatin1(ZEP_GLOBALS::gAutoDownloadsStartTime);
        for (const int store : {0, 1}) {
            const std::unique_ptr<IIniFileBase> ini = Made(store);
            ini->SetKeyValue(s, start, QStringLiteral("07:45"));
            QCOMPARE(IniFile::GetTimeFromPrefs(*ini, s, start), QTime(7, 45));
            ini->RemoveKey(s, start);
            QCOMPARE(IniFile::GetTimeFromPrefs(*ini, s, start), QTime(16, 0));
        }
    }

    void whenTheFileChanges()
    {
        SettingsIniFile inMemory;
        IniFile inFile(kFile);
        inMemory.SetKeyValue(QStringLiteral("S"), QStringLiteral("k"), QStringLiteral("v"));
        QCOMPARE(IniFiles::Read(kFile), IniFiles::kNoFile);
        inFile.SetKeyValue(QStringLiteral("S"), QStringLiteral("k"), QStringLiteral("v"));
        inFile.SetKeyValue(QStringLiteral("S"), QStringLiteral("j"), 2);
        QCOMPARE(IniFiles::Read(kFile), QByteArray("[S]\nj=2\nk=v\n"));
        inFile.RemoveKey(QStringLiteral("S"), QStringLiteral("k"));
        QCOMPARE(IniFiles::Read(kFile), QByteArray("[S]\nj=2\n"));
    }
};

NEROLT_TEST_MAIN(tst_IIniFileBase)

#include "tst_IIniFileBase.moc"
