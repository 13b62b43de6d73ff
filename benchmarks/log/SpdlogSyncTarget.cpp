#include "SpdlogTarget.h"

namespace {

/// Callers write, one at a time.
class SpdlogSyncTarget : public SpdlogTarget
{
public:
    explicit SpdlogSyncTarget(const Scenario& scenario)
        : SpdlogTarget(std::make_shared<spdlog::logger>("bench", FileSink(scenario)), scenario)
    {
    }
};

} // namespace

Results RunScenario(const Scenario& scenario)
{
    return Run<SpdlogSyncTarget>(scenario).Measure();
}
