#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniString.h>

#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <QtTest/QtTest>

#include <random>
#include <type_traits>

namespace {

static_assert(sizeof(IniString) == sizeof(QString), "one string and nothing else");
static_assert(std::is_convertible<QString, IniString>::value, "names are found by plain text");
static_assert(std::is_convertible<const IniString, QString>::value, "a name gives its text back, const or not");
static_assert(std::is_copy_constructible<IniString>::value && std::is_copy_assignable<IniString>::value, "a value");
static_assert(!std::is_polymorphic<IniString>::value, "nothing beside the string");

QString Utf8(const char* text)
{
    return QString::fromUtf8(text);
}

int Sign(int number)
{
    return (number > 0) - (number < 0);
}

int OrderOf(const IniString& first, const IniString& second)
{
    return int(second < first) - int(first < second);
}

// All operators must give the same result.
QByteArray Equality(const QString& first, const QString& second)
{
    const IniString one(first);
    const IniString other(second);
    const bool equal = one == other;
    const bool agreed = equal == (other == one) && equal == (one == second) && equal == (other == first)
        && equal == (!(one < other) && !(other < one));
    return !agreed ? "no agreement" : equal ? "equal" : "different";
}

QByteArray Expected(int order)
{
    return order == 0 ? "equal" : "different";
}

QString FromCodePoint(uint codePoint)
{
    return QString::fromUcs4(&codePoint, 1);
}

// All strings of up to three characters from an alphabet with every difficult kind, and some longer ones.
QStringList TroublesomeStrings()
{
    const QString alphabet[] = {
        QStringLiteral("a"),    QStringLiteral("A"),
        QStringLiteral("_"), // between the capital and the small letters
        QString(QChar(0xdf)), // sharp s ...
        QString(QChar(0x1e9e)), // ... and its capital
        QString(QChar(0x131)), // dotless i
        QString(QChar(0x3c2)), // final sigma
        QString(QChar(0x3a3)),
        QString(QChar(0x1c5)), // titlecase digraph
        QString(QChar(0)),
        QString(QChar(0xd801)), // a lone half of a pair ...
        QString(QChar(0xdc00)), // ... and the other, which together make a capital letter
        FromCodePoint(0x10428), // its small letter
        QString(QChar(0xffff)),
    };
    QStringList strings{QString(), QLatin1String("")};
    for (const QString& first : alphabet) {
        strings += first;
        for (const QString& second : alphabet)
            strings += first + second;
    }
    std::mt19937 random(20240305);
    for (int i = 0; i < 30; ++i) {
        QString text;
        for (uint size = 3 + random() % 4; size > 0; --size)
            text += alphabet[random() % (sizeof alphabet / sizeof *alphabet)];
        strings << text << text.toUpper() << text.toLower();
    }
    return strings;
}

using Matrix = QVector<QVector<bool>>;

template <typename Relation>
Matrix MatrixOf(const QStringList& strings, const Relation& relation)
{
    Matrix matrix(strings.size(), QVector<bool>(strings.size()));
    for (int i = 0; i < strings.size(); ++i) {
        for (int j = 0; j < strings.size(); ++j)
            matrix[i][j] = relation(IniString(strings[i]), IniString(strings[j]));
    }
    return matrix;
}

// The first triple that is not transitive, or empty.
QString BrokenTriple(const Matrix& matrix)
{
    for (int a = 0; a < matrix.size(); ++a) {
        for (int b = 0; b < matrix.size(); ++b) {
            if (!matrix.at(a).at(b))
                continue;
            for (int c = 0; c < matrix.size(); ++c) {
                if (matrix.at(b).at(c) && !matrix.at(a).at(c))
                    return QStringLiteral("%1, %2, %3").arg(a).arg(b).arg(c);
            }
        }
    }
    return QString();
}

void AddEqual(const char* name, const QString& first, const QString& second)
{
    QTest::newRow(name) << first << second << 0;
}

void AddBefore(const char* name, const QString& first, const QString& second)
{
    QTest::newRow(name) << first << second << -1;
}

} // namespace

class tst_IniString : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsTheTextUnchanged_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("null") << QString();
        QTest::newRow("empty") << QStringLiteral("");
        QTest::newRow("mixed case") << QStringLiteral("PrOxY");
        QTest::newRow("blanks around") << QStringLiteral("  a b  ");
        QTest::newRow("sharp s and dotless i") << Utf8("Stra\xc3\x9f"
                                                       "e \xc4\xb1\xc4\xb0");
        QTest::newRow("decomposed") << Utf8("a\xcc\x88");
        QTest::newRow("zero inside") << QString::fromUtf16(u"a\0B", 3);
        QTest::newRow("half a pair") << QString(QChar(0xd801));
    }
    void keepsTheTextUnchanged()
    {
        QFETCH(QString, text);
        const IniString name(text);
        const QString back = name;
        QCOMPARE(back, text);
        QCOMPARE(back.isNull(), text.isNull());
    }

    void sharesTheText()
    {
        const QString text = QStringLiteral("Key").repeated(2);
        const IniString name(text);
        const IniString copy(name);
        IniString assigned(QStringLiteral("other"));
        assigned = name;
        QCOMPARE(QString(name).constData(), text.constData());
        QCOMPARE(QString(copy).constData(), text.constData());
        QCOMPARE(QString(assigned).constData(), text.constData());
    }

    void textOnEitherSideComparesAlike()
    {
        const IniString name(QStringLiteral("KEY"));
        const QString same = QStringLiteral("key");
        const QString other = QStringLiteral("keys");
        QVERIFY(name == same && same == name && name == IniString(same));
        QVERIFY(!(name != same) && !(same != name) && !(name != IniString(same)));
        QVERIFY(name != other && other != name && name != IniString(other));
        QVERIFY(!(name == other) && !(other == name) && !(name == IniString(other)));
    }

    void comparingLeavesTheTextWhereItIs()
    {
        static const QChar memory[] = {'K', 'e', 'y', 's'}; // not owned by the string, and without a terminating zero
        const QString text = QString::fromRawData(memory, 3);
        const IniString name(text);
        const IniString other(QStringLiteral("kEY"));
        QVERIFY(name == other && other == text && !(name < other) && !(other < name));
        QVERIFY(text.constData() == memory);
        QVERIFY(QString(name).constData() == memory);
    }

    void order_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<int>("order");
        AddEqual("same spelling", QStringLiteral("Key"), QStringLiteral("Key"));
        AddEqual("other case", QStringLiteral("Key"), QStringLiteral("kEY"));
        AddEqual("all capitals", QStringLiteral("Proxy"), QStringLiteral("PROXY"));
        AddEqual("null and empty", QString(), QStringLiteral(""));
        AddBefore("empty before all others", QString(), QString(QChar(0)));
        AddBefore("small before the next capital", QStringLiteral("a"), QStringLiteral("B"));
        AddBefore("capital before the next small", QStringLiteral("A"), QStringLiteral("b"));
        AddBefore("prefix first", QStringLiteral("pro"), QStringLiteral("PROXY"));
        AddBefore("prefix in capitals first", QStringLiteral("PRO"), QStringLiteral("proxy"));
        AddBefore("length counts after the letters", QStringLiteral("aaaa"), QStringLiteral("B"));
        AddBefore("capitals count as small letters", QStringLiteral("_"), QStringLiteral("Z"));
        AddBefore("between the two alphabets", QStringLiteral("_"), QStringLiteral("z"));
        AddBefore("digits as characters", QStringLiteral("10"), QStringLiteral("9"));
        AddBefore("blank in front counts", QStringLiteral(" a"), QStringLiteral("a"));
        AddBefore("blank behind counts", QStringLiteral("a"), QStringLiteral("a "));
        AddBefore("hyphen counts", QStringLiteral("a-c"), QStringLiteral("ab"));
        AddBefore("what follows a zero counts", QString::fromUtf16(u"a\0b", 3), QString::fromUtf16(u"A\0C", 3));
        AddEqual("umlaut", Utf8("\xc3\xa4"), Utf8("\xc3\x84"));
        AddBefore("umlaut after all plain letters", QStringLiteral("z"), Utf8("\xc3\xa4"));
        AddBefore("decomposed is another text", Utf8("a\xcc\x88"), Utf8("\xc3\xa4"));
        AddBefore("sharp s is not two letters", QStringLiteral("ss"), Utf8("\xc3\x9f"));
        AddBefore("sharp s is not two capitals", QStringLiteral("SS"), Utf8("\xc3\x9f"));
        AddEqual("sharp s and its capital", Utf8("\xc3\x9f"), Utf8("\xe1\xba\x9e"));
        AddBefore("dotless i is not i", QStringLiteral("i"), Utf8("\xc4\xb1"));
        AddBefore("dotless i is not its capital", QStringLiteral("I"), Utf8("\xc4\xb1"));
        AddBefore("dotted capital is not i", QStringLiteral("i"), Utf8("\xc4\xb0"));
        AddBefore("dotted capital is not its lower-cased copy", Utf8("i\xcc\x87"), Utf8("\xc4\xb0"));
        AddBefore("dotted before dotless", Utf8("\xc4\xb0"), Utf8("\xc4\xb1"));
        AddEqual("final sigma and sigma", Utf8("\xcf\x82"), Utf8("\xcf\x83"));
        AddEqual("final sigma and the capital", Utf8("\xcf\x82"), Utf8("\xce\xa3"));
        AddEqual("digraph, capital and title", Utf8("\xc7\x84"), Utf8("\xc7\x85"));
        AddEqual("digraph, title and small", Utf8("\xc7\x85"), Utf8("\xc7\x86"));
        AddEqual("digraph, capital and small", Utf8("\xc7\x84"), Utf8("\xc7\x86"));
        AddBefore("digraph is not its two letters", QStringLiteral("dz"), Utf8("\xc7\x84"));
        AddEqual("long s", Utf8("\xc5\xbf"), QStringLiteral("S"));
        AddEqual("Kelvin sign", Utf8("\xe2\x84\xaa"), QStringLiteral("k"));
        AddEqual("micro sign and mu", Utf8("\xc2\xb5"), Utf8("\xce\xbc"));
        AddBefore("ligature is not its letters", QStringLiteral("ff"), Utf8("\xef\xac\x80"));
        AddEqual("letters of two units", FromCodePoint(0x10400), FromCodePoint(0x10428));
        AddBefore("order by units, not by characters", FromCodePoint(0x10428), QString(QChar(0xffff)));
        AddBefore("half a pair is a prefix", QString(QChar(0xd801)), FromCodePoint(0x10400));
    }
    void order()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(int, order);
        QCOMPARE(OrderOf(first, second), order);
        QCOMPARE(OrderOf(second, first), -order);
        QCOMPARE(Equality(first, second), Expected(order));
        // After other text in other spellings the result is the same.
        QCOMPARE(OrderOf(QStringLiteral("Ab") + first, QStringLiteral("aB") + second), order);
        QCOMPARE(Sign(first.compare(second, Qt::CaseInsensitive)), order);
    }

    void everyCharacterWithCase()
    {
        int count = 0;
        for (uint codePoint = 0; codePoint <= 0x10ffff; ++codePoint) {
            const uint others[] = {QChar::toLower(codePoint), QChar::toUpper(codePoint), QChar::toTitleCase(codePoint),
                                   QChar::toCaseFolded(codePoint)};
            const QString text = FromCodePoint(codePoint);
            for (const uint other : others) {
                if (other == codePoint)
                    continue;
                ++count;
                const int expected = Sign(text.compare(FromCodePoint(other), Qt::CaseInsensitive));
                QCOMPARE(OrderOf(text, FromCodePoint(other)), expected);
                QCOMPARE(Equality(text, FromCodePoint(other)), Expected(expected));
            }
        }
        QVERIFY2(count > 3000, QByteArray::number(count).constData());
    }

    void everyPairOfAsciiCharacters()
    {
        for (ushort first = 0; first < 128; ++first) {
            for (ushort second = 0; second < 128; ++second) {
                const QString one = QStringLiteral("x") + QChar(first);
                const QString other = QStringLiteral("X") + QChar(second);
                const int expected = Sign(one.compare(other, Qt::CaseInsensitive));
                QCOMPARE(OrderOf(one, other), expected);
                QCOMPARE(Equality(one, other), Expected(expected));
            }
        }
    }

    // Wherever the texts differ, for the first, second and third time, and however long they are.
    void everyPlaceInEveryLength()
    {
        const QString letters = QStringLiteral("abcdefghijklmnopqrs");
        const QChar differences[] = {QLatin1Char('A'), QLatin1Char('_'), QLatin1Char('~'), QChar(0xe4), QChar(0x212a)};
        for (int size = 0; size <= letters.size(); ++size) {
            const QString text = letters.left(size);
            for (int place = 0; place < size; ++place) {
                for (const QChar& difference : differences) {
                    QString other = text;
                    other[place] = difference;
                    QString spelled = other;
                    spelled[size / 2] = spelled.at(size / 2).toUpper();
                    spelled[size - 1] = spelled.at(size - 1).toUpper();
                    const int expected = Sign(text.compare(other, Qt::CaseInsensitive));
                    for (const QString& another : {other, spelled}) {
                        QCOMPARE(OrderOf(text, another), expected);
                        QCOMPARE(Equality(text, another), Expected(expected));
                        QCOMPARE(OrderOf(text, another + QLatin1Char('x')), expected == 0 ? -1 : expected);
                    }
                }
            }
            QCOMPARE(OrderOf(text.toUpper(), text), 0);
            QCOMPARE(OrderOf(text.toUpper(), letters), size < letters.size() ? -1 : 0);
        }
    }

    void strictWeakOrder()
    {
        const QStringList strings = TroublesomeStrings();
        const Matrix less = MatrixOf(strings, [](const IniString& a, const IniString& b) { return a < b; });
        const Matrix equal = MatrixOf(strings, [](const IniString& a, const IniString& b) { return a == b; });
        int pairsOfSpellings = 0;
        for (int a = 0; a < strings.size(); ++a) {
            QVERIFY(!less[a][a] && equal[a][a]);
            for (int b = 0; b < strings.size(); ++b) {
                QVERIFY(!(less[a][b] && less[b][a]));
                QCOMPARE(equal[a][b], !less[a][b] && !less[b][a]);
                QCOMPARE(less[a][b], strings[a].compare(strings[b], Qt::CaseInsensitive) < 0);
                pairsOfSpellings += int(equal[a][b] && strings[a] != strings[b]);
            }
        }
        QCOMPARE(BrokenTriple(less), QString());
        QCOMPARE(BrokenTriple(equal), QString());
        QVERIFY2(pairsOfSpellings > 200, QByteArray::number(pairsOfSpellings).constData());
    }

    void firstSpellingStaysInAMap()
    {
        QMap<IniString, int> map;
        map.insert(QStringLiteral("Proxy"), 1);
        map.insert(QStringLiteral("PROXY"), 2);
        map[QStringLiteral("proxy")] += 40;
        QCOMPARE(map.size(), 1);
        QCOMPARE(QString(map.firstKey()), QStringLiteral("Proxy"));
        QCOMPARE(map.value(QStringLiteral("pROXY")), 42);
        QCOMPARE(map.remove(QStringLiteral("PROXY")), 1);
        map.insert(QStringLiteral("PROXY"), 3);
        QCOMPARE(QString(map.firstKey()), QStringLiteral("PROXY"));
    }

    void orderOfAMap()
    {
        QMap<IniString, int> map;
        const QStringList inserted{QStringLiteral("width"), QStringLiteral("Net"),     QStringLiteral("_x"),
                                   QStringLiteral("net2"),  QStringLiteral("NE"),      QString(),
                                   QStringLiteral("Paths"), QStringLiteral("display"), QStringLiteral("DISPLAY")};
        for (const QString& name : inserted)
            map.insert(name, 0);
        QStringList names;
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
            names += entry.key();
        QCOMPARE(names,
                 (QStringList{QString(), QStringLiteral("_x"), QStringLiteral("display"), QStringLiteral("NE"),
                              QStringLiteral("Net"), QStringLiteral("net2"), QStringLiteral("Paths"),
                              QStringLiteral("width")}));
    }

    void anyTextFoundInAMapAgain()
    {
        const QStringList strings = TroublesomeStrings();
        QMap<IniString, QString> map;
        for (const QString& text : strings) {
            if (!map.contains(text))
                map.insert(text, text);
        }
        for (const QString& text : strings) {
            const auto found = map.constFind(text);
            QVERIFY(found != map.cend());
            QCOMPARE(QString(found.key()), found.value());
            QCOMPARE(text.compare(found.value(), Qt::CaseInsensitive), 0);
        }
        QVERIFY(map.size() > 100 && map.size() < strings.size());
    }
};

NEROLT_TEST_MAIN(tst_IniString)

#include "tst_IniString.moc"
