#include "Log.h"

#include <glog/logging.h>

namespace {

class GlogLog : public Log
{
public:
    void Write(int number) override { LOG(INFO) << iMessages[size_t(number)]; }

private:
    const std::vector<std::string> iMessages = Messages::All<std::string>([](std::string text) { return text; });
};

std::unique_ptr<Log> Make()
{
    FLAGS_timestamp_in_logfile_name = false;
    FLAGS_stderrthreshold = google::GLOG_FATAL;
    google::InitGoogleLogging("kills");
    google::InstallFailureSignalHandler();
    google::SetLogSymlink(google::GLOG_INFO, "");
    google::SetLogDestination(google::GLOG_INFO, "kills.log");
    return std::make_unique<GlogLog>();
}

const LogKinds kinds{{6, "glog with its signal handler", Make, nullptr}};

} // namespace
