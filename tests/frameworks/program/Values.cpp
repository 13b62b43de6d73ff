// Writes and prints settings of every kind.
//
//   values write <file> : with IniFile and with SettingsIniFile, in <file> and <file>.2
//   values change <file> : adds a key, and replaces one
//   values print <file> : all values as text
//   values texts : what depends on the framework elsewhere

#include "util/Framework.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/IniString.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QBitArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QRect>
#include <QtCore/QSettings>
#include <QtCore/QSize>
#include <QtCore/QTimeZone>
#include <QtCore/QUrl>
#include <QtCore/QUuid>
#include <QtCore/QVariant>
#include <QtGui/QColor>
#include <QtGui/QColorSpace>
#include <QtGui/QPolygonF>
#include <QtGui/QTransform>

#include <cstdio>

namespace {

const QString kSection = QStringLiteral("All");

QString Text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

QMap<QString, QVariant> Texts()
{
    const QString half = QChar(0xd83d) + QStringLiteral("1");
    const QString null = QStringLiteral("a") + QChar(0) + QStringLiteral("b");
    return {{"empty", QString("")},
            {"no text", QString()},
            {"nothing", QVariant()},
            {"plain", "plain"},
            {"umlaut", Text("\xc3\xa4")},
            {"umlaut, digits", Text("\u00e4bc d1")},
            {"euro and more", Text("\u20ac \U0001f6001 x")},
            {"half a pair", half},
            {"delete", QString(QChar(0x7f)) + 'a'},
            {"controls", QString("a\n\t\r\a\b\f\v\0012")},
            {"signs", "a;b,c=d \"q\" \\x41 "},
            {"signs, umlaut", Text(" \xc3\xa4;b,c=d \"q\" \\x41 ")},
            {"at", "@at"},
            {"at, umlaut", Text("@\xc3\xa4")},
            {"like a size", "@Size(1 2)"},
            {"null", null},
            {"null, umlaut", null + Text("\xc3\xa4")},
            {"list", QStringList{"a", "b c", ""}},
            {"list, umlauts", QStringList{Text("\xc3\xa4;,="), half, "@", Text("@\xc3\xa4")}},
            {"list of one", QStringList{Text("\xc3\xa4")}},
            {"list of none", QStringList()},
            {Text("k\xc3\xa4\xe2\x82\xac%"), 1}};
}

QMap<QString, QVariant> Others()
{
    const QDate date(2020, 1, 2);
    const QTime time(3, 4, 5, 6);
    return {{"bool", true},
            {"int", -5},
            {"uint", 5U},
            {"long", qlonglong(-1)},
            {"ulong", qulonglong(7)},
            {"double", 0.1},
            {"float", 0.1F},
            {"float that is short", 1.5F},
            {"bytes", QByteArray("a\344b\0c", 5)},
            {"size", QSize(640, 480)},
            {"null size", QSize(0, 0)},
            {"no size", QSize()},
            {"rect", QRect(1, 2, 3, 4)},
            {"date", date},
            {"time", time},
            {"local", QDateTime(date, time)},
            {"utc", QDateTime(date, time, Qt::UTC)},
            {"offset", QDateTime(date, time, Qt::OffsetFromUTC, -5400)},
            {"zone", QDateTime(date, time, QTimeZone("Europe/Berlin"))},
            {"early", QDateTime(QDate(-5, 1, 2), time, Qt::UTC)},
            {"no time", QDateTime()},
            {"char", QChar(0xe4)},
            {"uuid", QUuid("{12345678-1234-1234-1234-123456789abc}")},
            {"url", QUrl("http://a/b")},
            {"bits", QBitArray(9, true)},
            {"values", QVariantList{1, Text("\xc3\xa4"), 1.5F, QVariantList{2}}},
            {"value", QVariantList{Text("\xc3\xa4")}},
            {"map", QVariantMap{{"a", Text("\xc3\xa4")}}}};
}

template <typename Store>
void Fill(Store& store)
{
    for (const auto& values : {Texts(), Others()}) {
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            store.SetKeyValue(kSection, value.key(), value.value());
    }
    store.SetKeyValue(Text("\xc3\xa4\xe2\x82\xac"), QStringLiteral("k"), QVariant(Text("\xc3\xb6")));
}

void Write(const QString& path)
{
    IniFile file(path);
    Fill(file);
    SettingsIniFile all;
    Fill(all);
    if (!all.WriteFile(path + QLatin1String(".2")))
        std::puts("not written");
}

void Change(const QString& path)
{
    IniFile file(path);
    file.SetKeyValue(kSection, QStringLiteral("added"), QStringLiteral("plain"));
    file.SetKeyValue(kSection, QStringLiteral("plain"), Text("\xc3\xbc"));
    file.RemoveKey(kSection, QStringLiteral("at, umlaut"));
}

void Put(const QString& name, const QString& text)
{
    std::printf("%s = %s\n", name.toUtf8().constData(), text.toUtf8().toPercentEncoding(" ").constData());
}

void Print(const QString& path)
{
    const IniFile file(path);
    SettingsIniFile all;
    all.ReadFile(path);
    const QStringList keys = Texts().keys() + Others().keys() + QStringList{"added", "raw", Text("r\xc3\xa4w")};
    for (const QString& key : keys) {
        QString text = QStringLiteral("none");
        file.GetKeyValue(kSection, key, text);
        Put(key, text);
        text = QStringLiteral("none");
        all.GetKeyValue(kSection, key, text);
        Put(key, text);
    }
}

void PrintTexts()
{
    const auto values = Others();
    for (auto value = values.cbegin(); value != values.cend(); ++value)
        Put(value.key(), IniFile::SettingValue(value.value(), false));
    for (int month = 1; month <= 12; ++month)
        Put(QString::number(month), IniFile::SettingValue(QDateTime(QDate(2020, month, month), QTime(3, 4)), false));
    // The numbers in the log.
    const QVariantList shown{QColor(1, 2, 3), QPolygonF(), QTransform(), QColorSpace(QColorSpace::SRgb)};
    for (const QVariant& value : shown)
        Put(QLatin1String(value.typeName()), QString::number(Framework::TypeNumber(value)));
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const QString what = arguments.value(1);
    if (what == QLatin1String("write"))
        Write(arguments.value(2));
    else if (what == QLatin1String("change"))
        Change(arguments.value(2));
    else if (what == QLatin1String("print"))
        Print(arguments.value(2));
    else
        PrintTexts();
    return 0;
}
