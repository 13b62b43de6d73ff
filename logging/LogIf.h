#pragma once

#include <NeroltOrvaneBase/Logger.h>

/// Each logs the text that `message` builds. If the level is off, the text is not built.
namespace LogIf {

template <typename Message>
void Debug(const char* func, const Message& message)
{
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Debug))
        Logger::LogDebug(func, message());
}

template <typename Message>
void Trace(const char* func, const Message& message)
{
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Trace))
        Logger::LogTrace(func, message());
}

template <typename Message>
void Warning(const char* func, const Message& message)
{
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Warning))
        Logger::LogWarning(func, message());
}

} // namespace LogIf
