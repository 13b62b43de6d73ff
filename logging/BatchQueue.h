#pragma once

#include "LogBatches.h"
#include "LogProgress.h"

#include <QtCore/QEvent>
#include <QtCore/QMutex>

#include <memory>

class QByteArray;
class QObject;
class WriterDispatcher;

/// Batches on their way to the logging thread, in the order in which they were put.
///
/// They are copied into chunks of memory that the queue maps itself. So the host's heap is left alone, the memory of a
/// burst goes back whole, and what waited together can be written together.
class BatchQueue
{
public:
    /// Tells the reader that there are batches. It stands among the other events of its thread where the first of them
    /// was put, and covers those that were put before any other event was posted.
    class Arrival : public QEvent
    {
    public:
        Arrival()
            : QEvent(ItsType())
        {
        }

        static Type ItsType()
        {
            static const int type = registerEventType();
            return Type(type);
        }

    private:
        friend class BatchQueue;

        const std::shared_ptr<quint64> iUntil = std::make_shared<quint64>(0);
    };

    /// For `reader`, which must live until Close, in the thread of `events`. `capacity` is how many bytes the chunks in
    /// use may have.
    BatchQueue(QObject& reader, WriterDispatcher& events, qint64 capacity);
    ~BatchQueue();

    /// Adds a batch. What does not fit, and what comes then until the reader has taken the rest, is dropped and
    /// counted; after Close everything is dropped. With the batch the log is complete up to `mark`. Any thread may
    /// call.
    ///
    /// The reader gets an Arrival when it rests. Else it looks by itself before long, unless this one is wanted at
    /// once.
    void Put(const QByteArray& batch, const CrashFile::Mark& mark, bool atOnce) noexcept;

    /// Tells when batches are done with, also when this is no more. Any thread may call.
    const std::shared_ptr<LogProgress>& Progress() const { return iProgress; }

    /// How many batches have been put. Any thread may call.
    quint64 Count() const;
    /// How far the lines go that have been put.
    CrashFile::Mark LastMark() const;
    /// Lets the reader's thread look whether it is to go on. Any thread may call.
    void Wake();

    /// @name Only for the reader
    /// @{

    /// How many batches this covers. Once it was asked, it covers no more.
    quint64 Until(const Arrival& arrival);
    /// The next batches that may be written together, none of them beyond number `until`. They stay where they are
    /// until Done.
    LogBatches Next(quint64 until);
    /// So many of them were written.
    void Done(int count);
    /// How many lines were dropped behind what there is. 0 while there is something.
    qint64 TakeDropped();
    /// Gives a piece of the memory at hand back.
    void Shrink();
    /// The reader has nothing to do and rests from now on; the memory at hand goes back. False when there is something.
    bool Rest();
    /// The reader has come to its end.
    void Close();
    /// @}

private:
    Q_DISABLE_COPY(BatchQueue)

    struct Chunk;

    void Tell(bool atOnce);
    bool Append(const QByteArray& batch, const CrashFile::Mark& mark);
    bool AddChunk(qint64 size);
    Chunk* RemoveFirst();
    Chunk* TakeSpare();
    static void Unmap(Chunk* chunks);

    const std::shared_ptr<LogProgress> iProgress = std::make_shared<LogProgress>();
    const qint64 iCapacity;
    mutable QMutex iMutex;
    QObject* iReader; ///< null when closed
    WriterDispatcher& iEvents;
    /// Of the last one, when it covers what comes. Without an application object events are dropped unseen.
    std::weak_ptr<quint64> iUntil;
    quint64 iPosts = 0; ///< of events, with that one
    bool iReaderLooks = false;
    quint64 iPut = 0;
    quint64 iTaken = 0;
    CrashFile::Mark iLastMark;
    qint64 iDropped = 0; ///< lines
    qint64 iInUse = 0; ///< bytes of chunks
    Chunk* iFirst = nullptr;
    Chunk* iLast = nullptr;
    Chunk* iSpare = nullptr;
    int iSpares = 0;
};
