#include "LogFile.h"
#include "Swallow.h"

#include <NeroltOrvaneBase/LoggerWorker.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>

// There is nobody to tell that there is no memory: what the writer was at is dropped, and it goes on.

namespace {

LogFile& FileOf(const LoggerWorker& worker)
{
    return *worker.findChild<LogFile*>(QString(), Qt::FindDirectChildrenOnly);
}

} // namespace

LoggerWorker::LoggerWorker(const QString& fileName)
    : iFileName(fileName)
{
    new LogFile(fileName, this); // goes to the logging thread with its parent
}

LoggerWorker::~LoggerWorker()
{
    Swallow([this] { RegisteredTimer::Cleanup(this, false); }); // children go all the same
}

void LoggerWorker::onStartWorker()
{
    iRunning = true;
}

void LoggerWorker::onLogMessage(const QByteArray& batch)
{
    if (!iRunning)
        return;
    Swallow([&] { iQueue.append(batch); });
    Log(true);
}

void LoggerWorker::onLog()
{
    if (RegisteredTimer* const timer = iPendingWrite) {
        timer->stop();
        iPendingWrite = nullptr;
        Swallow([&] { RegisteredTimer::CleanupTimer(timer, this); });
    }
    Log(true);
}

void LoggerWorker::onStopWorker(const QByteArray& batch)
{
    iRunning = false;
    while (!iQueue.isEmpty())
        Log(false);
    Swallow([&] { FileOf(*this).Append(batch); });
}

void LoggerWorker::Log(bool scheduleMore)
{
    if (iQueue.isEmpty())
        return;
    Swallow([this] {
        const QByteArray batch = iQueue.takeFirst(); // or it would be tried again
        FileOf(*this).Append(batch);
    });
    if (scheduleMore && !iQueue.isEmpty())
        Swallow([this] { iPendingWrite = RegisteredTimer::singleShot(0, this, SLOT(onLog())); });
}

// As onLogMessage for one batch after the other. Returns how many are done with.
int LoggerWorker::WriteTogether(const LogBatches& batches)
{
    int done = 1;
    if (iRunning && iQueue.isEmpty())
        Swallow([&] { done = FileOf(*this).Append(batches).iBatches; });
    else
        Swallow([&] { onLogMessage(QByteArray(batches.iBytes, batches.At(0).iSize)); });
    return done;
}
