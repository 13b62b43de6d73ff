#pragma once

#include <QtCore/QString>

/// Starts a log at the path, and has its first line on the way into the file.
void StartLog(const QString& path);
