#pragma once

#include <QtCore/QStringList>

#include <optional>

/// The options on the command line.
struct Options
{
    QString iFolder; ///< the absolute path of the folder for everything
    bool iIsOwnFolder = true; ///< whether the folder is the host's alone
    int iThreads = 4;
    int iLines = 250000; ///< per thread
    bool iIsCrashing = false; ///< whether to be killed in the middle
    bool iIsReporting = true; ///< whether to make a report for technical support

    qint64 AllLines() const { return qint64(iThreads) * iLines; }
};

namespace ExitCode {

constexpr int kDone = 0;
constexpr int kFailed = 1; ///< the log is wrong
constexpr int kBadInput = 2; ///< nothing was created
constexpr int kInterrupted = 130; ///< like the shell's for SIGINT

} // namespace ExitCode

/// Reads the command line. If nothing else is to be done (help, version, bad input), prints a message and returns the
/// exit code.
std::optional<int> ReadOptions(const QStringList& arguments, Options& options);

/// Prints to stderr what is wrong with the input. Returns ExitCode::kBadInput.
int RejectInput(const QString& what);
