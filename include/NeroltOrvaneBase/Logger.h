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
/// A call formats one line into a buffer in memory; a thread of the log's own writes the file. Until the first
/// SetLoggerFileName lines wait in the buffer; after StopLogging every call is ignored. No call ever throws or reports
/// a failure. Those that start, change or stop the log wait for the disk, and meanwhile warnings, errors and exceptions
/// of other threads wait for them; information, debug and trace messages wait for a second at most and are then
/// dropped. No other call waits for the disk.
///
/// What waits for a disk that stands still is kept, up to 1 GiB or a quarter of the machine's memory, whichever is
/// less. Lines beyond that are dropped, and a warning in their place tells how many.
///
/// Test the level before you build a message, as everybody here does:
/// @code
/// if (Logger::GetInstance()->GetLevel() & LoggerDefs::Debug)
///     Logger::LogDebug("Cache::Load", QStringLiteral("entries %1").arg(count));
/// @endcode
///
/// Any thread may log, but no signal handler: the thread that it interrupts may be within a log call and hold its
/// locks, for which the handler would wait for ever. A thread that is terminated within a call (QThread::terminate,
/// where the error reporter gives it occasion) is unwound through it, and the log goes on.
///
/// The static form (LogWarning) reaches the single instance, the member form (Warning) the object
/// it is called on; they do the same. `func` is the name of the calling function, NUL-terminated UTF-8, null for none.
/// Carriage returns and line feeds are removed, so that a message never makes a second line.
class NEROLTORVANEBASE_EXPORT Logger
{
public:
    /// The single instance, created on first use on the calling thread, whose event loop then drives the log's timer:
    /// call it first on the main thread. Never null; throws std::bad_alloc when there is no memory for a first use.
    static Logger* GetInstance()
    {
        Logger* const instance = iInstance.load(std::memory_order_acquire);
        return instance ? instance : CreateInstance();
    }

    /// Stops the log as the destructor does and destroys the instance, but keeps the pointer to it: calls that come
    /// later do nothing. For the end of the process, when no other thread uses the logger.
    static void Cleanup();

    /// Logs "stopping logging" if the log still runs, and stops it. Blocks as StopLogging does.
    virtual ~Logger();

    /// Writes what is buffered, stops the logging thread and ends logging for the life of the process.
    /// Blocks until everything is in the file, and then at most 10 seconds for the thread. Where the system would not
    /// start a logging thread the calling thread writes the file itself. Call it on the main thread (any thread but the
    /// logging thread may), and before the application object ends: without it nothing reaches the logging thread, and
    /// what is in the buffer is lost. In a copy of the process (fork) that is made while the log runs, it is over from
    /// the start.
    static void StopLogging();

    /// Logs to the file at `path`, created when missing, in a folder that exists; a relative path is taken from the
    /// current folder of this moment. Without `force` only the first name counts; with `force` the log changes files,
    /// and the lines still in the buffer appear in both. Without memory for it the log stands as if no name were set.
    /// The file rotates by size and age, see LoggerWorker. Blocks while the file before it is completed. Call it on the
    /// main thread (any thread but the logging thread may).
    static void SetLoggerFileName(const QString& path, bool force);

    /// The path given to SetLoggerFileName, empty before. Only meaningful until StopLogging, and only on the thread
    /// that sets the name.
    static const QString& GetLoggerFileName();

    /// @name Messages with a code of their level
    /// Information (code 10) takes no lock of the Logger's. Debug (20) and Trace (25) are dropped when its mutex cannot
    /// be had within 1000 ms. Warning (30) waits for it.
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
    /// With a code of the caller's, for the log and for the error reporter. They wait for the Logger's mutex. The
    /// extras are stored also when the filter stops the message. Exceptions are reported with the plain code.
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

    /// Who hears of errors and exceptions; null for nobody. Not owned: it must live until it is replaced or the log
    /// stops. Waits for a reporter that is at work on another thread, and for the Logger's mutex.
    static void SetErrorReporter(IErrorReporter* reporter);

    /// Stores a flag for the host. Waits for the Logger's mutex.
    static void SetStackTrace(bool enabled);
    /// Always true, whatever was set.
    static bool StackLoggingEnabled();

    /// Replaces the mask; the mask of a new logger is Error | Exception. Waits for the Logger's mutex.
    void SetLevel(int mask);
    /// The mask, 0 once the log is stopped. Two loads: never blocks.
    int GetLevel() const { return iLevels.load(std::memory_order_relaxed)->load(std::memory_order_relaxed); }
    /// True when every bit of `level` is in the mask and the log is not stopped. Never blocks.
    bool LoggingEnabled(LoggerDefs::LogValues level) const;
    /// LoggingEnabled(LoggerDefs::Trace). Never blocks.
    bool TraceLoggingEnabled() const;
    /// The same answer, but waits for the Logger's mutex first.
    static bool LoggingEnabledTrace();

    /// Replaces the mask and says so in the log, under the old mask or else the new one, whichever lets information
    /// through. Every line written meanwhile goes to the file at once. False, with a line that says so, when the mask
    /// is LoggerDefs::kLockedLevel; false when the log is stopped. Waits for the Logger's mutex.
    static bool ResetLoggingLevel(int mask);

private:
    Logger();
    Q_DISABLE_COPY(Logger)

    // Storage that outlives the object: a thread that logs after Cleanup finds a stopped logger, not freed memory.
    static void* operator new(std::size_t size);
    static void operator delete(void* memory);

    static Logger* CreateInstance();
    template <typename Call>
    void WithAgentWaiting(const Call& call);
    template <typename Call>
    void WithAgentReporting(const Call& call);
    template <typename Call>
    void WithAgentOrDrop(const Call& call);
    void SetAgent(LoggerAgent* agent);
    void End(const char* func, const char* farewell, bool withPath);

    // The list of threads is there before any logger: it watches for copies of the process. And its lock comes first.
    friend class RegisteredThread;
    static int UnlockForList();
    static void LockAgain(int times);
    static void BeforeCopy();
    static void AfterCopy();
    static void BeginInCopy();

    static std::atomic<Logger*> iInstance;
    static const std::atomic<int> kNoLevels;
    // The agent's mask, or that of no agent: all that the test at a call site reads.
    static std::atomic<const std::atomic<int>*> iLevels;

    QMutex iMutex;
    std::atomic<LoggerAgent*> iAgent;
};
