#pragma once

#include <QtCore/QtGlobal>

#include <optional>

class QByteArray;
class QDateTime;
class QString;

/// When a log file is rotated, and how the files are then named and begun.
namespace Rotation {

/// Whether a file of `size` bytes is due. Times are in milliseconds since the epoch; the age counts in whole seconds,
/// and is zero when the creation time is unknown.
bool IsDue(qint64 size, std::optional<qint64> createdMSecs, qint64 nowMSecs);

/// The path that the log file at `path` is moved to.
QString RotatedPath(const QString& path, const QDateTime& now);

/// The first line of the file that follows, line feed included.
QByteArray HeaderLine(const QString& rotatedPath, const QDateTime& now);

} // namespace Rotation
