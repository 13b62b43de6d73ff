#pragma once

#include <QtCore/QByteArray>

#include <sys/types.h>

/// Short texts that are kept with a file, as extended attributes in the user's namespace. Paths are native and not
/// empty names; links are followed.
///
/// To read an attribute a process needs the file's read permission, to write one the write permission. If the mode
/// denies it to the owner, it is granted during the call.
namespace FileAttributes {

/// What chmod can change of a file's mode.
constexpr mode_t kModeBits = 07777;

enum class Result {
    Done,
    Absent, ///< the file has no such attribute
    Unsupported, ///< the file system has no attributes
    Failed,
};

/// Reads into `text`. A text of more than 63 bytes is not from this library, and counts as absent.
Result Read(const QByteArray& path, const char* name, QByteArray& text);
Result Write(const QByteArray& path, const char* name, const QByteArray& text);
Result Remove(const QByteArray& path, const char* name);

} // namespace FileAttributes
