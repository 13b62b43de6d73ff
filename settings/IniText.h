#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

#include <functional>

/// The text of INI files, as far as the framework's reader must not be trusted with it.
namespace IniText {

/// A line without its end.
struct Line
{
    int iFrom = 0;
    int iValueFrom = -1; ///< negative without an equals sign
    int iTo = 0;
};

/// The lines whose values may cost the framework its memory or its stack when it decodes them.
QVector<Line> Refused(const QByteArray& text);

/// Whether a section's name may hold a separator or nothing, or the name of a key at the top level a separator. Only
/// then may the framework look for a key in the wrong section, and write a name that it reads as another one. Sometimes
/// true without need, never false in need.
bool MayNest(const QByteArray& text);

/// Without the lines.
QByteArray Without(const QByteArray& text, const QVector<Line>& lines);
/// With other values in the lines: what `value` gives for the number of each.
QByteArray WithValues(const QByteArray& text, const QVector<Line>& lines, const std::function<QByteArray(int)>& value);

} // namespace IniText
