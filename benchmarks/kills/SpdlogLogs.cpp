#include "Log.h"

#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

namespace {

constexpr const char* kFile = "kills.log";
constexpr size_t kQueueSize = 8192;

class SpdlogLog : public Log
{
public:
    SpdlogLog(std::shared_ptr<spdlog::logger> logger, bool isFlushing)
        : iLogger(std::move(logger))
    {
        iLogger->set_pattern("%Y-%m-%d %H:%M:%S.%e|10|Information|Disk::Scan|%v");
        if (isFlushing)
            iLogger->flush_on(spdlog::level::info);
    }

    void Write(int number) override { iLogger->info(iMessages[size_t(number)]); }

private:
    const std::shared_ptr<spdlog::logger> iLogger;
    const std::vector<std::string> iMessages = Messages::All<std::string>([](std::string text) { return text; });
};

template <bool isFlushing>
std::unique_ptr<Log> MakeSync()
{
    return std::make_unique<SpdlogLog>(spdlog::basic_logger_mt("kills", kFile), isFlushing);
}

template <bool isFlushing>
std::unique_ptr<Log> MakeAsync()
{
    spdlog::init_thread_pool(kQueueSize, 1);
    return std::make_unique<SpdlogLog>(spdlog::basic_logger_mt<spdlog::async_factory>("kills", kFile), isFlushing);
}

const LogKinds kinds{{2, "spdlog synchronous", MakeSync<false>, nullptr},
                     {3, "spdlog synchronous, flushing every line", MakeSync<true>, nullptr},
                     {4, "spdlog asynchronous", MakeAsync<false>, nullptr},
                     {5, "spdlog asynchronous, flushing every line", MakeAsync<true>, nullptr}};

} // namespace
