#pragma once

#include <QtCore/QStringList>

#include <optional>

/// What the user asked for.
struct Options
{
    QString iFolder; ///< where everything goes, absolute
    bool iIsOwnFolder = true; ///< whether the folder is the host's alone
    int iThreads = 4;
    int iLines = 250000; ///< of each thread
    bool iIsReporting = true; ///< whether a report for the support is made

    qint64 AllLines() const { return qint64(iThreads) * iLines; }
};

namespace ExitCode {

constexpr int kDone = 0;
constexpr int kFailed = 1; ///< the log does not hold what it should
constexpr int kBadInput = 2; ///< nothing was done and nothing created
constexpr int kInterrupted = 130; ///< as the shell has it

} // namespace ExitCode

/// Reads the command line. When that is all there is to do (help, version, bad input), says so and returns the exit
/// code.
std::optional<int> ReadOptions(const QStringList& arguments, Options& options);

/// Tells what is wrong with the input, on stderr. Returns ExitCode::kBadInput.
int RejectInput(const QString& what);
