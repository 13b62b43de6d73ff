#pragma once

#include "Load.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

/// The files of a load: their names, and what must stand in them.
namespace LoadFiles {

/// What is known of a call when it has returned.
enum class Record : char {
    Stopped, ///< by the level: must not be in the files
    Accepted, ///< must be there once
    Open, ///< the level changed meanwhile
    Late, ///< accepted, but the log was locked for so long that the line may be dropped
};
using Records = std::vector<Record>;

QString Path(int file);
/// The size that a file has before the log opens it.
qint64 PreparedSize(int file);
/// The names of what was rotated out of a file, oldest first.
QStringList Rotated(int file);

/// Reads all files and compares. The first difference, or nothing; fills in the counts of the outcome.
QByteArray Check(const std::vector<Records>& records, int files, int resets, Load::Outcome& outcome);

} // namespace LoadFiles
