#include "logging/StackFrame.h"
#include "support/TestMain.h"

#include <QtTest/QtTest>

#include <iterator>

namespace {

// What is read from a line.
struct Row
{
    const char* iName;
    const char* iLine;
    const char* iModule;
    const char* iMemory;
    const char* iFunction;
    const char* iOffset;
};

constexpr Row kRows[] = {
    {"line as the system prints it", "3   libfoo.dylib                        0x00000000000abcde _ZN3Foo3barEv + 52",
     "libfoo.dylib", "0x00000000000abcde", "_ZN3Foo3barEv", "52"},
    {"single blanks", "3 img 0x1 sym + 52", "img", "0x1", "sym", "52"},
    {"runs of blanks everywhere", "   3     img   0x1    sym   +     52   ", "img", "0x1", "sym", "52"},
    {"frame without a name", "3 img 0x1 0x7f0000000000 + 52", "img", "0x1", "0x7f0000000000", "52"},
    {"address in no image", "3 ??? 0x1 0x0 + 1", "???", "0x1", "0x0", "1"},
    {"empty line", "", "", "", "", ""},
    {"only blanks", "     ", "", "", "", ""},
    {"only the index", "3", "", "", "", ""},
    {"up to the image", "3 img", "img", "", "", ""},
    {"up to the address", "3 img 0x1", "img", "0x1", "", ""},
    {"up to the symbol", "3 img 0x1 sym", "img", "0x1", "sym", ""},
    {"up to the plus sign", "3 img 0x1 sym +", "img", "0x1", "sym", ""},
    {"plus sign missing", "3 img 0x1 sym 52", "img", "0x1", "sym", ""},
    {"more than the offset", "3 img 0x1 sym + 52 (file.c:7) rest", "img", "0x1", "sym", "52"},
    {"any word in the index's place", "index img 0x1 sym + 52", "img", "0x1", "sym", "52"},
    {"any word in the plus sign's place", "3 img 0x1 sym minus 52", "img", "0x1", "sym", "52"},
    {"words are not looked into", "+ 52 sym img 0x1 3", "52", "sym", "img", "3"},
    {"tabulators do not part", "3\timg 0x1 sym + 52", "0x1", "sym", "+", ""},
    {"line ends do not part", "3 img\n0x1 sym + 52", "img\n0x1", "sym", "+", ""},
    {"other spaces do not part", "3 my\xc2\xa0img 0x1 my\xe3\x80\x80sym + 52", "my\xc2\xa0img", "0x1",
     "my\xe3\x80\x80sym", "52"},
    {"letters beyond ASCII",
     "3 gr\xc3\xb6\xc3\x9f"
     "e.so 0x1 _Z4f\xc3\xa4hrv + 52",
     "gr\xc3\xb6\xc3\x9f"
     "e.so",
     "0x1", "_Z4f\xc3\xa4hrv", "52"},
    {"template marks", "3 %1 %2 %3 + %4", "%1", "%2", "%3", "%4"},
    {"image with a blank", "3 two words.so 0x1 sym + 52", "two", "words.so", "0x1", "+"},
    // Fields that are equal.
    {"offset equal to the index", "3 img 0x1 sym + 3", "img", "0x1", "sym", ""},
    {"offset that begins like the index", "3 img 0x1 sym + 33", "img", "0x1", "sym", "33"},
    {"image equal to the index", "3 3 0x1 sym + 52", "0x1", "sym", "+", ""},
    {"symbol equal to the image", "3 main 0x1 main + 52", "main", "0x1", "+", ""},
    {"symbol equal to the address", "3 img 0x1 0x1 + 52", "img", "0x1", "+", ""},
    {"symbol equal to the plus sign", "3 img 0x1 + + 52", "img", "0x1", "+", ""},
    {"offset equal to the symbol", "3 img 0x1 52 + 52", "img", "0x1", "52", ""},
    {"symbol and offset equal to the index", "7 img 0x1 7 + 7 9", "img", "0x1", "+", ""},
    {"equal but for the case", "3 img 0x1 IMG + 52", "img", "0x1", "IMG", "52"},
    {"bundle word that comes again", "3 Nerolt Vespa 0x1 Nerolt + 52", "Nerolt Vespa", "0x1", "+", ""},
    {"selector equal to the image", "3 run] 0x1 -[A run] + 52", "run]", "0x1", "-[A +", ""},
    // Words of the name of the bundle.
    {"one word", "3 Nerolt 0x1 sym + 52", "Nerolt", "0x1", "sym", "52"},
    {"two words", "3 Nerolt Vespa 0x1 sym + 52", "Nerolt Vespa", "0x1", "sym", "52"},
    {"three words", "3 Nerolt Kadett Vespa 0x1 sym + 52", "Nerolt Kadett Vespa", "0x1", "sym", "52"},
    {"four words", "3 Nerolt Kadett Kauz Vespa 0x1 sym + 52", "Nerolt Kadett Kauz Vespa", "0x1", "sym", "52"},
    {"bare prefixes", "3 Ner Ka Vesp 0x1 sym + 52", "Ner Ka Vesp", "0x1", "sym", "52"},
    {"runs of blanks between the words", "3   Nerolt   Kadett   Vespa 0x1 sym + 52", "Nerolt Kadett Vespa", "0x1",
     "sym", "52"},
    {"last word missing", "3 Nerolt Kadett 0x1 sym + 52", "Nerolt Kadett", "", "0x1", "+"},
    {"last word missing after three", "3 Nerolt Kadett Kauz 0x1 sym + 52", "Nerolt Kadett Kauz", "", "", "sym"},
    {"first word twice", "3 Nerolt Nerz 0x1 sym + 52", "Nerz", "", "0x1", "+"},
    {"first word twice, last word", "3 Nerolt Nerz Vespa 0x1 sym + 52", "Nerz Vespa", "0x1", "sym", "52"},
    {"last word twice", "3 Nerolt Vespa Vesper 0x1 sym + 52", "Nerolt Vespa Vesper", "0x1", "sym", "52"},
    {"middle word alone", "3 Kadett 0x1 sym + 52", " Kadett", "0x1", "sym", "52"},
    {"middle word before the first", "3 Kadett Nerolt Vespa 0x1 sym + 52", "Nerolt Vespa", "0x1", "sym", "52"},
    {"middle word behind the last", "3 Vespa Kadett 0x1 sym + 52", " Vespa Kadett", "", "0x1", "+"},
    {"last word alone", "3 Vespa 0x1 sym + 52", " Vespa", "0x1", "sym", "52"},
    {"other word before the first", "3 My Nerolt 0x1 sym + 52", "Nerolt", "", "0x1", "+"},
    {"other word before the middle", "3 My Kadett 0x1 sym + 52", "My Kadett", "", "0x1", "+"},
    {"other word before the last", "3 My Vespa 0x1 sym + 52", "My Vespa", "0x1", "sym", "52"},
    {"other word between", "3 Nerolt My Vespa 0x1 sym + 52", "Nerolt Vespa", "0x1", "sym", "52"},
    {"small letters", "3 nerolt 0x1 kadett + vespa", "nerolt", "0x1", "kadett", "vespa"},
    {"a letter short", "3 Ne 0x1 K + Ves", "Ne", "0x1", "K", "Ves"},
    {"not at the beginning", "3 xNerolt 0x1 xKadett + xVespa", "xNerolt", "0x1", "xKadett", "xVespa"},
    // Such words in odd places.
    {"first word as the index", "Nerolt img 0x1 sym + 52", "Neroltimg", "0x1", "sym", "52"},
    {"middle word as the index", "Kadett img 0x1 sym + 52", " Kadettimg", "0x1", "sym", "52"},
    {"last word as the index", "Vespa img 0x1 sym + 52", " Vespa", "img", "0x1", "+"},
    {"first word as the address", "3 img Nerolt sym + 52", "Nerolt", "", "sym", "52"},
    {"middle word as the address", "3 img Kadett sym + 52", "img Kadett", "", "sym", "52"},
    {"last word as the address", "3 img Vespa sym + 52", "img Vespa", "sym", "+", ""},
    {"function called like the first word", "3 img 0x1 Nerolt + 52", "Nerolt", "0x1", "", "52"},
    {"function called like the middle word", "3 img 0x1 Kadett + 52", "img Kadett", "0x1", "", "52"},
    {"function called like the last word", "3 img 0x1 Vespa + 52", "img Vespa", "+", "52", ""},
    {"first word as the plus sign", "3 img 0x1 sym Nerolt 52", "Nerolt", "0x1", "sym", "52"},
    {"middle word as the plus sign", "3 img 0x1 sym Kadett 52", "img Kadett", "0x1", "sym", "52"},
    {"last word as the plus sign", "3 img 0x1 sym Vespa 0x2 two + 52", "img Vespa", "0x2", "symtwo", "52"},
    {"first word as the offset", "3 img 0x1 sym + Nerolt 52", "Nerolt", "0x1", "sym", ""},
    {"middle word as the offset", "3 img 0x1 sym + Kadett 52", "img Kadett", "0x1", "sym", ""},
    {"last word as the offset", "3 img 0x1 sym + Vespa 52", "img Vespa", "52", "sym", ""},
    {"first word behind the offset", "3 img 0x1 sym + 52 Nerolt", "Nerolt", "0x1", "sym", "52"},
    {"middle word behind the offset", "3 img 0x1 sym + 52 Kadett", "img Kadett", "0x1", "sym", "52"},
    {"last word behind the offset", "3 img 0x1 sym + 52 Vespa 0x2 two plus 53", "img Vespa", "0x2", "symtwo", "53"},
    // Methods of Objective-C.
    {"method", "3 AppKit 0x1 -[NSApplication run] + 52", "AppKit", "0x1", "-[NSApplication run]", "52"},
    {"arguments", "3 AppKit 0x1 -[NSView a:b:] + 52", "AppKit", "0x1", "-[NSView a:b:]", "52"},
    {"category", "3 AppKit 0x1 -[NSView(Extra) a:] + 52", "AppKit", "0x1", "-[NSView(Extra) a:]", "52"},
    {"runs of blanks", "3  AppKit   0x1   -[NSApplication    run]   +   52", "AppKit", "0x1", "-[NSApplication run]",
     "52"},
    {"in the bundle", "3 Nerolt Kadett Vespa 0x1 -[A run] + 52", "Nerolt Kadett Vespa", "0x1", "-[A run]", "52"},
    {"no blank in the name", "3 AppKit 0x1 -[run] + 52", "AppKit", "0x1", "-[run] +", ""},
    {"two blanks in the name", "3 AppKit 0x1 -[A run fast] + 52", "AppKit", "0x1", "-[A run", "+"},
    {"no closing bracket", "3 AppKit 0x1 -[A run + 52", "AppKit", "0x1", "-[A run", "52"},
    {"bare opening", "3 AppKit 0x1 -[ run] + 52", "AppKit", "0x1", "-[ run]", "52"},
    {"line ends within the name", "3 AppKit 0x1 -[A", "AppKit", "0x1", "-[A", ""},
    {"class method", "3 AppKit 0x1 +[A run] + 52", "AppKit", "0x1", "+[A", "+"},
    {"class method without a blank", "3 AppKit 0x1 +[run] + 52", "AppKit", "0x1", "+[run]", "52"},
    {"bracket without a sign", "3 AppKit 0x1 [A run] + 52", "AppKit", "0x1", "[A", "+"},
    {"sign without a bracket", "3 AppKit 0x1 -A + 52", "AppKit", "0x1", "-A", "52"},
    {"not at the beginning", "3 AppKit 0x1 x-[A + 52", "AppKit", "0x1", "x-[A", "52"},
    {"as the index", "-[A run] img 0x1 sym + 52", "", "", "-[A run]", "0x1"},
    {"as the image", "3 -[A run] 0x1 sym + 52", "", "", "-[A run]", "sym"},
    {"as the address", "3 img -[A run] sym + 52", "img", "", "-[A run]", "+"},
    {"as the plus sign", "3 img 0x1 sym -[A run] plus 52", "img", "0x1", "-[A run]", "52"},
    {"as the offset", "3 img 0x1 sym + -[A run] plus 52", "img", "0x1", "-[A run]", "52"},
    {"behind the offset", "3 img 0x1 sym + 52 -[A run] plus 53", "img", "0x1", "-[A run]", "53"},
    {"twice in a row", "3 img 0x1 -[A -[B run] + 52", "img", "0x1", "-[B run]", "52"},
    {"two whole names", "3 img 0x1 -[A run] -[B walk] + 52", "img", "0x1", "-[B walk]", "52"},
    {"selector like the first bundle word", "3 img 0x1 -[A Nerolt] + 52", "Nerolt]", "0x1", "-[A +", ""},
    {"selector like the middle bundle word", "3 img 0x1 -[A Kadett] + 52", "img Kadett]", "0x1", "-[A +", ""},
    {"selector like the last bundle word", "3 img 0x1 -[A Vespa] + 52", "img Vespa]", "0x1", "-[A +", ""},
    {"address anew behind the name", "3 img 0x1 -[A run] Vespa 0x2 two + 52", "img Vespa", "0x2", "-[A run]two", "52"},
};

} // namespace

class tst_StackFrame : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<int>("row");
        for (int row = 0; row < int(std::size(kRows)); ++row)
            QTest::newRow(kRows[row].iName) << row;
    }
    void parse()
    {
        QFETCH(int, row);
        const Row& expected = kRows[row];
        const TraceInfo frame = StackFrame::Parse(QString::fromUtf8(expected.iLine));
        QCOMPARE(frame.iModule, QString::fromUtf8(expected.iModule));
        QCOMPARE(frame.iMemory, QString::fromUtf8(expected.iMemory));
        QCOMPARE(frame.iFunctionName, QString::fromUtf8(expected.iFunction));
        QCOMPARE(frame.iOffset, QString::fromUtf8(expected.iOffset));
    }

    void demangled_data()
    {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("name");
        const auto row = [](const char* name, const char* symbol, const char* demangled) {
            QTest::newRow(name) << QString::fromUtf8(symbol) << QString::fromUtf8(demangled);
        };
        row("member", "_ZN3Foo3barEv", "Foo::bar()");
        row("constant member", "_ZNK3Foo3barEPKc", "Foo::bar(char const*) const");
        row("template", "_Z3maxIiET_S0_S0_", "int max<int>(int, int)");
        row("unnamed namespace", "_ZN12_GLOBAL__N_13fooEv", "(anonymous namespace)::foo()");
        row("letters beyond ASCII", "_Z5f\xc3\xa4hrv", "f\xc3\xa4hr()");
        row("letters beyond 16 bits", "_Z4\xf0\x9f\x98\x80v", "\xf0\x9f\x98\x80()");
        // The runtime takes whatever is no function for a type.
        row("letter of a type", "f", "float");
        row("name of a type", "3Foo", "Foo");
        const char* const no = nullptr;
        row("empty", "", no);
        row("name of a C function", "main", no);
        row("C name with underscores", "__libc_start_call_main", no);
        row("end missing", "_ZN3Foo3bar", no);
        row("rest behind the end", "_ZN3Foo3barEv rest", no);
        row("demangled already", "Foo::bar()", no);
        row("address of an image", "0x7f0000000000", no);
        row("letters beyond ASCII, in C", "f\xc3\xa4hr", no);
        row("template marks", "%1", no);
        QTest::newRow("null") << QString() << QString();
        QTest::newRow("half of a pair") << QString(QChar(0xd83d)) << QString();
    }
    void demangled()
    {
        QFETCH(QString, symbol);
        QFETCH(QString, name);
        QString found = symbol;
        QCOMPARE(StackFrame::Demangle(found), !name.isNull());
        QCOMPARE(found, name.isNull() ? symbol : name);
    }

    void text_data()
    {
        QTest::addColumn<QStringList>("fields");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, const QStringList& fields, const char* text) {
            QTest::newRow(name) << fields << QString::fromUtf8(text);
        };
        row("order of the fields", {"a", "b", "c", "d"}, "Module a Memory b FunctionName c Offset d");
        row("all empty", {"", "", "", ""}, "Module  Memory  FunctionName  Offset ");
        row("template marks", {"%2", "%L3", "%%", "%1"}, "Module %2 Memory %L3 FunctionName %% Offset %1");
        row("blanks and line ends stay", {" a ", "b\r\n", "c\t", "d"},
            "Module  a  Memory b\r\n FunctionName c\t Offset d");
        row("letters beyond ASCII", {"\xc3\xb6", "b", "f\xc3\xa4hr()", "d"},
            "Module \xc3\xb6 Memory b FunctionName f\xc3\xa4hr() Offset d");
    }
    void text()
    {
        QFETCH(QStringList, fields);
        QTEST(StackFrame::Text({fields[0], fields[1], fields[2], fields[3]}), "text");
    }

    void fromLineToText()
    {
        const QString word(1000, QLatin1Char('w'));
        TraceInfo frame = StackFrame::Parse(
            QStringLiteral("3   libfoo.dylib                        0x00000000000abcde _Z1000%1v + 52").arg(word));
        QVERIFY(StackFrame::Demangle(frame.iFunctionName));
        QCOMPARE(StackFrame::Text(frame),
                 QStringLiteral("Module libfoo.dylib Memory 0x00000000000abcde FunctionName %1() Offset 52").arg(word));
    }
};

NEROLT_TEST_MAIN(tst_StackFrame)

#include "tst_StackFrame.moc"
