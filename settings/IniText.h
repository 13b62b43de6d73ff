#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

#include <functional>

/// Finds the parts of INI files that the framework's reader cannot handle safely.
namespace IniText {

/// A line without its line end.
struct Line
{
    int iFrom = 0;
    int iValueFrom = -1; ///< where the value begins; negative without an equals sign
    int iTo = 0;
};

/// The lines with values for which the function returns true.
QVector<Line> LinesOf(const QByteArray& text, const std::function<bool(const char* from, const char* to)>& isWanted);

/// Whether a value may exhaust the framework's memory or stack when it decodes it.
bool IsRefused(const char* from, const char* to);

/// The lines with such values.
QVector<Line> Refused(const QByteArray& text);

/// Whether the name of a section may be empty or contain a separator, or the name of a key at the top level may contain
/// one. Only then can QSettings look for a key in the wrong section, or write a name that it reads as a different one.
/// May return true for a harmless text, but never false for a dangerous one.
bool MayNest(const QByteArray& text);

/// The text without these lines.
QByteArray Without(const QByteArray& text, const QVector<Line>& lines);
/// The text with other values in these lines: `value` returns the one for each line's number.
QByteArray WithValues(const QByteArray& text, const QVector<Line>& lines, const std::function<QByteArray(int)>& value);

} // namespace IniText
