#include "LogLoad.h"

#include <NeroltOrvaneBase/Logger.h>

#include <algorithm>
#include <utility>

namespace {

constexpr int kLinesInRound = 1000000; // from all threads; less than 90 bytes each
constexpr int kLinesBetweenReports = 256;

} // namespace

LoadThread::LoadThread(int number, int first, int end)
    : RegisteredThread(nullptr, QStringLiteral("load %1").arg(number))
    , iNumber(number)
    , iFirst(first)
    , iEnd(end)
{
}

void LoadThread::run()
{
    const QString start = LogLoad::MessageStart(iNumber);
    int line = iFirst;
    for (; line != iEnd && !IsInterrupted(); ++line) {
        // The level first: build no message that nobody reads.
        if (Logger::GetInstance()->GetLevel() & LoggerDefs::Information)
            Logger::LogInformation(LogLoad::kFunction, start + QString::number(line));
        if (line % kLinesBetweenReports == 0)
            iLogged.store(line - iFirst, std::memory_order_relaxed);
    }
    iLogged.store(line - iFirst, std::memory_order_relaxed);
}

QString LogLoad::MessageStart(int thread)
{
    return QStringLiteral("thread %1 line ").arg(thread);
}

LogLoad::LogLoad(int threads, int linesPerThread)
    : iLinesPerThread(linesPerThread)
    , iLoggedBefore(size_t(threads), 0)
{
}

LogLoad::~LogLoad()
{
    Interrupt();
    for (const auto& thread : iThreads)
        thread->wait(); // a thread is not destroyed while it runs
}

void LogLoad::StartRound()
{
    const int threads = int(iLoggedBefore.size());
    for (int thread = 0; thread < threads; ++thread)
        iLoggedBefore[size_t(thread)] = Logged(thread);
    iThreads.clear();
    const int first = iRoundEnd;
    iRoundEnd = std::min(iLinesPerThread, first + std::max(1, kLinesInRound / std::max(1, threads)));
    for (int thread = 0; thread < threads; ++thread) {
        iThreads.push_back(std::make_unique<LoadThread>(thread, first, iRoundEnd));
        iThreads.back()->start();
    }
}

bool LogLoad::IsRoundOver() const
{
    return std::all_of(iThreads.begin(), iThreads.end(), [](const auto& thread) { return thread->isFinished(); });
}

bool LogLoad::IsOver() const
{
    return iIsInterrupted || iRoundEnd == iLinesPerThread;
}

void LogLoad::Interrupt()
{
    if (std::exchange(iIsInterrupted, true))
        return;
    for (const auto& thread : iThreads)
        thread->SetInterrupted();
}

int LogLoad::Logged(int thread) const
{
    const auto index = size_t(thread);
    return iLoggedBefore[index] + (index < iThreads.size() ? iThreads[index]->Logged() : 0);
}

qint64 LogLoad::LoggedByAll() const
{
    qint64 sum = 0;
    for (int thread = 0; thread < int(iLoggedBefore.size()); ++thread)
        sum += Logged(thread);
    return sum;
}
