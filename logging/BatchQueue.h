#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMutex>

#include <utility>
#include <vector>

class QAbstractEventDispatcher;

/// Batches on their way to the logging thread, in the order in which they were put.
///
/// A queued signal does the same, but makes an event of each batch, in several pieces of memory: three times the
/// instructions for the caller, who finds few of them in the caches when the processor has done something else
/// meanwhile.
class BatchQueue
{
public:
    /// For the thread with these events, which must live until Close.
    explicit BatchQueue(QAbstractEventDispatcher& reader);
    Q_DISABLE_COPY(BatchQueue)

    /// Adds a batch and wakes the reader; after Close the batch is dropped. Any thread may call.
    void Put(const QByteArray& batch);

    /// Calls `write` with each batch that there is, and lets go of it. Only on the reader's thread.
    template <typename Write>
    void Deliver(const Write& write)
    {
        TakeAll();
        for (QByteArray& batch : iTaken)
            write(std::exchange(batch, QByteArray()));
        iTaken.clear();
    }

    /// The reader has come to its end. Any thread may call.
    void Close();

private:
    void TakeAll();

    QMutex iMutex;
    QAbstractEventDispatcher* iReader; ///< null when closed
    std::vector<QByteArray> iPut;
    std::vector<QByteArray> iTaken; ///< the reader's, whose memory the callers use next
};
