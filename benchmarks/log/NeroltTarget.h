#pragma once

#include "Run.h"

#include <NeroltOrvaneBase/Logger.h>

/// The library.
template <Line::Level level>
class NeroltTarget
{
public:
    using Message = Line::QtMessage;
    static constexpr Check::Head kHead = Check::Head::Common;

    explicit NeroltTarget(const Scenario& scenario)
    {
        Logger::GetInstance()->SetLevel(Bit());
        Logger::SetLoggerFileName(scenario.LogPath(), false);
    }

    // While it starts, rotates and stops.
    static QByteArrayList Others()
    {
        return {"continued from bench-",       "|10|Information|Logger::StopLogging|",
                "|30|Debug|LoggerAgent::",     "|20|Debug|LoggerAgent::",
                "|20|Debug|RegisteredTimer::", "|20|Debug|RTimerGarbageCollector::"};
    }

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

    void Finish() { Logger::StopLogging(); }

private:
    static constexpr LoggerDefs::LogValues Bit()
    {
        if (level == Line::Level::Debug)
            return LoggerDefs::Debug;
        return level == Line::Level::Warning ? LoggerDefs::Warning : LoggerDefs::Information;
    }
};
