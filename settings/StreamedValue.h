#pragma once

#include <QtCore/QByteArray>

/// Values that the framework keeps in an INI file as its own binary stream.
namespace StreamedValue {

enum class Format { Variant, DateTime };

/// Whether the framework decodes the bytes without asking for more memory than they are worth, and without going
/// deeper than a few calls. False for types that nobody here knows, and for streams that end early.
bool IsSafe(const QByteArray& bytes, Format format);

} // namespace StreamedValue
