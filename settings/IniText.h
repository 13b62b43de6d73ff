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

/// The lines whose values may exhaust the framework's memory or stack when it decodes them.
QVector<Line> Refused(const QByteArray& text);

/// Whether a section's name may hold a separator or nothing, or the name of a key at the top level a separator. Only
/// then may the framework look for a key in the wrong section, and write a name that it reads as another one. Sometimes
/// true without need, never false in need.
bool MayNest(const QByteArray& text);

/// The text without these lines.
QByteArray Without(const QByteArray& text, const QVector<Line>& lines);
/// The text with other values in these lines: `value` returns the one for each line's number.
QByteArray WithValues(const QByteArray& text, const QVector<Line>& lines, const std::function<QByteArray(int)>& value);

} // namespace IniText
