#pragma once

#include "Load.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

/// The files of a load: their names and expected contents.
namespace LoadFiles {

/// The outcome of a call, as far as it is known when it returns.
enum class Record : char {
    Stopped, ///< by the level: must not be in the files
    Accepted, ///< must be there once
    Open, ///< the level changed meanwhile
    Late, ///< accepted, but the log was locked so long that the line may be dropped
};
using Records = std::vector<Record>;

QString Path(int file);
/// The size of a file before the log opens it.
qint64 PreparedSize(int file);
/// The names of the rotated files of a file, oldest first.
QStringList Rotated(int file);

/// Reads all files and compares. Returns the first difference or an empty text, and sets the counts of the outcome.
QByteArray Check(const std::vector<Records>& records, int files, int resets, Load::Outcome& outcome);

} // namespace LoadFiles
