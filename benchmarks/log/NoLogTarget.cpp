#include "Run.h"

namespace {

/// No log: what a program is like that does not log at all.
class NoLogTarget
{
public:
    using Message = Line::QtMessage;
    static constexpr Check::Head kHead = Check::Head::None;

    explicit NoLogTarget(const Scenario&) { }

    static QByteArrayList Others() { return {}; }
    void Write(const QString&) { }
    void WriteIfOn(const QString&) { }
    void Finish() { }
};

} // namespace

Results RunScenario(const Scenario& scenario)
{
    return Run<NoLogTarget>(scenario).Measure();
}
