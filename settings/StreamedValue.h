#pragma once

#include <QtCore/QByteArray>

/// Values that the framework stores in an INI file as a binary stream.
namespace StreamedValue {

enum class Format { Variant, DateTime };

/// Whether the framework decodes the bytes with memory in proportion to their number, and with few nested calls. False
/// for unknown types, and for streams that end early.
bool IsSafe(const QByteArray& bytes, Format format);

} // namespace StreamedValue
