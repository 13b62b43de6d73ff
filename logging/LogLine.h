#pragma once

#include <QtCore/QtGlobal>

class QByteArray;
class QString;

namespace LogLine {

/// Appends "<local date and time>|code|level|function|message\n" to `buffer`, in UTF-8 and without the line breaks that
/// the fields hold. `msecsSinceEpoch` is the time of the line; null texts count as empty.
/// Grows the buffer only when the line does not fit its capacity. Throws std::bad_alloc.
void Append(QByteArray& buffer, qint64 msecsSinceEpoch, unsigned int code, const char* levelWord, const char* func,
            const QString& msg);

} // namespace LogLine
