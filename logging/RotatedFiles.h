#pragma once

#include <QtCore/QByteArray>

#include <optional>
#include <vector>

/// The files that a log was rotated to. Names are those that the system has, and a log's is its path.
namespace RotatedFiles {

/// In the order of the times in their names, oldest first. No value when the log's folder cannot be read. Throws
/// std::bad_alloc.
std::optional<std::vector<QByteArray>> Of(const QByteArray& log);

/// How many the Logger's log leaves, and how many bytes they have together; 0 for any. Any thread may call.
void SetBound(int count, qint64 bytes);

/// Removes the oldest ones until that holds. Throws std::bad_alloc.
void Prune(const QByteArray& log);

} // namespace RotatedFiles
