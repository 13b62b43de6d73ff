#include "FrameLines.h"
#include "LogIf.h"
#include "StackFrame.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/StackTrace.h>

#include <QtCore/QStringBuilder>

#include <array>
#include <execinfo.h>

namespace {

constexpr const char* kFunc = "StackTrace::TraceCode";

QString Describe(const QString& line)
{
    TraceInfo frame = StackFrame::Parse(line);
    if (!frame.iFunctionName.startsWith(QLatin1String("-[")) && !StackFrame::Demangle(frame.iFunctionName))
        LogIf::Debug(kFunc, [&] { return QLatin1String("demangle failed for FunctionName ") + frame.iFunctionName; });
    QString text = StackFrame::Text(frame);
    Logger::LogDebug(kFunc, text);
    LogIf::Debug(kFunc, [&] { return QLatin1String("function name ") + line; });
    return text;
}

// All but the first, which is TraceCode itself. Whoever asks may be in trouble already: when memory ends, the frames so
// far must do.
void Describe(void* const* addresses, int count, QString& result) noexcept
{
    try {
        const QStringList lines = FrameLines::Of(addresses, count, 1);
        for (const QString& line : lines)
            result += Describe(line) % QLatin1String("\r\n");
    } catch (...) {
        return;
    }
}

} // namespace

QString StackTrace::TraceCode()
{
    // Here and not in a function of its own: the frame that is left out is this one.
    std::array<void*, 21> addresses = {};
    const int count = ::backtrace(addresses.data(), int(addresses.size()));
    QString result;
    if (count > 0)
        Describe(addresses.data(), count, result);
    else
        result = QStringLiteral("Unable to obtain the stack trace");
    Logger::LogTrace(kFunc, result);
    return result;
}
