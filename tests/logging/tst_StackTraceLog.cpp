#include "ForgedStack.h"
#include "FrameText.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/StackTrace.h>

#include <QtTest/QtTest>

#include <utility>
#include <vector>

namespace {

const QString kNone = QStringLiteral("Unable to obtain the stack trace");

} // namespace

// With external linkage, or they would have no names.
namespace Kinds {

Q_DECL_EXPORT Q_NEVER_INLINE void Simple()
{
    FewBytes<__LINE__>();
}

Q_DECL_EXPORT Q_NEVER_INLINE void WithArguments(const QString&, int)
{
    FewBytes<__LINE__>();
}

} // namespace Kinds

extern "C" {

Q_DECL_EXPORT Q_NEVER_INLINE void stack_plain()
{
    FewBytes<__LINE__>();
}

// The letter of a type in the runtime's eyes.
Q_DECL_EXPORT Q_NEVER_INLINE void f()
{
    FewBytes<__LINE__>();
}

Q_DECL_EXPORT Q_NEVER_INLINE void Kalendar()
{
    FewBytes<__LINE__>();
}
}

// The name that a method has in Objective-C.
asm(".text\n"
    ".globl \"-[Probe run]\"\n"
    ".type \"-[Probe run]\", \"function\"\n"
    "\"-[Probe run]\":\n"
    "stack_method: nop\n nop\n nop\n nop\n"
    ".size \"-[Probe run]\", . - \"-[Probe run]\"\n");
extern "C" const char stack_method;

namespace {

// What the system says of an address, and what the trace makes of it.
struct Frame
{
    const char* iAddress;
    QByteArray iImage;
    QByteArray iSymbol;
    quintptr iOffset;
    QByteArray iText;
    bool iIsQuiet; // nothing is said about demangling
    QByteArray iFunctionName; // what is said not to be demangled
};

QByteArray Text(const QByteArray& module, const char* memory, const QByteArray& name, const QByteArray& offset)
{
    return "Module " + module + " Memory 0x" + QByteArray::number(quintptr(memory), 16).rightJustified(16, '0')
        + " FunctionName " + name + " Offset " + offset;
}

// A stack of all kinds; the first is TraceCode's own and is left out.
QList<Frame> AllKinds()
{
    const QByteArray program = Program();
    const char* const simple = CodeOf(&Kinds::Simple);
    const char* const other = CodeOf(&Kinds::WithArguments) + 1;
    const char* const plain = CodeOf(&stack_plain) + 3;
    const char* const letter = CodeOf(&f) + 2;
    const auto* const nowhere = reinterpret_cast<const char*>(quintptr(0x1234));
    const char* const calendar = CodeOf(&Kalendar) + 1;
    const char* const method = &stack_method + 1;
    const QByteArray longName("Kinds::WithArguments(QString const&, int)");
    return {
        {simple + 3, program, "_ZN5Kinds6SimpleEv", 3, {}, true, {}},
        {simple + 4, program, "_ZN5Kinds6SimpleEv", 4, Text(program, simple + 4, "Kinds::Simple()", "4"), true, {}},
        {other, program, "_ZN5Kinds13WithArgumentsERK7QStringi", 1, Text(program, other, longName, "1"), true, {}},
        // The offset equals the index, and so it is lost.
        {plain, program, "stack_plain", 3, Text(program, plain, "stack_plain", ""), false, "stack_plain"},
        {letter, program, "f", 2, Text(program, letter, "float", "2"), true, {}},
        {nowhere, "???", "0x0", 0x1234, Text("???", nowhere, "0x0", "4660"), false, "0x0"},
        {method, program, "-[Probe run]", 1, Text(program, method, "-[Probe run]", "1"), true, {}},
        {calendar, program, "Kalendar", 1, Text(program + " Kalendar", calendar, "", "1"), false, ""},
    };
}

// What the stack of this name gives.
struct Expected
{
    std::vector<const void*> iStack;
    QList<Frame> iFrames;
    QByteArray iText;
};

Expected ExpectedOf(const QString& name)
{
    if (name == QLatin1String("no frame"))
        return {{}, {}, kNone.toUtf8()};
    Expected expected{{}, AllKinds(), {}};
    if (name == QLatin1String("one frame"))
        expected.iFrames = expected.iFrames.mid(0, 1);
    for (int i = 0; i < expected.iFrames.size(); ++i) {
        expected.iStack.push_back(expected.iFrames[i].iAddress);
        expected.iText += i > 0 ? expected.iFrames[i].iText + "\r\n" : QByteArray();
    }
    return expected;
}

QList<QByteArray> LogOf(const Expected& expected, int mask)
{
    const QByteArray debug = "|20|Debug|StackTrace::TraceCode|";
    QList<QByteArray> bodies;
    for (int i = 1; i < expected.iFrames.size() && (mask & LoggerDefs::Debug); ++i) {
        const Frame& frame = expected.iFrames[i];
        if (!frame.iIsQuiet)
            bodies += debug + "demangle failed for FunctionName " + frame.iFunctionName;
        bodies += debug + frame.iText;
        bodies += debug + "function name "
            + FrameText(i, frame.iImage, frame.iAddress, frame.iSymbol, frame.iOffset).toUtf8();
    }
    if (mask & LoggerDefs::Trace)
        bodies += "|25|Trace|StackTrace::TraceCode|" + QByteArray(expected.iText).replace("\r\n", "");
    return bodies;
}

} // namespace

class tst_StackTraceLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void log_data()
    {
        QTest::addColumn<QString>("stack");
        QTest::addColumn<int>("mask");
        const std::pair<const char*, int> masks[]
            = {{"nothing", 0},
               {"debug", LoggerDefs::Debug},
               {"trace", LoggerDefs::Trace},
               {"all but debug and trace", LogScenario::kAllLevels & ~(LoggerDefs::Debug | LoggerDefs::Trace)},
               {"everything", LogScenario::kAllLevels}};
        for (const char* const stack : {"no frame", "one frame", "all kinds"}) {
            for (const auto& [levels, mask] : masks)
                QTest::addRow("%s, %s", stack, levels) << QString(stack) << mask;
        }
    }
    void log()
    {
        QFETCH(QString, stack);
        QFETCH(int, mask);
        const Expected expected = ExpectedOf(stack);
        const ForgedStack forged(expected.iStack);
        Logger::SetStackTrace(mask == 0); // which nobody asks
        QString text;
        const QList<QByteArray> lines = LogScenario::LoggedBy([&text] { text = StackTrace::TraceCode(); }, mask);
        QCOMPARE(text, QString::fromUtf8(expected.iText));
        QCOMPARE(lines, LogOf(expected, mask));
    }
};

NEROLT_TEST_MAIN(tst_StackTraceLog)

#include "tst_StackTraceLog.moc"
