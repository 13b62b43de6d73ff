#include "Run.h"

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/async_frontend.hpp>
#include <boost/log/sinks/text_file_backend.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/log/trivial.hpp>
#include <boost/log/utility/setup/common_attributes.hpp>

namespace logging = boost::log;
namespace expressions = boost::log::expressions;
using Severity = logging::trivial::severity_level;

namespace {

/// Boost.Log: one thread formats and writes what is in a queue without bounds. Its stamps have microseconds.
class BoostTarget
{
public:
    using Message = Line::StdMessage;
    static constexpr Check::Head kHead = Check::Head::Own;

    explicit BoostTarget(const Scenario& scenario)
        : iSink(boost::make_shared<Sink>(Backend(scenario)))
    {
        const std::string head = Line::Head(Line::Level::Information).toStdString();
        iSink->set_formatter(expressions::stream << expressions::format_date_time<boost::posix_time::ptime>(
                                 "TimeStamp", "%Y-%m-%d %H:%M:%S.%f")
                                                 << head << expressions::smessage);
        logging::core::get()->add_sink(iSink);
        logging::core::get()->add_global_attribute("TimeStamp", logging::attributes::local_clock());
        logging::core::get()->set_filter(logging::trivial::severity >= logging::trivial::info);
    }

    static QByteArrayList Others() { return {}; }
    void Write(const std::string& text) { BOOST_LOG_SEV(SourceOfThread(), logging::trivial::info) << text; }
    void WriteIfOn(const std::string& text) { BOOST_LOG_SEV(SourceOfThread(), logging::trivial::debug) << text; }

    void Finish()
    {
        logging::core::get()->remove_sink(iSink);
        iSink->stop();
        iSink->flush();
        iSink.reset();
    }

private:
    using Sink = logging::sinks::asynchronous_sink<logging::sinks::text_file_backend>;
    using Source = logging::sources::severity_logger<Severity>;

    static boost::shared_ptr<logging::sinks::text_file_backend> Backend(const Scenario& scenario)
    {
        constexpr size_t kMaxBytes = 104857600;
        return boost::make_shared<logging::sinks::text_file_backend>(logging::keywords::file_name
                                                                     = scenario.LogPath().toStdString(),
                                                                     logging::keywords::rotation_size = kMaxBytes);
    }

    // The kind without a lock: one for each thread.
    static Source& SourceOfThread()
    {
        static thread_local Source source;
        return source;
    }

    boost::shared_ptr<Sink> iSink;
};

} // namespace

Results RunScenario(const Scenario& scenario)
{
    return Run<BoostTarget>(scenario).Measure();
}
