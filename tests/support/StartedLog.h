#pragma once

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QString>

/// The log as most tests start it.
namespace StartedLog {

const QString kLog = QStringLiteral("app.log");

/// All levels except those whose lines are dropped when they cannot have the log within a second.
constexpr int kAlwaysOn = LoggerDefs::Information | LoggerDefs::Error | LoggerDefs::Warning | LoggerDefs::Exception;

/// Starts the log, or changes its file.
inline void Start(const QString& path = kLog)
{
    Logger::GetInstance()->SetLevel(kAlwaysOn);
    Logger::SetLoggerFileName(path, true);
}

} // namespace StartedLog
