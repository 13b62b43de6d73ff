#include "LoggingThread.h"

#include "BatchPool.h"
#include "LogLine.h"
#include "Swallow.h"
#include "WriteSignals.h"
#include "WriterDispatcher.h"
#include "WriterThread.h"

#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtCore/QDateTime>

#include <algorithm>
#include <pthread.h>
#include <unistd.h>

namespace {

constexpr qint64 kMostWaiting = qint64(1) << 30;
constexpr unsigned long kOutOfMemoryMs = 10;

// What may wait for a disk that stands still: beyond it the host would pay for its log with its life.
qint64 MostWaiting()
{
    const qint64 memory = qint64(::sysconf(_SC_PHYS_PAGES)) * ::sysconf(_SC_PAGESIZE);
    return memory > 0 ? std::min(kMostWaiting, memory / 4) : kMostWaiting;
}

QAbstractEventDispatcher& SetDispatcher(QThread& thread)
{
    thread.setEventDispatcher(new WriterDispatcher); // the thread's from now on
    return *thread.eventDispatcher();
}

} // namespace

LoggingThread::LoggingThread(QObject* parent, LoggerWorker& worker)
    : RegisteredThread(QStringLiteral("logging thread"), parent)
    , iWorker(worker)
    , iQueue(SetDispatcher(*this), MostWaiting())
{
}

[[gnu::hot]] void LoggingThread::Put(const QByteArray& batch) noexcept
{
    iQueue.Put(batch);
}

void LoggingThread::Deliver()
{
    const qint64 dropped = iQueue.Deliver([this](const QByteArray& batch) { iWorker.onLogMessage(batch); });
    if (dropped == 0)
        return;
    Swallow([this, dropped] {
        QByteArray line;
        LogLine::Append(line, QDateTime::currentMSecsSinceEpoch(), 30, "Warning", "LoggerAgent::SendBufferToThread",
                        QString::number(dropped) + QLatin1String(" lines dropped, too much was waiting for the disk"));
        iWorker.onLogMessage(line);
    });
}

void LoggingThread::End()
{
    Deliver();
    iQueue.Close();
}

void LoggingThread::run()
{
    WriteSignals::Block();
    WriterThread::StandBack();
    ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    Swallow(
        [this] { connect(eventDispatcher(), &QAbstractEventDispatcher::aboutToBlock, &iWorker, &BatchPool::Idle); });
    bool ended = false;
    while (!ended) {
        // What comes out of it is want of memory for the loop itself: the log's own slots throw nothing.
        Swallow([&] {
            exec();
            ended = true;
        });
        if (!ended)
            msleep(kOutOfMemoryMs); // somebody may give some back
    }
}
