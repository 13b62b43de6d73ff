#pragma once

#include "BatchQueue.h"

#include <NeroltOrvaneBase/RegisteredThread.h>

#include <memory>

class LogDelivery;
class LogFile;
class LoggerWorker;

/// The thread that writes the log, and the batches on their way to it.
///
/// It goes on when it gets no memory, ends no process by a write, and is not terminated from outside.
class LoggingThread : public RegisteredThread // clazy:exclude=missing-qobject-macro
{
public:
    /// For the file at `path`. Nobody's child, on the calling thread. Throws std::bad_alloc.
    explicit LoggingThread(const QString& path);
    ~LoggingThread() override;

    /// The one that writes. It is there until the thread has run.
    LoggerWorker& Worker() { return *iWorker; }
    /// The one that it writes.
    LogFile& File() { return *iFile; }
    /// The worker's batches. Whatever is left in the end is written before the worker goes.
    BatchQueue& Queue() { return iQueue; }
    const BatchQueue& Queue() const { return iQueue; }
    /// The rest that comes with the stop goes to the next file, too: it needs protection until it is there.
    void KeepRest() { iIsRestKept = true; }
    bool IsRestKept() const { return iIsRestKept; }
    /// Writes what there is. For another thread when this one does not run.
    void Deliver();

protected:
    void run() override;

private:
    Q_DISABLE_COPY(LoggingThread)

    void WaitForEvents();

    std::unique_ptr<LoggerWorker> iWorker;
    LogFile* iFile; ///< the worker's child
    LogDelivery* iDelivery; ///< as well
    BatchQueue iQueue;
    bool iIsRestKept = false;
};
