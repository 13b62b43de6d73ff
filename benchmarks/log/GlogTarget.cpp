#include "Run.h"

#include <glog/logging.h>

namespace {

/// glog: callers write, one at a time, through the C library's file buffer, with a head of its own.
class GlogTarget
{
public:
    using Message = Line::StdMessage;
    static constexpr Check::Head kHead = Check::Head::Own;

    explicit GlogTarget(const Scenario& scenario)
    {
        FLAGS_timestamp_in_logfile_name = false;
        FLAGS_max_log_size = 100;
        FLAGS_stderrthreshold = google::GLOG_FATAL;
        google::InitGoogleLogging("bench");
        if (scenario.iKind == QLatin1String("killed"))
            google::InstallFailureSignalHandler();
        google::SetLogSymlink(google::GLOG_INFO, "");
        google::SetLogDestination(google::GLOG_INFO, scenario.LogPath().toLocal8Bit().constData());
    }

    // The first lines of a file.
    static QByteArrayList Others()
    {
        return {"Log file created at: ", "Running on machine: ", "Running duration ", "Log line format: "};
    }

    void Write(const std::string& text) { LOG(INFO) << text; }
    void WriteIfOn(const std::string& text) { VLOG(1) << text; }

    void Finish()
    {
        google::FlushLogFiles(google::GLOG_INFO);
        google::ShutdownGoogleLogging();
    }
};

} // namespace

Results RunScenario(const Scenario& scenario)
{
    return Run<GlogTarget>(scenario).Measure();
}
