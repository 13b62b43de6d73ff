#include "logging/LogLine.h"
#include "support/TestMain.h"

#include <QtCore/QDateTime>
#include <QtTest/QtTest>

#include <ctime>
#include <limits>
#include <random>

namespace {

// The line as the framework's own calls make it: the reference for every byte.
QByteArray Reference(qint64 msecs, unsigned int code, const char* word, const char* func, const QString& msg)
{
    const QString text = QLatin1Char('|') + QString::number(code) + QLatin1Char('|') + QString::fromUtf8(word)
        + QLatin1Char('|') + QString::fromUtf8(func) + QLatin1Char('|') + msg;
    QString body = text;
    body.remove(QLatin1Char('\r')).remove(QLatin1Char('\n'));
    const QString stamp = QDateTime::fromMSecsSinceEpoch(msecs).toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
    return stamp.toUtf8() + body.toUtf8() + "\n";
}

QByteArray Line(qint64 msecs, unsigned int code, const char* word, const char* func, const QString& msg)
{
    QByteArray buffer;
    LogLine::Append(buffer, msecs, code, word, func, msg);
    return buffer;
}

qint64 Msecs(const char* isoTime)
{
    return QDateTime::fromString(QString::fromLatin1(isoTime), Qt::ISODateWithMs).toMSecsSinceEpoch();
}

qint64 FirstOfMay(int year)
{
    return QDateTime(QDate(year, 5, 1), QTime(14, 7, 9, 42), Qt::UTC).toMSecsSinceEpoch();
}

void SetZone(const char* zone, bool tellLibrary = true)
{
    qputenv("TZ", zone);
    if (tellLibrary)
        ::tzset();
}

QString FromUnits(std::initializer_list<ushort> units)
{
    QString text;
    for (const ushort unit : units)
        text += QChar(unit);
    return text;
}

} // namespace

class tst_LogLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { SetZone("UTC"); }

    void theExampleOfTheFormat()
    {
        QCOMPARE(Line(Msecs("2024-03-05T14:07:09.042"), 30, "Warning", "SystemConfig::GetPath",
                      QStringLiteral("folder missing")),
                 QByteArray("2024-03-05 14:07:09.042|30|Warning|SystemConfig::GetPath|folder missing\n"));
    }

    void code()
    {
        for (const unsigned int code :
             {0U, 7U, 9U, 10U, 99U, 100U, 101U, 255U, 999U, 1000U, 1099U, 2147483648U, 4294967295U}) {
            QCOMPARE(Line(0, code, "Error", "F", QStringLiteral("m")),
                     "1970-01-01 00:00:00.000|" + QByteArray::number(code) + "|Error|F|m\n");
        }
    }

    void time_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<qint64>("msecs");
        const auto row = [](const char* name, const char* zone, qint64 msecs) {
            QTest::newRow(name) << QByteArray(zone) << msecs;
        };
        row("epoch", "UTC", 0);
        row("millisecond before the epoch", "UTC", -1);
        row("second before the epoch", "UTC", -1000);
        row("last millisecond of a day", "UTC", Msecs("2024-02-29T23:59:59.999Z"));
        row("midnight", "UTC", Msecs("2024-03-01T00:00:00.000Z"));
        row("east of Greenwich", "Asia/Kathmandu", Msecs("2024-03-01T12:00:00.005Z"));
        row("west of Greenwich", "America/St_Johns", Msecs("2024-03-01T01:00:00.050Z"));
        row("summer time", "Europe/Berlin", Msecs("2024-07-01T12:00:00.500Z"));
        row("last second before summer time", "Europe/Berlin", Msecs("2024-03-31T00:59:59.999Z"));
        row("first second of summer time", "Europe/Berlin", Msecs("2024-03-31T01:00:00.000Z"));
        row("hour that comes twice, first", "Europe/Berlin", Msecs("2024-10-27T00:30:00.000Z"));
        row("hour that comes twice, second", "Europe/Berlin", Msecs("2024-10-27T01:30:00.000Z"));
        row("beyond 32 bits", "Europe/Berlin", Msecs("2039-07-01T12:00:00.000Z"));
        row("last second of year 9999", "UTC", Msecs("9999-12-31T23:59:59.999Z"));
        row("year 10000", "UTC", FirstOfMay(10000));
        row("year 123456", "Asia/Kathmandu", FirstOfMay(123456));
        row("year 292278993", "UTC", FirstOfMay(292278993));
        row("year 1", "UTC", FirstOfMay(1));
        row("year before that", "UTC", FirstOfMay(-1));
        row("year -9999", "UTC", FirstOfMay(-9999));
        row("year -10000", "UTC", FirstOfMay(-10000));
        row("first millisecond", "UTC", std::numeric_limits<qint64>::min());
        row("last millisecond", "UTC", std::numeric_limits<qint64>::max());
    }
    void time()
    {
        QFETCH(QByteArray, zone);
        QFETCH(qint64, msecs);
        SetZone(zone.constData());
        const QString msg = QStringLiteral("m");
        QCOMPARE(Line(msecs, 1, "Error", "F", msg), Reference(msecs, 1, "Error", "F", msg));
    }

    void consecutiveLines_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QByteArray>("second");
        const auto row = [](const char* name, const char* first, const char* second) {
            QTest::newRow(name) << QByteArray(first) << QByteArray(second);
        };
        row("same millisecond", "2024-03-05T14:07:09.042", "2024-03-05T14:07:09.042");
        row("same second", "2024-03-05T14:07:09.042", "2024-03-05T14:07:09.999");
        row("next second", "2024-03-05T14:07:09.999", "2024-03-05T14:07:10.000");
        row("across midnight and the year", "2024-12-31T23:59:59.999", "2025-01-01T00:00:00.000");
        row("clock set back a second", "2024-03-05T14:07:10.500", "2024-03-05T14:07:09.500");
        row("clock set back a day", "2024-03-05T14:07:10.500", "2024-03-04T14:07:10.500");
        row("clock set forth a month", "2024-03-05T14:07:10.500", "2024-04-05T14:07:10.500");
    }
    void consecutiveLines()
    {
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, second);
        QByteArray buffer;
        LogLine::Append(buffer, Msecs(first.constData()), 1, "Error", "F", QStringLiteral("m"));
        LogLine::Append(buffer, Msecs(second.constData()), 1, "Error", "F", QStringLiteral("m"));
        QCOMPARE(buffer, first.replace('T', ' ') + "|1|Error|F|m\n" + second.replace('T', ' ') + "|1|Error|F|m\n");
    }

    void zoneChangesWithinASecond()
    {
        const qint64 msecs = Msecs("2024-03-05T14:07:09.042Z");
        QCOMPARE(Line(msecs, 1, "Error", "F", QString()), QByteArray("2024-03-05 14:07:09.042|1|Error|F|\n"));
        SetZone("Asia/Kathmandu");
        QCOMPARE(Line(msecs + 1, 1, "Error", "F", QString()), QByteArray("2024-03-05 19:52:09.043|1|Error|F|\n"));
        SetZone("America/New_York");
        QCOMPARE(Line(msecs + 2, 1, "Error", "F", QString()), QByteArray("2024-03-05 09:07:09.044|1|Error|F|\n"));
    }

    void zoneOfTheSameOffsetAndOtherName()
    {
        const qint64 msecs = Msecs("2024-07-05T14:07:09.000Z");
        SetZone("EST5");
        QCOMPARE(Line(msecs, 1, "Error", "F", QString()), QByteArray("2024-07-05 09:07:09.000|1|Error|F|\n"));
        SetZone("XST5XDT,M3.2.0,M11.1.0");
        QCOMPARE(Line(msecs, 1, "Error", "F", QString()), QByteArray("2024-07-05 10:07:09.000|1|Error|F|\n"));
    }

    void zoneThatOnlyTheEnvironmentKnowsHoldsFromTheNextSecond()
    {
        const qint64 msecs = Msecs("2024-03-05T14:07:09.042Z");
        Line(msecs, 1, "Error", "F", QString());
        SetZone("Asia/Kathmandu", false);
        QCOMPARE(Line(msecs + 1000, 1, "Error", "F", QString()), QByteArray("2024-03-05 19:52:10.042|1|Error|F|\n"));
    }

    void text_data()
    {
        QTest::addColumn<QByteArray>("func");
        QTest::addColumn<QString>("msg");
        QTest::addColumn<QByteArray>("body");
        const auto row = [](const char* name, const QByteArray& func, const QString& msg, const QByteArray& body) {
            QTest::newRow(name) << func << msg << body;
        };
        const QString longRun(100, QLatin1Char('a'));
        row("both empty", "", {}, "||");
        row("bars are not escaped", "a|b", "c|d", "|a|b|c|d");
        row("CR LF inside", "F", "a\r\nb", "|F|ab");
        row("only breaks", "\r\n", "\n\r\n", "||");
        row("breaks at the ends", "\nF\r", "\rm\n", "|F|m");
        row("other control characters stay", "F\t", "a\tb\v\f\x1b", "|F\t|a\tb\v\f\x1b");
        row("NUL stays", "F", QString(QChar(0)) + QLatin1Char('x'), QByteArray("|F|\0x", 5));
        row("other line separators stay", "F", FromUnits({0x85, 0x2028, 0x2029}),
            "|F|\xc2\x85\xe2\x80\xa8\xe2\x80\xa9");
        row("template marks stay", "%3%4", "%1 %2", "|%3%4|%1 %2");
        row("last of one byte", "F", FromUnits({0x7f}), "|F|\x7f");
        row("first of two bytes", "F", FromUnits({0x80}), "|F|\xc2\x80");
        row("last of two bytes", "F", FromUnits({0x7ff}), "|F|\xdf\xbf");
        row("first of three bytes", "F", FromUnits({0x800}), "|F|\xe0\xa0\x80");
        row("last of three bytes", "F", FromUnits({0xffff}), "|F|\xef\xbf\xbf");
        row("first pair", "F", FromUnits({0xd800, 0xdc00}), "|F|\xf0\x90\x80\x80");
        row("last pair", "F", FromUnits({0xdbff, 0xdfff}), "|F|\xf4\x8f\xbf\xbf");
        row("lone high surrogate", "F", FromUnits({0xd83d, 'x'}), "|F|?x");
        row("lone low surrogate", "F", FromUnits({0xde00, 'x'}), "|F|?x");
        row("high surrogate at the end", "F", FromUnits({'x', 0xd83d}), "|F|x?");
        row("two high surrogates, one low", "F", FromUnits({0xd83d, 0xd83d, 0xde00}), "|F|?\xf0\x9f\x98\x80");
        row("surrogates in the wrong order", "F", FromUnits({0xde00, 0xd83d}), "|F|??");
        row("pair parted by line breaks", "F", FromUnits({0xd83d, '\r', '\n', 0xde00}), "|F|\xf0\x9f\x98\x80");
        row("high surrogate, break, other", "F", FromUnits({0xd83d, '\n', 'x'}), "|F|?x");
        row("high surrogate, break, end", "F", FromUnits({0xd83d, '\n'}), "|F|?");
        row("UTF-8 in the function's name", "Gr\xc3\xb6\xc3\x9ft", {}, "|Gr\xc3\xb6\xc3\x9ft|");
        row("bytes that are no UTF-8 in the function's name", "a\xffz", {}, "|a\xef\xbf\xbdz|");
        row("break and UTF-8 in the function's name", "\xc3\xb6\r\nx", {}, "|\xc3\xb6x|");
        row("other character after a long plain run", "F", longRun + QChar(0xe4),
            "|F|" + longRun.toLatin1() + "\xc3\xa4");
        row("break after a long plain run", "F", longRun + QLatin1Char('\n') + QLatin1Char('b'),
            "|F|" + longRun.toLatin1() + "b");
        const int many = 1 << 20;
        row("megabytes", "F", QString(many, QChar(0x20ac)), "|F|" + QByteArray("\xe2\x82\xac").repeated(many));
    }
    void text()
    {
        QFETCH(QByteArray, func);
        QFETCH(QString, msg);
        QFETCH(QByteArray, body);
        QCOMPARE(Line(0, 5, "Debug", func.constData(), msg), "1970-01-01 00:00:00.000|5|Debug" + body + "\n");
        QCOMPARE(Line(0, 5, "Debug", func.constData(), msg), Reference(0, 5, "Debug", func.constData(), msg));
    }

    void nullTexts()
    {
        QCOMPARE(Line(0, 5, nullptr, nullptr, QString()), QByteArray("1970-01-01 00:00:00.000|5|||\n"));
    }

    void breaksInTheLevelWord()
    {
        QCOMPARE(Line(0, 5, "De\r\nbug", "F", QString()), QByteArray("1970-01-01 00:00:00.000|5|Debug|F|\n"));
    }

    void appendsToWhatIsThereAndLeavesCopiesAlone()
    {
        QByteArray buffer("first\n");
        const QByteArray copy = buffer;
        LogLine::Append(buffer, 0, 5, "Debug", "F", QStringLiteral("m"));
        QCOMPARE(buffer, QByteArray("first\n1970-01-01 00:00:00.000|5|Debug|F|m\n"));
        QCOMPARE(copy, QByteArray("first\n"));
    }

    void leavesTheTextWhereItIs()
    {
        // Text that the string does not own, as literals in memory are.
        const QChar memory[] = {QLatin1Char('a'), QChar(0x20ac), QLatin1Char('b')};
        const QString text = QString::fromRawData(memory, 2);
        QCOMPARE(Line(0, 5, "Debug", "F", text), QByteArray("1970-01-01 00:00:00.000|5|Debug|F|a\xe2\x82\xac\n"));
        QCOMPARE(text.constData(), static_cast<const QChar*>(memory));
    }

    // Texts are looked at several characters at a time, with a rest of every size.
    void oneOtherCharacterAnywhere()
    {
        const ushort others[]
            = {'\r', '\n', '\t', 0x0b, 0x0c, 0x0e, 0x01, 0x7f, 0x80, 0x8a, 0x8d, 0xff, 0x10a, 0x10d, 0x8000};
        for (int size = 1; size <= 50; ++size) {
            for (int at = 0; at < size; ++at) {
                for (const ushort other : others) {
                    QString text(size, QLatin1Char('t'));
                    text[at] = QChar(other);
                    const QByteArray name = text.toUtf8();
                    QCOMPARE(Line(0, 5, "Debug", "F", text), Reference(0, 5, "Debug", "F", text));
                    QCOMPARE(Line(0, 5, "Debug", name.constData(), QString()),
                             Reference(0, 5, "Debug", name.constData(), QString()));
                }
            }
        }
    }

    // Wherever the buffer's end comes in the line.
    void buffersOfEverySize()
    {
        for (const QString& text : {QStringLiteral("a plain message"), QString(15, QChar(0x20ac))}) {
            const QByteArray line = Reference(0, 4294967295, "Debug", "Gr\xc3\xb6\xc3\x9f", text);
            for (int capacity = 6; capacity <= 160; ++capacity) {
                QByteArray buffer;
                buffer.reserve(capacity);
                buffer.append("first\n");
                LogLine::Append(buffer, 0, 4294967295, "Debug", "Gr\xc3\xb6\xc3\x9f", text);
                QCOMPARE(buffer, "first\n" + line);
                QCOMPARE(buffer.constData()[buffer.size()], '\0');
            }
        }
    }

    void anyTextAsTheFrameworkHasIt()
    {
        // Units drawn from the edges of every encoding length, so that all neighbours meet.
        const ushort edges[] = {0,      'a',    '\r',   '\n',   '|',    '%',    0x7f,   0x80,   0x7ff, 0x800,
                                0xd7ff, 0xd800, 0xdbff, 0xdc00, 0xdfff, 0xe000, 0xfeff, 0xfffe, 0xffff};
        std::mt19937 random(20240305);
        for (int round = 0; round < 20000; ++round) {
            QString msg;
            const int size = int(random() % 24);
            for (int i = 0; i < size; ++i)
                msg += QChar(edges[random() % (sizeof edges / sizeof *edges)]);
            QByteArray func;
            for (int i = 0; i < int(random() % 8); ++i)
                func += char(random() % 255 + 1);
            QCOMPARE(Line(round, 5, "Debug", func.constData(), msg),
                     Reference(round, 5, "Debug", func.constData(), msg));
        }
    }
};

NEROLT_TEST_MAIN(tst_LogLine)

#include "tst_LogLine.moc"
