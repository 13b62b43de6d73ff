#pragma once

#include "Run.h"

#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

/// A logger of spdlog with a pattern that makes the same lines, and a file that rotates at the same size.
class SpdlogTarget
{
public:
    using Message = Line::StdMessage;
    static constexpr Check::Head kHead = Check::Head::Common;

    static QByteArrayList Others() { return {}; }
    void Write(const std::string& text) { iLogger->info(text); }

    void WriteIfOn(const std::string& text)
    {
        if (iLogger->should_log(spdlog::level::debug))
            iLogger->debug(text);
    }

    void Finish()
    {
        iLogger->flush();
        iLogger.reset();
        spdlog::shutdown();
    }

protected:
    SpdlogTarget(std::shared_ptr<spdlog::logger> logger, const Scenario& scenario)
        : iLogger(std::move(logger))
    {
        iLogger->set_pattern("%Y-%m-%d %H:%M:%S.%e" + Line::Head(Line::Level::Information).toStdString() + "%v");
        iLogger->set_level(spdlog::level::info);
        if (scenario.iIsFlushed)
            iLogger->flush_on(spdlog::level::info);
    }

    static spdlog::sink_ptr FileSink(const Scenario& scenario)
    {
        constexpr size_t kMaxBytes = 104857600;
        constexpr size_t kMaxFiles = 100;
        return std::make_shared<spdlog::sinks::rotating_file_sink_mt>(scenario.LogPath().toStdString(), kMaxBytes,
                                                                      kMaxFiles);
    }

private:
    std::shared_ptr<spdlog::logger> iLogger;
};
