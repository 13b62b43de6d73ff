#include "LoggingThread.h"

#include "LogDelivery.h"
#include "LogFile.h"
#include "Swallow.h"
#include "WriteSignals.h"
#include "WriterDispatcher.h"

#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

#include <algorithm>
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

WriterDispatcher& SetDispatcher(QThread& thread)
{
    auto* const dispatcher = new WriterDispatcher;
    thread.setEventDispatcher(dispatcher); // the thread's from now on
    return *dispatcher;
}

} // namespace

LoggingThread::LoggingThread(const QString& path)
    : RegisteredThread(QStringLiteral("logging thread"), nullptr)
    , iWorker(std::make_unique<LoggerWorker>(path))
    , iFile(iWorker->findChild<LogFile*>(QString(), Qt::FindDirectChildrenOnly))
    , iDelivery(new LogDelivery(*iWorker, iQueue))
    , iQueue(*iDelivery, SetDispatcher(*this), MostWaiting())
{
    // When the framework gets no memory for what an object needs to receive anything at all, half a connection is left
    // behind in the sender. Not so where the object is its own sender.
    connect(iWorker.get(), &QObject::objectNameChanged, iWorker.get(), [] {});
    iWorker->moveToThread(this);
}

// A thread that never ran has nobody else to do it.
LoggingThread::~LoggingThread()
{
    if (!isRunning() && !isFinished())
        delete eventDispatcher();
}

void LoggingThread::Deliver()
{
    iDelivery->All();
}

// The worker goes here: its connection with the end of the thread takes memory.
void LoggingThread::run()
{
    const NotCancelled always;
    WriteSignals::Block();
    WaitForEvents();
    Deliver();
    iQueue.Close();
    iWorker.reset();
}

// Without an application object the framework's event loop would warn; at the end of a process the framework can no
// longer do even that. Without memory for an event loop the thread does without one until there is some.
void LoggingThread::WaitForEvents()
{
    while (!isInterruptionRequested()) {
        bool isOutOfMemory = true;
        Swallow([&] {
            if (QCoreApplication::instance()) {
                QEventLoop loop;
                loop.exec();
                requestInterruption();
            } else {
                eventDispatcher()->processEvents(QEventLoop::WaitForMoreEvents);
            }
            isOutOfMemory = false;
        });
        if (isOutOfMemory) {
            Swallow([this] { eventDispatcher()->processEvents(QEventLoop::AllEvents); });
            msleep(kOutOfMemoryMs);
        }
    }
}
