#include "LoggingThread.h"

#include "BatchPool.h"
#include "LogLine.h"
#include "Swallow.h"
#include "WriteSignals.h"
#include "WriterDispatcher.h"
#include "WriterThread.h"

#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtCore/QDateTime>
#include <QtCore/QEventLoop>

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

// A thread that never ran has nobody else to do it.
LoggingThread::~LoggingThread()
{
    if (!isRunning() && !isFinished())
        delete eventDispatcher();
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

// The worker goes here: its connection with the end of the thread takes memory.
void LoggingThread::run()
{
    const NotCancelled always;
    WriteSignals::Block();
    WriterThread::StandBack();
    Swallow(
        [this] { connect(eventDispatcher(), &QAbstractEventDispatcher::aboutToBlock, &iWorker, &BatchPool::Idle); });
    WaitForEvents();
    Deliver();
    iQueue.Close();
    delete &iWorker;
}

// Without memory for an event loop it does without one until there is some.
void LoggingThread::WaitForEvents()
{
    bool ended = false;
    while (!ended) {
        Swallow([&] {
            QEventLoop loop;
            loop.exec();
            ended = true;
        });
        if (!ended) {
            Swallow([this] { eventDispatcher()->processEvents(QEventLoop::AllEvents); });
            msleep(kOutOfMemoryMs);
        }
    }
}
