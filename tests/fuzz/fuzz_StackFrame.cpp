#include "Fuzz.h"

#include "logging/StackFrame.h"

// Parses any line. The parts are in the line, and the text contains all of them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const QString line = QString::fromUtf8(reinterpret_cast<const char*>(bytes), int(size));
    TraceInfo frame = StackFrame::Parse(line);
    FUZZ_CHECK(line.contains(frame.iMemory));
    FUZZ_CHECK(line.contains(frame.iOffset));
    FUZZ_CHECK(!frame.iMemory.contains(QLatin1Char(' ')));
    FUZZ_CHECK(!frame.iOffset.contains(QLatin1Char(' ')));
    FUZZ_CHECK(frame.iModule.size() + frame.iFunctionName.size() <= line.size() + 1);

    const QString raw = frame.iFunctionName;
    const bool isDemangled = StackFrame::Demangle(frame.iFunctionName);
    FUZZ_CHECK(isDemangled || frame.iFunctionName == raw);
    FUZZ_CHECK(StackFrame::Text(frame)
               == QStringLiteral("Module %1 Memory %2 FunctionName %3 Offset %4")
                      .arg(frame.iModule, frame.iMemory, frame.iFunctionName, frame.iOffset));
    return 0;
}
