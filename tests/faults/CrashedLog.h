#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QList>

/// The lines of a log whose processes died.
namespace CrashedLog {

using Text = QList<QByteArray>;

/// Whether a line is the last one of a file, and has no end.
bool IsTorn(const QByteArray& line);
/// Whether it is the first line of a file that follows a rotated one.
bool IsHeader(const QByteArray& line);
/// Whether the log says it by itself, at a stop or a change of files.
bool IsLogsOwn(const QByteArray& body);
/// The lines that are whole.
qint64 Count(const Text& lines);
/// Lines in the buffer when the log changes its file are in both. Removes them from the other.
void RemoveTwofold(const Text& log, Text& other);
/// What is in the log and its rotated files, in order, without the bytes it was filled with at first.
Text LinesOf(const QDir& folder, const QString& log, qint64 filled);

} // namespace CrashedLog
