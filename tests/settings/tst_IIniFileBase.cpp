#include "IniFiles.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtTest/QtTest>

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

void AddRow(const char* name, const QString& text)
{
    for (int store = 0; store < 2; ++store)
        QTest::addRow("%s: %s", kStores[store].iName, name) << store << text;
}

void AddColumns()
{
    QTest::addColumn<int>("store");
    QTest::addColumn<QString>("text");
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
        QFETCH(QString, text);
        const std::unique_ptr<IIniFileBase> ini = kStores[store].iMake();
        for (const QString& step : text.split(QLatin1Char(' ')))
            QCOMPARE(Do(*ini, step), QString());
    }

    // A section, a key and a value of that text beside others.
    void texts_data()
    {
        AddColumns();
        const QString foreign = QString::fromUtf8("\xc3\xa4 \xe2\x82\xac\xf0\x9f\x98\x80");
        for (const QString& text :
             {QStringLiteral("  "), QStringLiteral("a b  c"), QStringLiteral("a=b"), QStringLiteral("[a]"),
              QStringLiteral(";a"), QStringLiteral("%1 %41"), foreign, QStringLiteral("a\r\nb\n"),
              QStringLiteral("a.b, c"), QStringLiteral("0"), QStringLiteral("General"), QStringLiteral("\"a\\n\""),
              QStringLiteral("@Size(1 2)"), QString(5000, QLatin1Char('n'))})
            AddRow(qPrintable(text.left(20)), text);
    }
    void texts()
    {
        QFETCH(int, store);
        QFETCH(QString, text);
        const QString plain = QStringLiteral("plain");
        const std::unique_ptr<IIniFileBase> ini = kStores[store].iMake();
        ini->SetKeyValue(text, plain, QStringLiteral("1"));
        ini->SetKeyValue(plain, text, text);
        ini->SetKeyValue(text, text, QStringLiteral("3"));
        QCOMPARE(Get(*ini, text, text), QStringLiteral("3"));
        ini->RemoveKey(text, text);
        QCOMPARE(Get(*ini, text, text), QStringLiteral("<none>"));
        QCOMPARE(Get(*ini, text, plain), QStringLiteral("1"));
        QCOMPARE(Get(*ini, plain, text), text);
    }
};

NEROLT_TEST_MAIN(tst_IIniFileBase)

#include "tst_IIniFileBase.moc"
