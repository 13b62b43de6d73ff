#pragma once

#include <QtCore/QString>

#include <array>
#include <atomic>

/// The processes that CrashKills starts.
namespace CrashLives {

constexpr int kMostThreads = 4;
constexpr int kMostRuns = 8;
constexpr int kLastLines = 4; ///< of a process that completes a log: all levels that pass
constexpr int kRefused = 77; ///< exit code of a process that could not live, or not die, as it should

const QString kLog = QStringLiteral("app.log");
const QString kOtherLog = QStringLiteral("other.log");
const QString kCrashFile = QStringLiteral("app.crash");
constexpr const char* kSaid = "said";

/// The scenario of a process that dies. Its arguments are numbers: run, threads, pause, life, death, whether it changes
/// files, half the calls before its death, whether they count from a rename, the write in which it dies, and its
/// percent.
constexpr const char* kKilled = "crashKilled";
/// The scenario of a process that completes the log and stops as it should. Its argument is the run.
constexpr const char* kCompleted = "crashCompleted";

/// What the processes tell, in memory that outlives them.
struct Said
{
    std::atomic<int> iStarted{0};
    std::atomic<int> iLogging{0};
    std::array<std::atomic<int>, kMostRuns * kMostThreads> iReturned{}; ///< calls, of each speaker
};

/// What is in the file of that name, which must have the size of Said.
Said* Share(const QByteArray& path);

} // namespace CrashLives
