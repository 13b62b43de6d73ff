#pragma once

#include <QtCore/QtGlobal>

#include <optional>

class QByteArray;
class QString;

/// One open, one write, one close: a log file is never held open, so that it can be moved and removed at any time.
namespace LogFile {

/// What there is to know of a file after it was written.
struct State
{
    qint64 iSize = 0;
    std::optional<qint64> iCreatedMSecs; ///< see FileUtilities::GetMSecs
};

/// Appends the bytes, creating the file when missing. Nothing when it cannot be opened.
std::optional<State> Append(const QString& path, const QByteArray& bytes);

/// Replaces the file's content, creating it when missing. False when it cannot be opened.
bool Replace(const QString& path, const QByteArray& bytes);

} // namespace LogFile
