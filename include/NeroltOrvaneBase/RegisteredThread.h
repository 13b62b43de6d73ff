#pragma once

#include "Export.h"

#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QThread>

#include <atomic>
#include <mutex>

/// A named thread that is in a list of all such threads for its whole life, with a flag that asks its work to end.
///
/// The log also locks the list while it starts, changes its file or stops, which may take as long as the disk needs.
/// The list is a static object: do not create, list or destroy such a thread after main has returned.
class NEROLTORVANEBASE_EXPORT RegisteredThread : public QThread
{
    Q_OBJECT

public:
    /// Adds the thread to the list. Without memory for that the thread works but is not listed. Any thread may call.
    /// May wait for the list.
    RegisteredThread(QObject* parent, const QString& name) noexcept;

    /// Removes the thread from the list. It neither stops a running thread nor waits for it: call quit() and wait()
    /// first. If the thread still runs, logs a warning with its name, and then QThread ends the process.
    ~RegisteredThread() noexcept override;

    /// Returns the name that was given to the constructor. Any thread may call.
    const QString& Name() const noexcept;

    /// Logs a warning for each registered thread, in the order of their construction, with its name and whether it
    /// runs. Call it at the end of the host to see which threads still exist. Any thread may call. The list is locked
    /// meanwhile. In a forked process the list begins with the thread that forked, the only one that exists there.
    static void LogThreads() noexcept;

    /// Sets this thread's flag, which is never reset, and logs its name at debug level. Any thread may call.
    void SetInterrupted() noexcept;
    /// Returns whether SetInterrupted was called. The thread's work polls it. Any thread may call. Never blocks.
    bool IsInterrupted() const noexcept;

private:
    Q_DISABLE_COPY(RegisteredThread)
    // Starting and stopping the log creates and destroys a registered thread while the Logger is locked. The list is
    // always locked first.
    friend class Logger;
    friend class LoggingThread;

    // The same, but throws std::bad_alloc instead of ending the process when the framework gets no memory.
    RegisteredThread(const QString& name, QObject* parent);

    static void WatchForks() noexcept;
    static void BeginInChild(bool holdsList) noexcept;
    static std::unique_lock<QRecursiveMutex> LockList() noexcept;

    static QList<RegisteredThread*> iThreads;
    static QRecursiveMutex iMutex;

    QString iName;
    std::atomic<bool> iInterrupted;
};
