#include "BatchPool.h"
#include "LogFile.h"
#include "Rotation.h"
#include "Swallow.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/LoggerWorker.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>

#include <optional>

LoggerWorker::LoggerWorker(const QString& fileName)
    : iFileName(fileName)
{
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
    const std::optional<LogFile::State> file = LogFile::Append(iFileName, batch);
    if (!file)
        return;
    // In plain numbers: the framework's local times would double the cost of a batch.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (Rotation::IsDue(file->iSize, file->iCreatedMSecs, now))
        Rotate(QDateTime::fromMSecsSinceEpoch(now));
}

void LoggerWorker::Rotate(const QDateTime& now)
{
    const QString rotatedPath = Rotation::RotatedPath(iFileName, now);
    // A file that cannot be moved is emptied all the same, or the log would grow without bounds.
    QFile::rename(iFileName, rotatedPath);
    if (LogFile::Replace(iFileName, Rotation::HeaderLine(rotatedPath, now)))
        FileUtilities::SetTime(iFileName, now, FileTimeCreation, false);
}
