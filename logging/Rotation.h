#pragma once

#include <QtCore/QtGlobal>

class QByteArray;
class QDateTime;
class QString;

/// When a log file is rotated, and how the files are then named and begun.
namespace Rotation {

/// Whether a file of `size` bytes that was created at `created` is due at `now`. An unknown (invalid) creation time
/// counts as now.
bool IsDue(qint64 size, const QDateTime& created, const QDateTime& now);

/// The path that the log file at `path` is moved to.
QString RotatedPath(const QString& path, const QDateTime& now);

/// The first line of the file that follows, line feed included.
QByteArray HeaderLine(const QString& rotatedPath, const QDateTime& now);

} // namespace Rotation
