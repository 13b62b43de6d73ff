#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniString.h>

#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtTest/QtTest>

namespace {

QString Utf8(const char* text)
{
    return QString::fromUtf8(text);
}

QString FromCodePoint(char32_t codePoint)
{
    return QString::fromUcs4(&codePoint, 1);
}

int OrderOf(const IniString& first, const IniString& second)
{
    return int(second < first) - int(first < second);
}

// What is wrong with the comparison of two texts, if the framework finds that order.
QString WrongIn(const QString& first, const QString& second)
{
    const int compared = first.compare(second, Qt::CaseInsensitive);
    const int order = int(compared > 0) - int(compared < 0);
    const IniString one(first);
    const IniString other(second);
    const bool isEqual = order == 0;
    const bool isRight = OrderOf(one, other) == order && OrderOf(other, one) == -order && (one == other) == isEqual
        && (one == second) == isEqual && (other == first) == isEqual && (first == other) == isEqual
        && (one != other) != isEqual && (one != second) != isEqual && (first != other) != isEqual;
    return isRight ? QString() : first + QLatin1String(" and ") + second;
}

void AddRow(const char* name, const QString& first, const QString& second, int order)
{
    QTest::newRow(name) << first << second << order;
}

} // namespace

class tst_IniString : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itKeepsAndSharesTheText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("null") << QString();
        QTest::newRow("empty") << QStringLiteral("");
        QTest::newRow("mixed case, blanks") << QStringLiteral(" PrOxY ");
        QTest::newRow("zero inside") << QString::fromUtf16(u"a\0B", 3);
        QTest::newRow("half a pair") << QString(QChar(0xd801));
    }
    void itKeepsAndSharesTheText()
    {
        QFETCH(QString, text);
        const IniString name(text);
        const IniString copy(name);
        for (const QString& back : {QString(name), QString(copy)}) {
            QCOMPARE(back, text);
            QCOMPARE(back.isNull(), text.isNull());
            QCOMPARE(back.constData(), text.constData());
        }
    }

    void order_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<int>("order");
        AddRow("other case", QStringLiteral("Key"), QStringLiteral("kEY"), 0);
        AddRow("null and empty", QString(), QStringLiteral(""), 0);
        AddRow("empty before all others", QString(), QString(QChar(0)), -1);
        AddRow("small before the next capital", QStringLiteral("a"), QStringLiteral("B"), -1);
        AddRow("prefix first", QStringLiteral("PRO"), QStringLiteral("proxy"), -1);
        AddRow("length counts after the letters", QStringLiteral("aaaa"), QStringLiteral("B"), -1);
        AddRow("capitals count as small letters", QStringLiteral("_"), QStringLiteral("Z"), -1);
        AddRow("at the end of long names", QStringLiteral("AutoDownloadsStartA"), QStringLiteral("autoDownloadsStartb"),
               -1);
        AddRow("blank behind counts", QStringLiteral("a"), QStringLiteral("a "), -1);
        AddRow("zero inside", QString::fromUtf16(u"a\0b", 3), QString::fromUtf16(u"A\0C", 3), -1);
        AddRow("umlaut", Utf8("\xc3\xa4"), Utf8("\xc3\x84"), 0);
        AddRow("umlaut after all plain letters", QStringLiteral("z"), Utf8("\xc3\xa4"), -1);
        AddRow("decomposed", Utf8("a\xcc\x88"), Utf8("\xc3\xa4"), -1);
        AddRow("sharp s is not two letters", QStringLiteral("ss"), Utf8("\xc3\x9f"), -1);
        AddRow("dotless i is not i", QStringLiteral("I"), Utf8("\xc4\xb1"), -1);
        AddRow("final sigma and the capital", Utf8("\xcf\x82"), Utf8("\xce\xa3"), 0);
        AddRow("long s", Utf8("\xc5\xbf"), QStringLiteral("S"), 0);
        AddRow("Kelvin sign", Utf8("\xe2\x84\xaa"), QStringLiteral("k"), 0);
        AddRow("letters of two units", FromCodePoint(0x10400), FromCodePoint(0x10428), 0);
        AddRow("by units, not by characters", FromCodePoint(0x10428), QString(QChar(0xffff)), -1);
        AddRow("half a pair is a prefix", QString(QChar(0xd801)), FromCodePoint(0x10400), -1);
    }
    void order()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(int, order);
        QCOMPARE(OrderOf(first, second), order);
        QCOMPARE(WrongIn(first, second), QString());
        QCOMPARE(WrongIn(QStringLiteral("Ab") + first, QStringLiteral("aB") + second), QString());
    }

    void everyCharacterWithCase()
    {
        for (uint codePoint = 0; codePoint <= 0x10ffff; ++codePoint) {
            for (const uint other : {QChar::toLower(codePoint), QChar::toUpper(codePoint),
                                     QChar::toTitleCase(codePoint), QChar::toCaseFolded(codePoint)}) {
                if (other != codePoint)
                    QCOMPARE(WrongIn(FromCodePoint(codePoint), FromCodePoint(other)), QString());
            }
        }
        for (ushort first = 0; first < 128; ++first) {
            for (ushort second = 0; second < 128; ++second)
                QCOMPARE(WrongIn(QStringLiteral("x") + QChar(first), QStringLiteral("X") + QChar(second)), QString());
        }
    }

    void inAMap()
    {
        QMap<IniString, int> map;
        for (const char* const name : {"width", "Proxy", "_x", "PROXY", "NE", "", "net2"})
            map[QString::fromLatin1(name)] += 1;
        QStringList names;
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
            names += entry.key();
        QCOMPARE(names.join(QLatin1Char(' ')), QStringLiteral(" _x NE net2 Proxy width"));
        QCOMPARE(map.value(QStringLiteral("pROXY")), 2);
        QCOMPARE(map.remove(QStringLiteral("PROXY")), 1);
    }
};

NEROLT_TEST_MAIN(tst_IniString)

#include "tst_IniString.moc"
