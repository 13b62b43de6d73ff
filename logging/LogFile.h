#pragma once

#include <QtCore/QtGlobal>

class QByteArray;
class QString;

/// One open, one write, one close: a log file is never held open, so that it can be moved and removed at any time.
namespace LogFile {

/// Appends the bytes, creating the file when missing. The size of the file afterwards, or -1 when it cannot be opened.
qint64 Append(const QString& path, const QByteArray& bytes);

/// Replaces the file's content, creating it when missing. False when it cannot be opened.
bool Replace(const QString& path, const QByteArray& bytes);

} // namespace LogFile
