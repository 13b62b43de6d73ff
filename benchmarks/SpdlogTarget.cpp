#include "Run.h"

#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

namespace {

constexpr size_t kQueueSize = 8192;

spdlog::level::level_enum SpdlogLevel(Line::Level level)
{
    switch (level) {
    case Line::Level::Debug:
        return spdlog::level::debug;
    case Line::Level::Warning:
        return spdlog::level::warn;
    case Line::Level::Information:
        break;
    }
    return spdlog::level::info;
}

/// A logger of spdlog with a pattern that makes the same lines.
class SpdlogTarget
{
public:
    using Message = Line::StdMessage;

    template <Line::Level level>
    void Write(const std::string& text)
    {
        iLogger->log(SpdlogLevel(level), text);
    }

    void WriteIfOn(const std::string& text)
    {
        if (iLogger->should_log(spdlog::level::debug))
            iLogger->debug(text);
    }

    void HandOver() { iLogger->flush(); }

    void Finish()
    {
        iLogger->flush();
        iLogger.reset();
        spdlog::shutdown();
    }

protected:
    void Use(std::shared_ptr<spdlog::logger> logger, Line::Level level)
    {
        iLogger = std::move(logger);
        iLogger->set_pattern("%Y-%m-%d %H:%M:%S.%e" + Line::Head(level).toStdString() + "%v");
        iLogger->set_level(SpdlogLevel(level));
    }

    static spdlog::sink_ptr FileSink(const QString& path)
    {
        return std::make_shared<spdlog::sinks::basic_file_sink_mt>(path.toStdString());
    }

private:
    std::shared_ptr<spdlog::logger> iLogger;
};

/// One thread writes what is in a queue; callers wait when it is full.
class SpdlogAsyncTarget : public SpdlogTarget
{
public:
    SpdlogAsyncTarget(const QString& path, Line::Level level)
    {
        spdlog::init_thread_pool(kQueueSize, 1);
        Use(std::make_shared<spdlog::async_logger>("bench", FileSink(path), spdlog::thread_pool(),
                                                   spdlog::async_overflow_policy::block),
            level);
    }
};

/// Callers write, one at a time.
class SpdlogSyncTarget : public SpdlogTarget
{
public:
    SpdlogSyncTarget(const QString& path, Line::Level level)
    {
        Use(std::make_shared<spdlog::logger>("bench", FileSink(path)), level);
    }
};

} // namespace

Results RunSpdlogAsync(const Scenario& scenario)
{
    return RunOn<SpdlogAsyncTarget>(scenario);
}

Results RunSpdlogSync(const Scenario& scenario)
{
    return RunOn<SpdlogSyncTarget>(scenario);
}
