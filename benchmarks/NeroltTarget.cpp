#include "Run.h"

#include <NeroltOrvaneBase/Logger.h>

namespace {

LoggerDefs::LogValues BitOf(Line::Level level)
{
    switch (level) {
    case Line::Level::Debug:
        return LoggerDefs::Debug;
    case Line::Level::Warning:
        return LoggerDefs::Warning;
    case Line::Level::Information:
        break;
    }
    return LoggerDefs::Information;
}

/// The library.
class NeroltTarget
{
public:
    using Message = Line::QtMessage;

    NeroltTarget(const QString& path, Line::Level level)
    {
        Logger::GetInstance()->SetLevel(BitOf(level));
        Logger::SetLoggerFileName(path, false);
    }

    template <Line::Level level>
    void Write(const QString& text)
    {
        if constexpr (level == Line::Level::Debug)
            Logger::LogDebug(Line::kFunction, text);
        else if constexpr (level == Line::Level::Warning)
            Logger::LogWarning(Line::kFunction, text);
        else
            Logger::LogInformation(Line::kFunction, text);
    }

    void WriteIfOn(const QString& text)
    {
        if (Logger::GetInstance()->GetLevel() & LoggerDefs::Debug)
            Logger::LogDebug(Line::kFunction, text);
    }

    // The line that says so takes the others along.
    void HandOver() { Logger::ResetLoggingLevel(Logger::GetInstance()->GetLevel()); }
    void Finish() { Logger::StopLogging(); }
};

} // namespace

Results RunNerolt(const Scenario& scenario)
{
    return RunOn<NeroltTarget>(scenario);
}
