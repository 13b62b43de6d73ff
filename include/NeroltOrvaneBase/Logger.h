#pragma once

#include "Export.h"
#include "LoggerDefs.h"

#include <QtCore/QMutex>
#include <QtCore/QString>

#include <atomic>
#include <cstddef>

class IErrorReporter;
class LoggerAgent;

/// The process-wide log.
///
/// A call formats one line into a buffer in memory. The logging thread writes the file. Before the first
/// SetLoggerFileName lines stay in the buffer. After StopLogging every call is ignored. No call throws or reports a
/// failure, except that GetInstance may throw std::bad_alloc. Calls that start, change or stop the log wait for the
/// disk. Meanwhile warnings, errors and exceptions of other threads wait for those calls; information, debug and trace
/// messages wait for a second at most and are then dropped. No other call waits for the disk.
///
/// If the disk stands still, lines queue in memory, up to 1 GiB or a quarter of the machine's memory, whichever is
/// less. Lines beyond that are dropped, and a warning in their place says how many.
///
/// Test the level before you build a message:
/// @code
/// if (Logger::GetInstance()->GetLevel() & LoggerDefs::Debug)
///     Logger::LogDebug("Cache::Load", QStringLiteral("entries %1").arg(count));
/// @endcode
///
/// Any thread may log, but no signal handler may: the interrupted thread may hold a lock that the handler would wait
/// for forever. If a thread is terminated during a call (QThread::terminate, at a cancellation point of the error
/// reporter), the call is unwound and the log continues.
///
/// The static functions (LogWarning) use the single instance; the member functions (Warning) do the same for the object
/// they are called on. `func` is the name of the calling function, NUL-terminated UTF-8, or null. Carriage returns and
/// line feeds are removed, so that a message is always a single line.
class NEROLTORVANEBASE_EXPORT Logger
{
public:
    /// Returns the single instance and creates it on first use. The event loop of the thread that calls first drives
    /// the log's timer: call it first on the main thread. Never null. The first call throws std::bad_alloc without
    /// memory.
    static Logger* GetInstance()
    {
        Logger* const instance = iInstance.load(std::memory_order_acquire);
        return instance ? instance : CreateInstance();
    }

    /// Stops the log as the destructor does and destroys the instance. The pointer to it stays valid: later calls do
    /// nothing. Call it at the end of the process, when no other thread uses the logger.
    static void Cleanup();

    /// If the log still runs, logs "stopping logging" and stops it. Blocks as StopLogging does.
    virtual ~Logger();

    /// Writes the buffered lines, stops the logging thread and ends logging for the rest of the process.
    /// Blocks until everything is in the file, and then at most 10 seconds for the thread. If the system refused to
    /// start a logging thread, the calling thread writes the file itself. Call it on the main thread (any thread except
    /// the logging thread may), and before the application object is destroyed: without that object nothing reaches the
    /// logging thread, and the lines in the buffer are lost. A process that is forked while logging runs cannot log:
    /// its calls are ignored, as after this one.
    static void StopLogging();

    /// Starts the log in the file at `path`, and creates the file if it is missing. Its folder must exist. A relative
    /// path refers to the folder that is current during the call. Without `force` only the first call has an effect.
    /// With `force` the log changes files, and the lines in the buffer appear in both. If memory runs out, the log
    /// continues in the previous file or is as if no name had been set. The file rotates by size and age, see
    /// LoggerWorker. Blocks until the previous file is complete. Call it on the main thread (any thread except the
    /// logging thread may).
    static void SetLoggerFileName(const QString& path, bool force);

    /// From now on each accepted line is also in the file at `path`, which is mapped into memory, from before its call
    /// returns until it is in the log: so a line whose call has returned is never lost when the process dies, be it by
    /// SIGKILL. Call it before the first SetLoggerFileName. If a process that used this file has died, the next
    /// SetLoggerFileName completes its log and then logs how many lines it recovered, with code 10 and as
    /// Logger::SetCrashFile. A log that cannot be opened is completed by a later one.
    ///
    /// The file has 4 MiB, and is removed when the log stops. If the disk is so slow that it fills up, each call waits
    /// for at most a second, and its line is then not protected. An empty path ends the protection.
    /// Do not open the file in the process that uses it: closing it would let other processes take it.
    ///
    /// Returns false and changes nothing if the file cannot be made or has no room on the disk, if a living process
    /// uses it, if something else is there, or if the log is stopped. A relative path refers to the current folder. Any
    /// thread may call. Waits for the disk.
    static bool SetCrashFile(const QString& path);

    /// Waits until everything that this thread has logged is in the file, for at most `timeoutMs` milliseconds; less
    /// than 0 counts as 0. Returns false if that takes longer, if there is no file, and if the log is stopped. Also
    /// returns false, once for each thread, after lines of any thread were lost. Any thread may call; the logging
    /// thread gets false.
    static bool Flush(int timeoutMs = 5000);

    /// Lines whose level is in the mask are handed to the logging thread at once. Their callers do not wait for the
    /// disk. The mask is 0 at first. Never blocks.
    static void SetFlushLevels(int mask);

    /// Right after a rotation the logging thread removes the oldest rotated files of this log, until at most `count`
    /// are left that have at most `bytes` bytes together. 0, as at first, or less is no bound. Only regular files are
    /// removed that have a name as LoggerWorker gives it. Any thread may call.
    static void SetRotatedFiles(int count, qint64 bytes);

    /// Returns the path given to SetLoggerFileName, empty before. Valid only until StopLogging, and only on the thread
    /// that sets the name.
    static const QString& GetLoggerFileName();

    /// @name Messages with a code of their level
    /// Information (code 10) does not lock the Logger's mutex. Debug (20) and Trace (25) wait for it for 1000 ms at
    /// most, and are then dropped. Warning (30) waits for it.
    /// @{

    /// One line, if the mask lets its level through.
    static void LogInformation(const char* func, const QString& msg);
    static void LogDebug(const char* func, const QString& msg);
    static void LogTrace(const char* func, const QString& msg);
    static void LogWarning(const char* func, const QString& msg);
    void Information(const char* func, const QString& msg);
    void Debug(const char* func, const QString& msg);
    void Trace(const char* func, const QString& msg);
    void Warning(const char* func, const QString& msg);
    /// @}

    /// @name Errors and exceptions
    /// The caller supplies the code, for the log and for the error reporter. They wait for the Logger's mutex. The
    /// extras are stored even if the mask stops the message. Exceptions are reported with the plain code.
    /// @{

    /// One line, if the mask lets its level through.
    static void LogError(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg,
                         int a, int b);
    static void LogError(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg,
                         const QString& text);
    static void LogError(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, unsigned int x, unsigned int y,
                         const char* func, const QString& msg);
    static void LogException(unsigned int code, const char* func, const QString& msg, int a);
    static void LogUnknownException(unsigned int code, const char* func);
    void Error(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg, int a,
               int b);
    void Error(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg,
               const QString& text);
    void Error(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, unsigned int x, unsigned int y, const char* func,
               const QString& msg);
    void Exception(unsigned int code, const char* func, const QString& msg, int a);
    void UnknownException(unsigned int code, const char* func);
    /// @}

    /// Sets the object that is told of errors and exceptions, or null for none. The log does not own it: it must live
    /// until it is replaced or the log stops. Waits for a reporter that runs on another thread, and for the Logger's
    /// mutex.
    static void SetErrorReporter(IErrorReporter* reporter);

    /// Stores a flag that nothing reads. Waits for the Logger's mutex.
    static void SetStackTrace(bool enabled);
    /// Always returns true, whatever was set.
    static bool StackLoggingEnabled();

    /// Replaces the mask. A new logger has the mask Error | Exception. Waits for the Logger's mutex.
    void SetLevel(int mask);
    /// Returns the mask, 0 once the log is stopped. A single load: never blocks.
    int GetLevel() const { return iActiveLevel.load(std::memory_order_relaxed); }
    /// Returns whether every bit of `level` is in the mask and the log is not stopped. Never blocks.
    bool LoggingEnabled(LoggerDefs::LogValues level) const;
    /// LoggingEnabled(LoggerDefs::Trace). Never blocks.
    bool TraceLoggingEnabled() const;
    /// The same, but first waits for the Logger's mutex.
    static bool LoggingEnabledTrace();

    /// Replaces the mask and logs that as information, if the old or the new mask lets it through. Lines that are
    /// logged meanwhile are handed over at once. If the mask is LoggerDefs::kLockedLevel, returns false and logs that.
    /// Returns false if the log is stopped. Waits for the Logger's mutex.
    static bool ResetLoggingLevel(int mask);

private:
    Logger();
    Q_DISABLE_COPY(Logger)

    // The storage outlives the object: a thread that logs after Cleanup finds a stopped logger, not freed memory.
    static void* operator new(std::size_t size);
    static void operator delete(void* memory);

    static Logger* CreateInstance();
    template <typename Call>
    void WithAgentWaiting(const Call& call);
    template <typename Call>
    void WithAgentReporting(const Call& call);
    template <typename Call>
    void WithAgentOrDrop(const Call& call);
    static void CompleteInterrupted(const QString& newPath);
    void End(const char* func, const char* farewell, bool withPath);

    // The list of threads exists before any logger: it handles forks. Its lock also comes first.
    friend class RegisteredThread;
    static int UnlockForList();
    static void LockAgain(int times);
    static void BeforeFork();
    static void AfterFork();
    static void BeginInChild();

    friend class LoggerAgent; // has the Logger's masks

    static std::atomic<Logger*> iInstance;
    // The mask, 0 without an agent: the level test of every call site is this one load.
    static std::atomic<int> iActiveLevel;
    static std::atomic<int> iFlushLevels;

    QRecursiveMutex iMutex;
    std::atomic<LoggerAgent*> iAgent;
};
