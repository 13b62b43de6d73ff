#include "NeroltTarget.h"

#include <QtCore/QDir>

namespace {

/// The library with a crash file.
class NeroltCrashFileTarget
{
public:
    using Log = NeroltTarget<Line::Level::Information>;
    using Message = Log::Message;
    static constexpr Check::Head kHead = Log::kHead;

    explicit NeroltCrashFileTarget(const Scenario& scenario)
        : iIsSet(Logger::SetCrashFile(QDir(scenario.iFolder).filePath(QStringLiteral("lines.crash"))))
        , iLog(scenario)
    {
        if (!iIsSet)
            throw Failure{QStringLiteral("no crash file")};
    }

    static QByteArrayList Others() { return Log::Others(); }
    void Write(const QString& text) { iLog.Write(text); }
    void WriteIfOn(const QString& text) { iLog.WriteIfOn(text); }
    void Finish() { iLog.Finish(); }

private:
    const bool iIsSet;
    Log iLog;
};

} // namespace

Results RunScenario(const Scenario& scenario)
{
    return Run<NeroltCrashFileTarget>(scenario).Measure();
}
