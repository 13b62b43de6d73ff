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

/// Without the lines.
QByteArray Without(const QByteArray& text, const QVector<Line>& lines);
/// With other values in the lines: what `value` gives for the number of each.
QByteArray WithValues(const QByteArray& text, const QVector<Line>& lines, const std::function<QByteArray(int)>& value);

} // namespace IniText
