#include "Run.h"

#include <fcntl.h>
#include <mutex>
#include <unistd.h>

namespace {

/// No logger: copies lines that are there already, and writes them in batches with one open and close for each. The
/// callers do all of it, one at a time, so that a logger whose own thread writes may be faster on several cores.
class CopyWriteTarget
{
public:
    using Message = Line::ReadyLine;
    static constexpr Check::Head kHead = Check::Head::Common;

    explicit CopyWriteTarget(const Scenario& scenario)
        : iPath(scenario.LogPath().toLocal8Bit())
        , iIsShared(scenario.iThreads > 1)
    {
        iBatch.reserve(2 * kBatchBytes);
    }

    static QByteArrayList Others() { return {}; }

    void Write(const std::string& line)
    {
        std::unique_lock<std::mutex> lock(iMutex, std::defer_lock);
        if (iIsShared)
            lock.lock();
        iBatch += line;
        if (iBatch.size() > kBatchBytes)
            WriteBatch();
    }

    // The empty loop.
    void WriteIfOn(const std::string&) { }

    void Finish() { WriteBatch(); }

private:
    static constexpr size_t kBatchBytes = 5000;

    void WriteBatch()
    {
        const int file = ::open(iPath.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
        const ssize_t written = ::write(file, iBatch.data(), iBatch.size());
        ::close(file);
        if (written != ssize_t(iBatch.size()))
            qFatal("cannot write to %s", iPath.constData());
        iBatch.clear();
    }

    const QByteArray iPath;
    const bool iIsShared;
    std::mutex iMutex;
    std::string iBatch;
};

} // namespace

Results RunScenario(const Scenario& scenario)
{
    return Run<CopyWriteTarget>(scenario).Measure();
}
