#include "BatchPool.h"
#include "LogFile.h"
#include "Swallow.h"

#include <NeroltOrvaneBase/LoggerWorker.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>

// There is nobody to tell that there is no memory: what the writer was at is dropped, and it goes on.

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
    Swallow([&] { iQueue.append(batch); });
    while (!iQueue.isEmpty())
        Log(false);
    BatchPool::Idle();
}

void LoggerWorker::Log(bool scheduleMore)
{
    if (iQueue.isEmpty())
        return;
    Swallow([this] {
        const QByteArray batch = iQueue.takeFirst(); // or it would be tried again
        WriteBatch(batch);
        BatchPool::GiveBack(batch);
    });
    if (scheduleMore && !iQueue.isEmpty())
        Swallow([this] { iPendingWrite = RegisteredTimer::singleShot(0, this, SLOT(onLog())); });
}

void LoggerWorker::WriteBatch(const QByteArray& batch)
{
    findChild<LogFile*>(QString(), Qt::FindDirectChildrenOnly)->Append(batch);
}
