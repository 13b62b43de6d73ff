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
    /// For the thread with these events, which must live until Close. `capacity` is how many bytes may wait.
    BatchQueue(QAbstractEventDispatcher& reader, qint64 capacity);
    Q_DISABLE_COPY(BatchQueue)

    /// Adds a batch and wakes the reader. What does not fit, and what comes then until the reader has taken the rest,
    /// is dropped and counted; after Close everything is dropped. Any thread may call.
    void Put(const QByteArray& batch) noexcept;

    /// Calls `write` with each batch that there is, and lets go of it. `write` does not throw. Returns how many lines
    /// were dropped behind these batches. Only on the reader's thread.
    template <typename Write>
    qint64 Deliver(const Write& write)
    {
        const qint64 dropped = TakeAll();
        for (QByteArray& batch : iTaken) {
            const qint64 size = SizeOf(batch);
            write(std::exchange(batch, QByteArray()));
            Written(size);
        }
        iTaken.clear();
        return dropped;
    }

    /// The reader has come to its end. Any thread may call.
    void Close();

private:
    bool Append(const QByteArray& batch) noexcept;
    qint64 TakeAll();
    void Written(qint64 size);
    static qint64 SizeOf(const QByteArray& batch);

    const qint64 iCapacity;
    QMutex iMutex;
    qint64 iWaiting = 0; ///< bytes, with those taken and not yet written
    qint64 iDropped = 0; ///< lines
    QAbstractEventDispatcher* iReader; ///< null when closed
    std::vector<QByteArray> iPut;
    std::vector<QByteArray> iTaken; ///< the reader's, whose memory the callers use next
};
