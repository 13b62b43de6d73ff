#include "support/Framework.h"
#include "support/LogScenario.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniFile.h>

#include <QtCore/QDateTime>
#include <QtCore/QLocale>
#include <QtCore/QRect>
#include <QtCore/QRegularExpression>
#include <QtCore/QSize>
#include <QtCore/QStringList>
#include <QtCore/QUrl>
#include <QtCore/QUuid>
#include <QtCore/QVariant>
#include <QtTest/QtTest>

#include <algorithm>
#include <limits>

struct HostType
{
    int iNumber = 7;
};
Q_DECLARE_METATYPE(HostType)

namespace {

constexpr int kHostTypes = 1024; ///< all types of a host have this number
constexpr int kNoTypeLine = -1;

QByteArray TypeLine(int typeId)
{
    return "|25|Trace|IniFile::SettingValue|type is " + QByteArray::number(typeId);
}

QByteArray ReturnLine(const QString& text)
{
    return "|25|Trace|IniFile::SettingValue|the return value is " + text.toUtf8();
}

void AddRow(const char* name, const QVariant& value, int id, const QString& text, int typeLine)
{
    QTest::newRow(name) << value << id << text << typeLine;
}

void AddText(const char* name, const QVariant& value, int id, const char* text)
{
    AddRow(name, value, id, QString::fromUtf8(text), kNoTypeLine);
}

void AddUnknown(const char* name, const QVariant& value, int id)
{
    AddRow(name, value, id, QString(), id);
}

void AddIntegers()
{
    AddText("Bool true", true, 1, "true");
    AddText("Bool false", false, 1, "false");
    AddText("Int zero", 0, 2, "0");
    AddText("Int smallest", std::numeric_limits<int>::min(), 2, "-2147483648");
    AddText("Int largest, ungrouped", std::numeric_limits<int>::max(), 2, "2147483647");
    AddText("UInt largest", 4294967295U, 3, "4294967295");
    AddText("ULongLong largest", std::numeric_limits<qulonglong>::max(), 5, "18446744073709551615");
}

void AddStrings()
{
    const QString percent = QStringLiteral("%1 %2");
    AddText("String", QStringLiteral("plain"), 10, "plain");
    AddText("String with blanks kept", QStringLiteral("  a b "), 10, "  a b ");
    AddText("String that looks like a template", percent, 10, "%1 %2");
    AddText("String beyond ASCII", QString::fromUtf8("Gr\xc3\xb6\xc3\x9f"), 10, "Gr\xc3\xb6\xc3\x9f");
    AddText("String that is empty", QString(QLatin1String("")), 10, "");
    AddText("StringList of two", QStringList{QStringLiteral("a"), QStringLiteral("b")}, 11, "a b");
    AddText("StringList of one", QStringList{QStringLiteral("a")}, 11, "a");
    AddText("StringList of none", QStringList(), 11, "");
    AddText("StringList, items neither quoted nor escaped",
            QStringList{QStringLiteral("a b"), QString(), QStringLiteral("\"c\\,"), percent}, 11, "a b  \"c\\, %1 %2");
    AddText("StringList of empty items", QStringList{QString(), QString()}, 11, " ");
    AddText("ByteArray", QByteArray("bytes"), 12, "");
    AddText("ByteArray that is empty", QByteArray(""), 12, "");
}

void AddTimesAndSizes()
{
    const QDate date(2024, 3, 5);
    AddText("DateTime, local", QDateTime(date, QTime(4, 7, 9, 42)), 16, "Tue Mar 5 04:07:09 2024");
    AddText("DateTime, UTC", QDateTime(date, QTime(14, 7, 9), Qt::UTC), 16, "Tue Mar 5 14:07:09 2024 GMT");
    AddText("DateTime, with an offset", QDateTime(date, QTime(14, 7, 9), Qt::OffsetFromUTC, -5400), 16,
            "Tue Mar 5 14:07:09 2024 GMT-0130");
    AddText("Size", QSize(640, 480), 21, "@Size(640 480)");
    AddText("Size, nothing wide", QSize(0, 480), 21, "@Size(0 480)");
    AddText("Size, invalid", QSize(), 21, "@Size(-1 -1)");
    AddText("Size, ungrouped", QSize(1000000, -2147483647), 21, "@Size(1000000 -2147483647)");
}

void AddUnknown(QObject* object)
{
    AddUnknown("LongLong", qint64(-7), 4);
    AddUnknown("LongLong zero", qint64(0), 4);
    AddUnknown("Double", 3.5, 6);
    AddUnknown("Float", 1.5F, 38);
    AddUnknown("Char", QChar(QLatin1Char('x')), 7);
    AddUnknown("Map", QVariantMap{{QStringLiteral("k"), 1}}, 8);
    AddUnknown("Map that is empty", QVariantMap(), 8);
    AddUnknown("List", QVariantList{1, 2}, 9);
    AddUnknown("Date", QDate(2024, 3, 5), 14);
    AddUnknown("Time", QTime(7, 45), 15);
    AddUnknown("Url that is empty", QUrl(), 17);
    AddUnknown("Rect", QRect(1, 2, 3, 4), 19);
    AddUnknown("SizeF", QSizeF(640, 480), 22);
    AddUnknown("Point", QPoint(1, 2), 25);
    AddUnknown("Uuid", QUuid(QStringLiteral("{12345678-1234-1234-1234-123456789abc}")), 30);
    AddUnknown("pointer to an object", QVariant::fromValue(object), 39);
    AddUnknown("RegularExpression", QRegularExpression(QStringLiteral("a+")), 44);
    AddUnknown("a type of the host's", QVariant::fromValue(HostType()), kHostTypes);
}

// Null in the sense of QVariant::isNull: a type without a value, or a value that its type considers null.
void AddNulls()
{
    for (const int id : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 28, 32, 33, 36, 38})
        AddText(qPrintable(QLatin1String("null ") + QLatin1String(TestSupport::NullOf(id).typeName())),
                TestSupport::NullOf(id), id, "");
    AddText("invalid", QVariant(), 0, "");
    AddText("null, the text", QString(), 10, "");
    AddText("null, the bytes", QByteArray(), 12, "");
    AddText("null, the date", QDate(), 14, "");
    AddText("null, the date and time", QDateTime(), 16, "");
    AddText("null, the rectangle", QRect(0, 0, 0, 0), 19, "");
    AddText("null, the size 0 by 0", QSize(0, 0), 21, "");
    AddText("null, the point", QPoint(0, 0), 25, "");
    AddText("null, the pointer", QVariant::fromValue(static_cast<void*>(nullptr)), 31, "");
    AddText("nullptr", QVariant::fromValue(nullptr), 51, "");
}

} // namespace

class tst_SettingValue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // The host's language must not matter.
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    }

    void table_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("typeLine");
        AddIntegers();
        AddStrings();
        AddTimesAndSizes();
        AddUnknown(this);
        AddNulls();
    }
    void table()
    {
        QFETCH(QVariant, value);
        QFETCH(int, id);
        QFETCH(QString, text);
        QFETCH(int, typeLine);
        QCOMPARE(std::min(value.userType(), kHostTypes), id);
        QList<QByteArray> lines;
        if (typeLine != kNoTypeLine)
            lines += TypeLine(typeLine);
        lines += ReturnLine(text);
        for (const bool flag : {false, true}) {
            LogScenario::Captured log(LoggerDefs::Trace);
            QCOMPARE(IniFile::SettingValue(value, flag), text);
            QCOMPARE(log.Lines(), lines);
        }
        for (const int mask : {0, LogScenario::kAllLevels & ~LoggerDefs::Trace}) {
            LogScenario::Captured log(mask);
            QCOMPARE(IniFile::SettingValue(value, false), text);
            QCOMPARE(log.Lines(), QList<QByteArray>());
        }
    }

    void anEmptyTextStaysUnchanged() { QVERIFY(!IniFile::SettingValue(QString(QLatin1String("")), false).isNull()); }

    // A line break in a value does not break the log's line; nor does a template in it.
    void lineBreaksInTheLog()
    {
        LogScenario::Captured log(LoggerDefs::Trace);
        IniFile::SettingValue(QStringLiteral("a\r\nb%1"), false);
        QCOMPARE(log.Lines(), QList<QByteArray>{ReturnLine(QStringLiteral("ab%1"))});
    }

    void booleans()
    {
        QCOMPARE(IniFile::ToString(true), QStringLiteral("true"));
        QCOMPARE(IniFile::ToString(false), QStringLiteral("false"));
        QVERIFY(IniFile::ToBool(IniFile::ToString(true)));
        QVERIFY(!IniFile::ToBool(IniFile::ToString(false)));
    }

    void toBool_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("result");
        for (const char* text : {"true", "True", "TRUE", "tRuE"})
            QTest::newRow(text) << QString::fromLatin1(text) << true;
        for (const char* text :
             {" true", "true ", "true\n", "tru", "truee", "1", "yes", "on", "false", "\"true\"", "t"})
            QTest::newRow(text) << QString::fromLatin1(text) << false;
        QTest::newRow("empty") << QString(QLatin1String("")) << false;
        QTest::newRow("null") << QString() << false;
        QTest::newRow("zero behind") << (QStringLiteral("true") + QChar(0)) << false;
        QTest::newRow("full-width letters") << QString::fromUtf8("\xef\xbd\x94rue") << false;
    }
    void toBool()
    {
        QFETCH(QString, text);
        QFETCH(bool, result);
        QCOMPARE(IniFile::ToBool(text), result);
    }
};

NEROLT_TEST_MAIN(tst_SettingValue)

#include "tst_SettingValue.moc"
