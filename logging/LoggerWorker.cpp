#include "BatchPool.h"
#include "LogFile.h"
#include "Swallow.h"

#include <NeroltOrvaneBase/LoggerWorker.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>


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
    iQueue.append(batch);
    Log(true);
}

void LoggerWorker::onLog()
{
    if (RegisteredTimer* const timer = iPendingWrite) {
        timer->stop();
        iPendingWrite = nullptr;
        RegisteredTimer::CleanupTimer(timer, this);
    }
    Log(true);
}

void LoggerWorker::onStopWorker(const QByteArray& batch)
{
    iRunning = false;
    iQueue.append(batch);
    while (!iQueue.isEmpty())
        Log(false);
    BatchPool::Idle();
}

void LoggerWorker::Log(bool scheduleMore)
{
    if (iQueue.isEmpty())
        return;
    WriteBatch(iQueue.first());
    BatchPool::GiveBack(iQueue.takeFirst());
    if (scheduleMore && !iQueue.isEmpty())
        iPendingWrite = RegisteredTimer::singleShot(0, this, SLOT(onLog()));
}

void LoggerWorker::WriteBatch(const QByteArray& batch)
{
    findChild<LogFile*>(QString(), Qt::FindDirectChildrenOnly)->Append(batch);
}
