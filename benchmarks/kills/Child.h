#pragma once

#include <QtCore/QByteArray>

#include <atomic>

/// The processes that log, and die.
namespace Child {

enum class Task {
    Crash, ///< SIGSEGV
    Abort,
    Terminate, ///< an exception that nobody catches
    Kill, ///< goes on until somebody kills it
    Cost, ///< prints what a call takes, in nanoseconds
    Recover,
};

struct Job
{
    int iKind; ///< which of the logs
    Task iTask;
    int iPauseUsecs; ///< after each line
    int iLines;
};

/// How many calls have returned, in memory that outlives the process.
using Returned = std::atomic<int>;
constexpr const char* kReturnedFile = "returned";

/// In a file of the size of a Returned.
Returned* Share(const QByteArray& path);

/// In the current folder, which has a file of that name.
int Run(const Job& job);

} // namespace Child
