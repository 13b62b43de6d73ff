#include "logging/FrameLines.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtTest/QTest>

#include <cstdlib>
#include <cstring>
#include <execinfo.h>

namespace {

struct Call
{
    void* const* iAddresses;
    int iCount;
};

QList<Call> gCalls;
QList<QByteArray> gTexts;
bool gHasMemory = true;
char** gBlock = nullptr;
std::size_t gBlockSize = 0;
int gFrees = 0;

void Start(const QList<QByteArray>& texts)
{
    gCalls.clear();
    gTexts = texts;
    gHasMemory = true;
    gBlock = nullptr;
    gFrees = 0;
}

std::size_t SizeOf(const QList<QByteArray>& texts)
{
    std::size_t size = 1;
    for (const QByteArray& text : texts)
        size += sizeof(char*) + std::size_t(text.size()) + 1;
    return size;
}

QList<QByteArray> Utf8(const QStringList& lines)
{
    QList<QByteArray> texts;
    for (const QString& line : lines)
        texts.append(line.toUtf8());
    return texts;
}

} // namespace

// One block with the pointers first and the texts after them, as the system returns it.
char** backtrace_symbols(void* const* addresses, int count)
{
    gCalls.append({addresses, count});
    if (!gHasMemory)
        return nullptr;
    gBlockSize = SizeOf(gTexts);
    gBlock = static_cast<char**>(std::malloc(gBlockSize));
    char* text = reinterpret_cast<char*>(gBlock + gTexts.size());
    for (int i = 0; i < gTexts.size(); ++i) {
        gBlock[i] = text;
        text = std::strcpy(text, gTexts.at(i).constData()) + gTexts.at(i).size() + 1;
    }
    return gBlock;
}

// The linker redirects every call of free in this program here. Freed memory can no longer be read.
extern "C" void __real_free(void* memory);
extern "C" void __wrap_free(void* memory);
extern "C" void __wrap_free(void* memory)
{
    if (memory && memory == gBlock) {
        if (++gFrees > 1)
            return;
        std::memset(memory, '#', gBlockSize);
    }
    __real_free(memory);
}

class tst_FrameLinesCalls : public QObject
{
    Q_OBJECT

private slots:
    void lines_data()
    {
        QTest::addColumn<QList<QByteArray>>("texts");
        const QByteArray line("3   libfoo.dylib                        0x00000000000abcde _ZN3Foo3barEv + 52");
        QList<QByteArray> twentyOne;
        for (int i = 0; i < 21; ++i)
            twentyOne.append(QByteArray::number(i) + "  " + line);
        QTest::newRow("none") << QList<QByteArray>();
        QTest::newRow("one") << QList<QByteArray>{line};
        QTest::newRow("the same twice") << QList<QByteArray>{line, line};
        QTest::newRow("21") << twentyOne;
        QTest::newRow("an empty one between") << QList<QByteArray>{line, "", line};
        QTest::newRow("blanks at both ends") << QList<QByteArray>{"  " + line + "  "};
        QTest::newRow("an Objective-C method")
            << QList<QByteArray>{"4   AppKit   0x00007fff20a8b5c1 -[NSApplication run] + 586"};
        QTest::newRow("beyond ASCII") << QList<QByteArray>{"0   \xC3\xA4\xF0\x9F\x98\x80.dylib  0x1 main + 1"};
    }
    void lines()
    {
        QFETCH(QList<QByteArray>, texts);
        void* addresses[21] = {};
        for (int skipped = 0; skipped < 3; ++skipped) {
            Start(texts);
            const QStringList lines = FrameLines::Of(addresses, int(texts.size()), skipped);
            QCOMPARE(gFrees, 1);
            QCOMPARE(gCalls.size(), 1);
            QCOMPARE(gCalls.first().iAddresses, static_cast<void* const*>(addresses));
            QCOMPARE(gCalls.first().iCount, texts.size());
            QCOMPARE(Utf8(lines), texts.mid(skipped));
        }
    }

    void noMemory()
    {
        Start({"0   a   0x1 main + 1", "1   a   0x2 start + 1"});
        gHasMemory = false;
        void* addresses[2] = {};
        QCOMPARE(FrameLines::Of(addresses, 2), QStringList());
        QCOMPARE(gCalls.size(), 1);
        QCOMPARE(gCalls.first().iAddresses, static_cast<void* const*>(addresses));
        QCOMPARE(gCalls.first().iCount, 2);
        QCOMPARE(gFrees, 0);
    }
};

QTEST_APPLESS_MAIN(tst_FrameLinesCalls)

#include "tst_FrameLinesCalls.moc"
