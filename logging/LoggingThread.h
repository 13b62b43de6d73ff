#pragma once

#include "BatchQueue.h"

#include <NeroltOrvaneBase/RegisteredThread.h>

class LoggerWorker;

/// The thread that writes the log, and the batches on their way to it.
///
/// It goes on when it gets no memory, ends no process by a write, and is not terminated from outside.
class LoggingThread : public RegisteredThread // clazy:exclude=missing-qobject-macro
{
public:
    /// For a worker that it destroys when it has run. Throws std::bad_alloc.
    LoggingThread(QObject* parent, LoggerWorker& worker);
    ~LoggingThread() override;

    /// A batch for the worker. Any thread may call; what is too much is dropped.
    void Put(const QByteArray& batch) noexcept;
    /// Gives the worker what there is, and a line that tells of what was dropped. On this thread, or on another when
    /// this one does not run.
    void Deliver();

protected:
    void run() override;

private:
    Q_DISABLE_COPY(LoggingThread)

    void WaitForEvents();

    LoggerWorker& iWorker;
    BatchQueue iQueue;
};
