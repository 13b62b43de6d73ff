#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

/// Reads the log.
namespace LogText {

/// The whole file, empty if it cannot be read.
QByteArray Read(const QString& path);

/// The lines of a text, without their line feeds. An incomplete last line is returned too, with "<no line feed>" after
/// it.
QList<QByteArray> Lines(const QByteArray& text);

/// What follows the time stamp, from the first bar on: "|code|level|function|message". A line that does not begin with
/// a valid time stamp is returned whole, with "<no stamp>" before it.
QByteArray Body(const QByteArray& line);

/// The bodies of all lines.
QList<QByteArray> Bodies(const QByteArray& text);

} // namespace LogText
