#include "NeroltTarget.h"

#include <QtCore/QDir>

namespace {

// Set before the log starts.
struct CrashFile
{
    explicit CrashFile(const Scenario& scenario)
    {
        if (!Logger::SetCrashFile(QDir(scenario.iFolder).filePath(QStringLiteral("lines.crash"))))
            throw Failure{QStringLiteral("no crash file")};
    }
};

/// The library with a crash file.
class NeroltCrashFileTarget : CrashFile, public NeroltTarget<Line::Level::Information>
{
public:
    explicit NeroltCrashFileTarget(const Scenario& scenario)
        : CrashFile(scenario)
        , NeroltTarget(scenario)
    {
    }
};

} // namespace

Results RunScenario(const Scenario& scenario)
{
    return Run<NeroltCrashFileTarget>(scenario).Measure();
}
