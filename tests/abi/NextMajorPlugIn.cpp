// A plug-in that was built with the next major version of the library.
#include <NeroltOrvaneBase/Logger.h>

extern "C" Q_DECL_EXPORT void LogFromPlugIn(const QString& path)
{
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    Logger::SetLoggerFileName(path, false);
    Logger::LogWarning("plug-in", QStringLiteral("from the plug-in"));
    Logger::StopLogging();
}
