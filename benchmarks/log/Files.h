#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

/// The log files of a scenario.
namespace Files {

/// Where the log of a scenario begins.
QString LogPath(const QString& folder);
/// All files that the log has become.
QStringList All(const QString& folder);

} // namespace Files
