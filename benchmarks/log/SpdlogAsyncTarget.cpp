#include "SpdlogTarget.h"

namespace {

/// One thread writes what is in a queue; callers wait when it is full.
class SpdlogAsyncTarget : public SpdlogTarget
{
public:
    explicit SpdlogAsyncTarget(const Scenario& scenario)
        : SpdlogTarget(MakeLogger(scenario), scenario)
    {
    }

private:
    static std::shared_ptr<spdlog::logger> MakeLogger(const Scenario& scenario)
    {
        constexpr size_t kQueueSize = 8192;
        spdlog::init_thread_pool(kQueueSize, 1);
        return std::make_shared<spdlog::async_logger>("bench", FileSink(scenario), spdlog::thread_pool(),
                                                      spdlog::async_overflow_policy::block);
    }
};

} // namespace

Results RunScenario(const Scenario& scenario)
{
    return Run<SpdlogAsyncTarget>(scenario).Measure();
}
