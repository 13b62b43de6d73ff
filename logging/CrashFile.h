#pragma once

#include "Descriptor.h"

#include <QtCore/QByteArray>
#include <QtCore/QMutex>

#include <atomic>
#include <memory>
#include <mutex>

namespace CrashFormat {
struct Section;
}

/// Lines on their way to the log, in a file that is mapped into memory. The system keeps what is in it when the process
/// dies, in whatever way.
///
/// There is at most one in a process, for the lines of the Logger. Whoever logs puts lines in, with the agent's mutex
/// held. The writer says how far the log has come, and looks for room for those that wait.
class CrashFile
{
public:
    /// How far the lines go. Both numbers only grow.
    struct Mark
    {
        quint64 iEnd = 0;
        quint64 iUnprotected = 0; ///< lines that found no room
    };

    /// What Recover did.
    struct Recovered
    {
        bool iIsAny = false; ///< interrupted run
        qint64 iLines = 0;
        quint64 iUnprotected = 0;
    };

    /// Makes the file `name` and keeps in it what a dead process left there. Null when that cannot be done, or when it
    /// is in use; whatever is there stays as it is then. `name` is absolute.
    static std::unique_ptr<CrashFile> Open(const QByteArray& name);
    /// Removes the file when everything is in the log.
    ~CrashFile();

    /// @name For the Logger
    /// @{

    /// The file that Logger uses, or null.
    static std::shared_ptr<CrashFile> Used();
    /// From now on `file`, or none. With the agent's mutex held. Lines that wait go along.
    static void Use(std::shared_ptr<CrashFile> file);
    /// Its lines need no protection any more. When it is not used any more.
    void GiveUp();
    /// In a forked process: the file belongs to the parent.
    static void ForgetInChild();
    /// Whether this is the file `name`.
    bool IsAt(const QByteArray& name) const;
    /// Completes the logs of dead processes; `newLog` is the one of lines that had none yet.
    Recovered Recover(const QByteArray& newLog);
    /// The last write was not of lines that are here, and is done.
    void ForgetWrite();
    /// @}

    /// @name For whoever logs, with the agent's mutex held
    /// @{
    static CrashFile* Current() { return iCurrent.load(std::memory_order_relaxed); }
    /// Waits for room without the mutex, which is not owned afterwards when it could not be had in time. Gives up after
    /// a second, and then at once until the writer goes on.
    static void AwaitRoom(std::unique_lock<QRecursiveMutex>& agent, quint64 bytes);
    static void Put(const char* line, int size);
    /// Of the file in use; nothing when there is none.
    static Mark End();
    /// The log that the next lines go to.
    void SetLog(const QByteArray& name);
    /// @}

    /// @name For the writer
    /// @{

    /// It is about to write behind `offset`.
    static void BeginWrite(const Descriptor& file, qint64 offset);
    /// It is done with what comes before the mark.
    static void Done(const Mark& mark);
    /// @}

private:
    struct Mapping
    {
        Mapping(int file, qint64 size);
        ~Mapping();
        Q_DISABLE_COPY(Mapping)

        void Shrink(qint64 size);

        char* iBytes = nullptr;
        qint64 iSize;
    };

    CrashFile(const QByteArray& name, int descriptor, qint64 size);
    Q_DISABLE_COPY(CrashFile)

    static std::unique_ptr<CrashFile> Make(const QByteArray& name, const QByteArray& kept, bool isReplaced);
    bool HasRoom(quint64 bytes) const;
    void Add(const char* line, int size);
    void Continue(CrashFile* before, const Mark& end);
    void Abandon() const;

    // That of the use. Changes with the agent's mutex held, and with that of the use.
    static std::atomic<CrashFile*> iCurrent;

    const QByteArray iName;
    Mapping iMapping;
    const int iDescriptor; ///< keeps the lock
    CrashFormat::Section& iSection;
    quint64 iAt = 0; ///< of the next record in the ring
    QMutex iRecovery;
};
