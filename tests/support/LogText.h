#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

/// Reading what the log wrote.
namespace LogText {

/// The whole file; empty when it cannot be read.
QByteArray Read(const QString& path);

/// The lines of a text, without their line feeds. A rest without a line feed is returned too, with "<no line feed>"
/// behind.
QList<QByteArray> Lines(const QByteArray& text);

/// What follows the time stamp, from the first bar on: "|code|level|function|message". A line that does not begin with
/// a stamp of the right shape comes back whole with "<no stamp>" before it.
QByteArray Body(const QByteArray& line);

/// The bodies of all lines.
QList<QByteArray> Bodies(const QByteArray& text);

} // namespace LogText
