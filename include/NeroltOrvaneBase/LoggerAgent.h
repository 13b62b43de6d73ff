#pragma once

#include "Export.h"
#include "LoggerDefs.h"

#include <QtCore/QByteArray>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <atomic>
#include <memory>

class CrashFile;
class IErrorReporter;
class LogProgress;
class LoggerWorker;
class LoggingThread;
class QDateTime;
class QDeadlineTimer;
class RegisteredThread;

/// Filters and formats messages, buffers the lines and hands them to the logging thread.
///
/// This class implements Logger, which hosts use instead. An object lives on the thread that created it; that thread's
/// event loop drives the timer that hands over idle lines. Unless stated otherwise a function may be called on any
/// thread except the logging thread, callers serialise their calls as Logger does, and nothing waits for the disk.
///
/// A line is "yyyy-MM-dd hh:mm:ss.zzz|code|level|function|message" and a line feed, in local time and UTF-8. Carriage
/// returns and line feeds inside it are removed; `|` is not escaped.
///
/// Lines are handed over when the buffer passes 5000 bytes, or by the first tick of a 5-second timer after 31 seconds
/// without a new line. While the log is stopped they stay in the buffer, and a buffer that passes 5000 bytes is lost.
class NEROLTORVANEBASE_EXPORT LoggerAgent : public QObject
{
    Q_OBJECT

public:
    /// Creates a stopped agent with the mask `level`.
    LoggerAgent(int level, QObject* parent);
    /// Call StopLogging first: the destructor does not stop a running logging thread.
    ~LoggerAgent() override;

    /// Buffers the message as one line if the mask lets `level` through, and then calls the error reporter for an error
    /// or exception. Waits at most 1000 ms for the buffer, then drops the line. Calls need not be serialised.
    void Log(LoggerDefs::LogValues level, LoggerDefs::ExtraErrorInfoType kind, unsigned int code, const char* func,
             const QString& msg);
    /// The same, after it stores the extras, whatever the mask.
    void Log(LoggerDefs::LogValues level, LoggerDefs::ExtraErrorInfoType kind, unsigned int code, const char* func,
             const QString& msg, int a, int b);
    /// @overload
    void Log(LoggerDefs::LogValues level, LoggerDefs::ExtraErrorInfoType kind, unsigned int code, const char* func,
             const QString& msg, int a);
    /// @overload
    void Log(LoggerDefs::LogValues level, LoggerDefs::ExtraErrorInfoType kind, unsigned int code, const char* func,
             const QString& msg, const QString& text);
    /// @overload
    void Log(LoggerDefs::LogValues level, LoggerDefs::ExtraErrorInfoType kind, unsigned int code, unsigned int x,
             unsigned int y, const char* func, const QString& msg);

    /// Buffers one line, whatever the mask. Waits at most 1000 ms for the buffer, then drops the line. Calls need not
    /// be serialised.
    void DoLog(unsigned int code, const char* func, const char* levelWord, const QString& msg);

    /// Replaces the mask.
    void SetLevel(int level);
    /// Returns the mask. A single load: never blocks.
    int Level() const;
    /// Returns whether every bit of `level` is in the mask.
    bool LoggingEnabled(LoggerDefs::LogValues level) const;
    /// Stores a flag.
    void SetStackTrace(bool enabled);
    /// Returns that flag.
    bool StackLoggingEnabled();
    /// Sets the error reporter, or null for none. The agent does not own it.
    void SetErrorReporter(IErrorReporter* reporter);

    /// Replaces the mask unless it is LoggerDefs::kLockedLevel, and logs that in an information line that is handed
    /// over at once. Returns false if the mask was locked.
    bool ResetLoggingLevel(int mask, unsigned int code, const char* func, const QString& msg);

    /// Completes the file so far, if any, and starts the logging thread on `path`. Blocks as StopLogging does. Throws
    /// std::bad_alloc, and then goes on with the file so far, or has no path and no thread.
    void SetLoggerFileName(const QString& path);
    /// Returns the path that was set last, empty before.
    const QString& FileName() const;
    /// The same. Another thread may change the path meanwhile.
    QString FileNameCopy() const;

    /// Starts the logging thread and the timer; does nothing if they run. If the system refuses the thread, the timer
    /// tries again. May throw std::bad_alloc, and then nothing runs.
    void StartThread();
    /// Blocks until the logging thread has written its queue and the buffer, then at most 10 seconds until the thread
    /// has ended. Does nothing if no thread runs. The buffer keeps its lines, so they also begin the next file. If the
    /// system has refused the thread, the calling thread writes everything.
    void StopLogging();
    /// Hands the buffer to the logging thread and empties it. The thread writes it at once, or within two milliseconds
    /// when it has more than 5000 bytes.
    void SendBufferToThread();

    /// Seconds since 1970-01-01T00:00:00 UTC.
    static qint64 SecsSinceEpoch(const QDateTime& time);

Q_SIGNALS:
    /// A batch of lines for the logging thread.
    void logMessage(const QByteArray& batch);
    /// The last batch. The emission returns when the worker has written everything.
    void stopWorker(const QByteArray& batch);

protected:
    /// Hands the buffer over if no line has come for 31 seconds.
    void timerEvent(QTimerEvent* event) override;

private:
    Q_DISABLE_COPY(LoggerAgent)
    friend class Logger;

    QString ErrorCodeText(LoggerDefs::ExtraErrorInfoType kind, unsigned int code) const;
    QString ExceptionCodeText(LoggerDefs::ExtraErrorInfoType kind, unsigned int code) const;
    void DebugLine(const char* func, const char* msg);
    void HandOver();
    void DeliverBeforeRest(LoggingThread& thread);
    void UseCrashFile(std::shared_ptr<CrashFile> file);
    std::shared_ptr<LogProgress> HandOver(const QDeadlineTimer& deadline, quint64& batches);
    static std::unique_ptr<LoggingThread> NewThread(const QString& path);
    void ChangeFile(const QString& path, std::unique_ptr<LoggingThread> thread);
    void Begin(std::unique_ptr<LoggingThread> thread);
    void Connect(LoggingThread& thread);
    void Launch();
    void WriteRest(LoggingThread& thread);
    void WriteRestHere(LoggingThread& thread);
    static void End(LoggingThread& thread);
    void AdjustTimer();
    void AdjustTimerHere();

    mutable QRecursiveMutex iMutex;
    std::atomic<int> iLevel;
    int iFirstInt = 0;
    int iSecondInt = 0;
    QString iExtraText;
    QString iFirstHex;
    QString iSecondHex;
    IErrorReporter* iErrorReporter = nullptr;
    RegisteredThread* iThread = nullptr;
    QString iFileName;
    QByteArray iBuffer;
    LoggerWorker* iWorker = nullptr;
    bool iStackTrace = false;
    bool iResettingLevel = false;
    std::atomic<bool> iHasLines{false}; ///< in the buffer
    bool iHasLoggersLevel = false; ///< the one that call sites test, instead of iLevel
    int iTimerId = 0;
    std::atomic<qint64> iLastLineSecs{0};
};
