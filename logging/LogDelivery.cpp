#include "LogDelivery.h"

#include "LogLine.h"
#include "Swallow.h"

#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtCore/QDateTime>

#include <utility>

namespace {

constexpr int kTickMs = 2;
constexpr int kMostQuietTicks = 10;
constexpr unsigned int kDroppedCode = 30;

} // namespace

LogDelivery::LogDelivery(LoggerWorker& worker, BatchQueue& queue)
    : QObject(&worker)
    , iWorker(worker)
    , iQueue(queue)
{
}

void LogDelivery::All()
{
    Until(iQueue.Count());
}

void LogDelivery::Until(quint64 until)
{
    for (LogBatches next = iQueue.Next(until); next.iCount > 0; next = iQueue.Next(until))
        iQueue.Done(iWorker.WriteTogether(next));
    const qint64 dropped = iQueue.TakeDropped();
    if (dropped == 0)
        return;
    Swallow([this, dropped] {
        QByteArray line;
        LogLine::Append(line, QDateTime::currentMSecsSinceEpoch(), kDroppedCode, "Warning",
                        "LoggerAgent::SendBufferToThread",
                        QString::number(dropped) + QLatin1String(" lines dropped, too much was waiting for the disk"));
        iWorker.onLogMessage(line);
    });
}

bool LogDelivery::event(QEvent* event)
{
    if (event->type() != BatchQueue::Arrival::ItsType())
        return QObject::event(event);
    Until(iQueue.Until(static_cast<BatchQueue::Arrival&>(*event)));
    Look();
    return true;
}

// Without memory for a timer the next batch wakes the thread again.
void LogDelivery::Look()
{
    iQuietTicks = 0;
    if (iTimerId == 0)
        Swallow([this] { iTimerId = startTimer(kTickMs); });
    while (iTimerId == 0 && !iQueue.Rest())
        All();
}

// The thread has looked by being here.
void LogDelivery::timerEvent(QTimerEvent*)
{
    if (++iQuietTicks > 1)
        iQueue.Shrink();
    if (iQuietTicks < kMostQuietTicks)
        return;
    if (iQueue.Rest())
        killTimer(std::exchange(iTimerId, 0));
    else
        All(); // there was no memory to tell of it
}
