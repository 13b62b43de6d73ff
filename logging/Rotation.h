#pragma once

#include <QtCore/QtGlobal>

#include <optional>

class QByteArray;

/// When a log file is rotated, and how the files are then named and begun. Times are in milliseconds since the epoch.
/// May be called until the very end of the process.
namespace Rotation {

constexpr qint64 kMaxBytes = 104857600; ///< that a file may have

/// Whether a file of `size` bytes is due. The age counts in whole seconds, and is zero when the creation time is
/// unknown.
bool IsDue(qint64 size, std::optional<qint64> createdMSecs, qint64 nowMSecs);

/// The path that the log file at `path` is moved to, in the encoding of `path`.
QByteArray RotatedPath(const QByteArray& path, qint64 nowMSecs);

/// Whether a log file at `path` could have been moved to `rotatedPath`.
bool IsRotatedPath(const QByteArray& path, const QByteArray& rotatedPath);

/// The first line of the file that follows, line feed included. The path is in UTF-8.
QByteArray HeaderLine(const QByteArray& rotatedPath, qint64 nowMSecs);

} // namespace Rotation
