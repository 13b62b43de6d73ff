#include "Log.h"

#include <NeroltOrvaneBase/Logger.h>

void StartLog(const QString& path)
{
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::SetLoggerFileName(path, false);
    // Says so in the log, and hands it over at once.
    Logger::ResetLoggingLevel(LoggerDefs::Information);
}
