#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

/// The log files of a scenario.
namespace Files {

/// Where the log of a scenario begins.
QString LogPath(const QString& folder);
/// All files that the log has become, oldest first.
QStringList All(const QString& folder);
qint64 TotalSize(const QString& folder);
/// Waits until the files hold at least that many bytes. False after a minute without them.
bool WaitForSize(const QString& folder, qint64 bytes);

} // namespace Files
