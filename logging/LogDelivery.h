#pragma once

#include "BatchQueue.h"

#include <QtCore/QObject>

class LoggerWorker;

/// Brings batches to the worker, on the worker's thread.
///
/// While batches come a timer looks for them, so that who logs need not wake the thread for each: that costs several
/// microseconds. After some quiet ticks it stops, until the next batch wakes the thread.
///
/// Batches keep their order among the events that are posted to the thread.
class LogDelivery : public QObject // clazy:exclude=missing-qobject-macro
{
public:
    /// A child of the worker, to whose thread it goes with it.
    LogDelivery(LoggerWorker& worker, BatchQueue& queue);

    /// Writes what there is, and a line that tells of what was dropped.
    void All();

    bool event(QEvent* event) override;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    Q_DISABLE_COPY(LogDelivery)

    void Until(quint64 until);
    void Look();

    LoggerWorker& iWorker;
    BatchQueue& iQueue;
    int iTimerId = 0;
    int iQuietTicks = 0;
};
