#include "Run.h"

#include <log4cplus/asyncappender.h>
#include <log4cplus/fileappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

namespace {

/// log4cplus: one thread writes what is in a queue; callers wait when it is full.
class Log4cplusTarget
{
public:
    using Message = Line::StdMessage;
    static constexpr Check::Head kHead = Check::Head::Common;

    explicit Log4cplusTarget(const Scenario& scenario)
        : iLogger(log4cplus::Logger::getRoot())
    {
        constexpr unsigned int kQueueSize = 8192;
        iLogger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
        iLogger.addAppender(
            log4cplus::SharedAppenderPtr(new log4cplus::AsyncAppender(FileAppender(scenario), kQueueSize)));
    }

    static QByteArrayList Others() { return {}; }
    void Write(const std::string& text) { LOG4CPLUS_INFO_STR(iLogger, text); }
    void WriteIfOn(const std::string& text) { LOG4CPLUS_DEBUG_STR(iLogger, text); }
    void Finish() { log4cplus::Logger::shutdown(); }

private:
    // Not flushed after every line, as it would be without being asked.
    static log4cplus::SharedAppenderPtr FileAppender(const Scenario& scenario)
    {
        constexpr long kMaxBytes = 104857600;
        constexpr int kMaxFiles = 100;
        log4cplus::SharedAppenderPtr file(
            new log4cplus::RollingFileAppender(scenario.LogPath().toStdString(), kMaxBytes, kMaxFiles, false));
        file->setLayout(std::make_unique<log4cplus::PatternLayout>(
            "%D{%Y-%m-%d %H:%M:%S.%q}" + Line::Head(Line::Level::Information).toStdString() + "%m%n"));
        return file;
    }

    log4cplus::Initializer iInitializer;
    log4cplus::Logger iLogger;
};

} // namespace

Results RunScenario(const Scenario& scenario)
{
    return Run<Log4cplusTarget>(scenario).Measure();
}
