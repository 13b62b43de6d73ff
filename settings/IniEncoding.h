#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <functional>

/// What Qt 5 writes into INI files, and how it reads them, on every version of the framework. Qt 5 escapes all letters
/// beyond ASCII, and takes bytes beyond ASCII for Latin-1. Qt 6 writes and reads UTF-8.
namespace IniEncoding {

/// Whether QSettings may write changes of a text by itself as soon as they are made.
extern const bool kIsFrameworks;

/// Whether QSettings reads the text as it is to be read.
bool IsRead(const QByteArray& text);
/// The text in the encoding that QSettings reads.
QByteArray Readable(const QByteArray& text);

/// Whether QSettings writes the value again as it is, or as Qt 5 would. `value` is from an INI text.
bool IsKept(const QByteArray& value);
/// A value that is not kept, as Qt 5 writes it again.
QByteArray Rewritten(const QByteArray& value);

/// Returns an ASCII text that stands for a part of a value in the file, until this is put in its place.
using StandIn = std::function<QString(const QByteArray& written)>;
/// The value with everything replaced that QSettings would write in another way than Qt 5 does.
QVariant Writable(const QVariant& value, const StandIn& standIn);

} // namespace IniEncoding
