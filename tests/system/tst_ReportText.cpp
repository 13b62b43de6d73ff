#include "PathText.h"
#include "support/Framework.h"
#include "support/TestMain.h"
#include "system/ReportText.h"

#include <QtCore/QTextStream>
#include <QtTest/QtTest>

using PathText::Text;

namespace {

const QList<QByteArray> kCopied{"Architecture",          "Features",    "Network", "Screens",
                                "Platform capabilities", "Environment", "GPU"};
const QList<QByteArray> kDropped{"Library info", "Standard paths", "File selectors", "Style hints",
                                 "Theme",        "Fonts",          "Palette",        "Additional"};

QByteArray ExcerptOf(const QByteArray& output)
{
    QTextStream stream(output);
    return ReportText::DiagnosticExcerpt(stream).toUtf8();
}

// Paths that a template with successive replacements, or quoting, would alter.
void AddPaths()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("plain") << Text("/u/Logs/x.log");
    QTest::newRow("empty") << QString();
    QTest::newRow("blanks") << Text(" /u v/ x.log ");
    QTest::newRow("first mark") << Text("/%1/x.log");
    QTest::newRow("second mark") << Text("/%2/x.log");
    QTest::newRow("both marks, backwards") << Text("%2%1");
    QTest::newRow("other marks") << Text("/%L1/%%1/%0/%99/%");
    QTest::newRow("single quotes") << Text("/it's/'x'.log");
    QTest::newRow("double quotes") << Text("/\"u\"/x.log");
    QTest::newRow("dollar and backquote") << Text("/$HOME/`x`/$(x).log");
    QTest::newRow("backslashes") << Text("/a\\b\\\\/\\\".log");
    QTest::newRow("line breaks") << Text("/a\nb\r\n.log");
    QTest::newRow("beyond ASCII") << Text("/\xc3\xbc/\xe6\x97\xa5/\xf0\x9f\x98\x80.log");
}

} // namespace

class tst_ReportText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::SetLocalCodec("UTF-8"); }

    void diagnosticScript_data() { AddPaths(); }
    void diagnosticScript()
    {
        QFETCH(QString, path);
        QCOMPARE(ReportText::DiagnosticScript(path, Text("/o/o.log")).toUtf8(),
                 "\"" + path.toUtf8() + "\" > \"/o/o.log\"");
        QCOMPARE(ReportText::DiagnosticScript(Text("/p/qtdiag"), path).toUtf8(),
                 "\"/p/qtdiag\" > \"" + path.toUtf8() + "\"");
        QCOMPARE(ReportText::DiagnosticScript(path, path).toUtf8(),
                 "\"" + path.toUtf8() + "\" > \"" + path.toUtf8() + "\"");
    }

    void macGraphicsScript_data() { AddPaths(); }
    void macGraphicsScript()
    {
        QFETCH(QString, path);
        QCOMPARE(ReportText::MacGraphicsScript(path).toUtf8(),
                 "system_profiler SPDisplaysDataType > \"" + path.toUtf8() + "\"");
    }

    // tst_GraphicsScript runs it.
    void linuxGraphicsScript_data() { AddPaths(); }
    void linuxGraphicsScript()
    {
        QFETCH(QString, path);
        QVERIFY(ReportText::LinuxGraphicsScript(path).toUtf8().endsWith("} 2>/dev/null > \"" + path.toUtf8() + "\""));
    }

    void excerpt_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QByteArray>("excerpt");
        const auto row = [](const char* name, const QByteArray& output, const QByteArray& excerpt) {
            QTest::newRow(name) << output << excerpt;
        };
        row("the example", "Architecture: x\nBuild: y\nLibrary info:\nz\nScreens:\nw\n",
            "Architecture: x\r\nBuild: y\r\nScreens:\r\nw\r\n");
        row("empty", "", "");
        row("copied from the first line on", "a\nb\n", "a\r\nb\r\n");
        row("first line drops", "Fonts\na\n", "");
        row("dropped to the end", "a\nFonts\nb\nc\n", "a\r\n");
        row("dropped twice", "a\nFonts\nb\nTheme\nc\n", "a\r\n");
        row("copied twice", "GPU\na\nNetwork\nb\n", "GPU\r\na\r\nNetwork\r\nb\r\n");
        row("on and off again", "Fonts\na\nGPU\nb\nTheme\nc\nScreens\nd\n", "GPU\r\nb\r\nScreens\r\nd\r\n");
        row("indented headings", "a\n  Fonts:\nb\n\tGPU:\nc\n", "a\r\n\tGPU:\r\nc\r\n");
        row("word inside a dropped section", "Fonts:\n  x\n  Network Sans\n  y\n", "  Network Sans\r\n  y\r\n");
        row("word inside a word", "Fonts\nmyGPUs\na\nnoFontsHere\nb\n", "myGPUs\r\na\r\n");
        row("blanks within a word", "a\nLibrary  info\nStandard\tpaths\nb\n",
            "a\r\nLibrary  info\r\nStandard\tpaths\r\nb\r\n");
        row("word across two lines", "a\nFon\nts\nb\n", "a\r\nFon\r\nts\r\nb\r\n");
        row("empty lines are copied", "\na\n\n\n", "\r\na\r\n\r\n\r\n");
        row("empty lines are dropped", "Fonts\n\n\nGPU\n\n", "GPU\r\n\r\n");
        row("one empty line", "\n", "\r\n");
        row("no line end at the end", "a\nGPU", "a\r\nGPU\r\n");
        row("dropped line without line end", "a\nFonts", "a\r\n");
        row("CR LF", "a\r\nFonts\r\nb\r\nGPU\r\n\r\nc\r\n", "a\r\nGPU\r\n\r\nc\r\n");
        row("CR LF and LF", "a\r\nb\nc\r\n", "a\r\nb\r\nc\r\n");
        row("CR LF without the last", "a\r\nb", "a\r\nb\r\n");
        row("CR is no line end", "a\rFonts\nb\n", "");
        row("CR CR LF", "a\r\r\nb\n", "a\r\r\nb\r\n");
        row("blanks stay", "  a \t\n b\n", "  a \t\r\n b\r\n");
        row("beyond ASCII", "\xc3\xbc \xe6\x97\xa5 \xf0\x9f\x98\x80\n", "\xc3\xbc \xe6\x97\xa5 \xf0\x9f\x98\x80\r\n");
        row("bytes that are no text", "a\xff\nFonts \xe9\nb\nGPU \xe9 x\n", "a\xef\xbf\xbd\r\nGPU \xef\xbf\xbd x\r\n");
        row("byte order mark", "\xef\xbb\xbfGPU\na\n", "GPU\r\na\r\n");
        row("word behind a byte order mark",
            "\xef\xbb\xbf"
            "Fonts\na\n",
            "");
        row("NUL stays", QByteArray("a\0b\n\0\n", 6), QByteArray("a\0b\r\n\0\r\n", 8));
        row("word behind a NUL", QByteArray("a\0Fonts\nb\n\0GPU\nc\n", 17), QByteArray("\0GPU\r\nc\r\n", 9));
        const QByteArray wide(100000, 'x');
        row("long line", wide + "\nFonts\n" + wide + "GPU" + wide + "\na",
            wide + "\r\n" + wide + "GPU" + wide + "\r\na\r\n");
        for (const int before : {16382, 16383, 16384}) {
            const QByteArray name = "CR LF about the reader's block, " + QByteArray::number(before);
            const QByteArray line(before, 'x');
            row(name.constData(), line + "\r\nFonts\r\n\r\nGPU", line + "\r\nGPU\r\n");
        }
    }
    void excerpt()
    {
        QFETCH(QByteArray, output);
        QFETCH(QByteArray, excerpt);
        QCOMPARE(ExcerptOf(output), excerpt);
    }

    void words_data()
    {
        QTest::addColumn<QByteArray>("word");
        QTest::addColumn<bool>("isCopied");
        for (const QByteArray& word : kCopied)
            QTest::newRow(word.constData()) << word << true;
        for (const QByteArray& word : kDropped)
            QTest::newRow(word.constData()) << word << false;
    }
    void words()
    {
        QFETCH(QByteArray, word);
        QFETCH(bool, isCopied);
        for (const QByteArray& line : {word, "a " + word, word + ": b", "a" + word + "b"}) {
            const QByteArray decided = isCopied ? line + "\r\nafter\r\n" : QByteArray();
            QCOMPARE(ExcerptOf(line + "\nafter\n"), decided);
            QCOMPARE(ExcerptOf("Fonts\n" + line + "\nafter\n"), decided);
            QCOMPARE(ExcerptOf("GPU\n" + line + "\nafter\n"), "GPU\r\n" + decided);
        }
    }

    void whatIsAlmostAWordDecidesNothing_data() { words_data(); }
    void whatIsAlmostAWordDecidesNothing()
    {
        QFETCH(QByteArray, word);
        QByteArray otherCase = word;
        otherCase[0] = char(otherCase[0] ^ 0x20);
        QByteArray lastCase = word;
        lastCase[lastCase.size() - 1] = char(lastCase[lastCase.size() - 1] ^ 0x20);
        for (const QByteArray& line : {word.toLower(), otherCase, lastCase, word.mid(1), word.chopped(1),
                                       QByteArray(word).insert(1, ' '), QByteArray(word).insert(1, '\0')}) {
            QCOMPARE(ExcerptOf(line + "\n"), line + "\r\n");
            QCOMPARE(ExcerptOf("Fonts\n" + line + "\nGPU\n"), QByteArray("GPU\r\n"));
        }
    }

    void copyingComesFirst()
    {
        for (const QByteArray& copied : kCopied) {
            for (const QByteArray& dropped : kDropped) {
                for (const QByteArray& line : {copied + dropped, dropped + " " + copied}) {
                    QCOMPARE(ExcerptOf(line + "\na\n"), line + "\r\na\r\n");
                    QCOMPARE(ExcerptOf("Fonts\n" + line + "\na\n"), line + "\r\na\r\n");
                }
            }
        }
    }

    void otherHeadingsDecideNothing()
    {
        for (const char* const heading : {"Qt 5.15", "OS: ", "Locales", "Input devices", "Vulkan", "LibGL Vendor: ",
                                          "Qt Rendering Hardware Interface", "Settings", "Build", "Screen", "Paths"}) {
            const QByteArray line = heading;
            QCOMPARE(ExcerptOf(line + "\n"), line + "\r\n");
            QCOMPARE(ExcerptOf("Theme\n" + line + "\n"), QByteArray());
        }
    }

    void excerptBeginsWhereTheStreamStands()
    {
        QTextStream stream(QByteArray("Fonts\na\nGPU\n"));
        stream.readLine();
        QCOMPARE(ReportText::DiagnosticExcerpt(stream), Text("a\r\nGPU\r\n"));
        QVERIFY(stream.atEnd());
    }

    void graphicsText_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("text");
        const QChar unknown = QChar::ReplacementCharacter;
        QTest::newRow("null") << QByteArray() << QString();
        QTest::newRow("empty") << QByteArray("") << QString();
        QTest::newRow("unchanged") << QByteArray(" a\n\r\nb\r c \n\n") << Text(" a\n\r\nb\r c \n\n");
        QTest::newRow("words of the excerpt") << QByteArray("Fonts\nGPU\n") << Text("Fonts\nGPU\n");
        QTest::newRow("NUL first") << QByteArray("\0a", 2) << QString();
        QTest::newRow("NUL in the middle") << QByteArray("a\0b", 3) << Text("a");
        QTest::newRow("NUL last") << QByteArray("ab\0", 3) << Text("ab");
        QTest::newRow("cut at the first") << QByteArray("a\0b\0c", 5) << Text("a");
        QTest::newRow("NUL behind a line") << QByteArray("a\n\0b\n", 5) << Text("a\n");
        QTest::newRow("beyond ASCII") << QByteArray("\xc3\xbc\xe6\x97\xa5\xf0\x9f\x98\x80")
                                      << Text("\xc3\xbc\xe6\x97\xa5\xf0\x9f\x98\x80");
        QTest::newRow("byte that begins nothing") << QByteArray("a\xff") + "b" << Text("a") + unknown + Text("b");
        QTest::newRow("cut short by the NUL") << QByteArray("a\xc3\0", 3) << Text("a") + unknown;
        QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf"
                                                       "a")
                                         << Text("a");
        QTest::newRow("long") << QByteArray(100000, 'x') + QByteArray("\0y", 2) << QString(100000, QLatin1Char('x'));
    }
    void graphicsText()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, text);
        QCOMPARE(ReportText::GraphicsText(output), text);
    }
};

NEROLT_TEST_MAIN(tst_ReportText)

#include "tst_ReportText.moc"
