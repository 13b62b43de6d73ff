#include "ForgedStack.h"
#include "FrameText.h"
#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/StackTrace.h>

#include <QtCore/QFileInfo>
#include <QtTest/QtTest>

#include <cstdio>
#include <vector>

using TestSupport::Scenario;

namespace {

const QString kLog = QStringLiteral("app.log");
const QString kNone = QStringLiteral("Unable to obtain the stack trace");
constexpr int kAllLevels = 63;

// A body of a few bytes, another at each place, or the compiler may make one function of two.
template <int Place>
void FewBytes()
{
    asm volatile("nop\n nop\n nop\n nop" : : "i"(Place) : "memory");
}

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

template <typename Function>
const char* CodeOf(Function* function)
{
    return reinterpret_cast<const char*>(function);
}

QByteArray Program()
{
    return QFileInfo(QCoreApplication::applicationFilePath()).fileName().toUtf8();
}

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

// What the log has of the trace, apart from what its own thread and timers say.
QList<QByteArray> BodiesOfTrace()
{
    QList<QByteArray> bodies;
    for (const QByteArray& body : LogText::Bodies(LogText::Read(kLog))) {
        if (body.contains("StackTrace") || body.contains("Module") || body.startsWith("<no stamp>"))
            bodies += body;
    }
    return bodies;
}

int Compare(const QList<QByteArray>& actual, const QList<QByteArray>& expected)
{
    if (actual == expected)
        return 0;
    std::fprintf(stderr, "actual:\n%s\nexpected:\n%s\n", actual.join('\n').constData(),
                 expected.join('\n').constData());
    return 1;
}

// Stack, mask.
const Scenario logs("logs", [](const QStringList& arguments) {
    const Expected expected = ExpectedOf(arguments.value(0));
    const int mask = arguments.value(1).toInt();
    Logger::GetInstance()->SetLevel(mask);
    Logger::SetLoggerFileName(kLog, false);
    const ForgedStack stack(expected.iStack);
    const QByteArray text = StackTrace::TraceCode().toUtf8();
    Logger::StopLogging();
    return Compare({text}, {expected.iText}) + Compare(BodiesOfTrace(), LogOf(expected, mask));
});

const Scenario logsTwice("logsTwice", [](const QStringList&) {
    const Expected expected = ExpectedOf(QStringLiteral("all kinds"));
    Logger::GetInstance()->SetLevel(LoggerDefs::Debug | LoggerDefs::Trace);
    Logger::SetLoggerFileName(kLog, false);
    const ForgedStack stack(expected.iStack);
    StackTrace::TraceCode();
    Logger::GetInstance()->SetLevel(LoggerDefs::Trace);
    StackTrace::TraceCode();
    Logger::StopLogging();
    return Compare(BodiesOfTrace(),
                   LogOf(expected, LoggerDefs::Debug | LoggerDefs::Trace) + LogOf(expected, LoggerDefs::Trace));
});

const Scenario flagIsNotAsked("flagIsNotAsked", [](const QStringList& arguments) {
    const Expected expected = ExpectedOf(QStringLiteral("all kinds"));
    Logger::SetStackTrace(arguments.value(0) == QLatin1String("on"));
    Logger::GetInstance()->SetLevel(kAllLevels);
    Logger::SetLoggerFileName(kLog, false);
    const ForgedStack stack(expected.iStack);
    const QByteArray text = StackTrace::TraceCode().toUtf8();
    Logger::StopLogging();
    return Compare({text}, {expected.iText}) + Compare(BodiesOfTrace(), LogOf(expected, kAllLevels));
});

const Scenario afterTheLog("afterTheLog", [](const QStringList& arguments) {
    const Expected expected = ExpectedOf(QStringLiteral("all kinds"));
    Logger::GetInstance()->SetLevel(kAllLevels);
    Logger::SetLoggerFileName(kLog, false);
    if (arguments.value(0) == QLatin1String("cleanup"))
        Logger::Cleanup();
    else
        Logger::StopLogging();
    const ForgedStack stack(expected.iStack);
    return Compare({StackTrace::TraceCode().toUtf8()}, {expected.iText}) + Compare(BodiesOfTrace(), {});
});

} // namespace

class tst_StackTraceLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stack_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* const name : {"no frame", "one frame", "all kinds"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void stack()
    {
        QFETCH(QString, name);
        const Expected expected = ExpectedOf(name);
        const ForgedStack stack(expected.iStack);
        QCOMPARE(StackTrace::TraceCode(), QString::fromUtf8(expected.iText));
    }

    void log_data()
    {
        QTest::addColumn<QString>("stack");
        QTest::addColumn<int>("mask");
        for (const char* const stack : {"no frame", "one frame", "all kinds"}) {
            const auto row = [stack](const char* levels, int mask) {
                QTest::addRow("%s, %s", stack, levels) << QString::fromLatin1(stack) << mask;
            };
            row("nothing", 0);
            row("debug", LoggerDefs::Debug);
            row("trace", LoggerDefs::Trace);
            row("debug and trace", LoggerDefs::Debug | LoggerDefs::Trace);
            row("all but debug and trace", kAllLevels & ~(LoggerDefs::Debug | LoggerDefs::Trace));
            row("everything", kAllLevels);
        }
    }
    void log()
    {
        QFETCH(QString, stack);
        QFETCH(int, mask);
        const auto result = TestSupport::RunScenario("logs", {stack, QString::number(mask)});
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void logFollowsTheLevel()
    {
        const auto result = TestSupport::RunScenario("logsTwice");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void flagOfTheLoggerIsNotAsked_data()
    {
        QTest::addColumn<QString>("flag");
        QTest::newRow("on") << QStringLiteral("on");
        QTest::newRow("off") << QStringLiteral("off");
    }
    void flagOfTheLoggerIsNotAsked()
    {
        QFETCH(QString, flag);
        const auto result = TestSupport::RunScenario("flagIsNotAsked", {flag});
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void worksWhenTheLogIsOver_data()
    {
        QTest::addColumn<QString>("end");
        QTest::newRow("after the stop") << QStringLiteral("stop");
        QTest::newRow("after cleanup") << QStringLiteral("cleanup");
    }
    void worksWhenTheLogIsOver()
    {
        QFETCH(QString, end);
        const auto result = TestSupport::RunScenario("afterTheLog", {end});
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }
};

NEROLT_TEST_MAIN(tst_StackTraceLog)

#include "tst_StackTraceLog.moc"
