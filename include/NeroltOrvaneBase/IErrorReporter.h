#pragma once

#include "Export.h"

class QString;

/// The host implements this to be told of every error and exception that the log accepts. See
/// Logger::SetErrorReporter. The destructor is not virtual, so make the host's class final:
///
///     class Reporter final : public IErrorReporter
///     {
///     public:
///         void ReportError(const QString& errorCode, const QString& message) override;
///     };
class NEROLTORVANEBASE_EXPORT IErrorReporter
{
public:
    /// Called on the thread that logged, after the line is in the log's buffer, with the code as
    /// LoggerDefs::ExtraErrorInfoType renders it and the message as the caller gave it (not the formatted line).
    ///
    /// The Logger's mutex is held meanwhile: warnings and errors of other threads wait until this returns. The
    /// implementation may log, create, list and destroy threads, change the log's file and stop the log, all on this
    /// thread. If another thread holds the list of threads, the mutex is released while this one waits for the list.
    /// There is never more than one call at a time, except for errors that the implementation logs itself. The
    /// implementation must not wait for another thread that logs. Exceptions that it throws are ignored.
    virtual void ReportError(const QString& errorCode, const QString& message) = 0;

protected:
    // Not virtual, so that ReportError keeps the first slot. The library never deletes a reporter.
    ~IErrorReporter() = default;
};
