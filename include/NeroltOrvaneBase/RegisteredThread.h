#pragma once

#include "Export.h"

#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QThread>

#include <atomic>
#include <mutex>

/// A thread with a name that is listed for its whole life, and with a flag by which its work can be asked to end.
///
/// The list is locked as well while the log starts, changes its file or stops, and so while the disk takes its time for
/// that. It ends with the process's static objects: make, list and destroy no such thread after main has returned.
class NEROLTORVANEBASE_EXPORT RegisteredThread : public QThread
{
    Q_OBJECT

public:
    /// Enters the thread in the list; without memory for that the thread works, but is not listed. Any thread may call;
    /// may wait for the list.
    RegisteredThread(QObject* parent, const QString& name) noexcept;

    /// Takes the thread off the list. It neither stops nor waits for a thread that runs: call quit() and wait() first.
    /// A running one is named in a warning, before QThread ends the process.
    ~RegisteredThread() noexcept override;

    /// The name given at construction. Any thread may call.
    const QString& Name() const noexcept;

    /// Logs a warning line for each registered thread, in the order of their construction: its name, and whether it
    /// runs. For the end of the host, to see what is still alive. Any thread may call; the list is locked meanwhile.
    /// In a copy of the process (fork) the list begins with the thread that made it, the only one that is there.
    static void LogThreads() noexcept;

    /// Sets this thread's flag, for good, and logs its name at debug level. Any thread may call.
    void SetInterrupted() noexcept;
    /// Whether SetInterrupted was called; for the thread's own work to poll. Any thread may call; never blocks.
    bool IsInterrupted() const noexcept;

private:
    Q_DISABLE_COPY(RegisteredThread)
    // Starting and stopping the log creates and destroys a registered thread while the Logger is locked; the list is
    // locked first, everywhere.
    friend class Logger;
    friend class LoggingThread;

    // The same without an end of the process: what the framework needs memory for throws std::bad_alloc.
    RegisteredThread(const QString& name, QObject* parent);

    static void WatchCopies() noexcept;
    static void BeginInCopy(bool holdsList) noexcept;
    static std::unique_lock<QMutex> LockList() noexcept;

    static QList<RegisteredThread*> iThreads;
    static QMutex iMutex;

    QString iName;
    std::atomic<bool> iInterrupted;
};
