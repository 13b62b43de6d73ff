#pragma once

#include <QtCore/QString>

class QByteArray;
class QTextStream;

/// The texts of the report for technical support: the scripts that collect it, and the excerpts of their output.
namespace ReportText {

/// One line for "sh" that writes the output of the diagnostic program at `program` to the file at `output`.
QString DiagnosticScript(const QString& program, const QString& output);
/// One line for "sh" that writes a description of the displays to the file at `output`.
QString MacGraphicsScript(const QString& output);
/// The same for Linux: runs each installed tool for ten seconds at most, and writes what the kernel shows if they print
/// nothing. The file is never empty.
QString LinuxGraphicsScript(const QString& output);

/// The relevant lines of the diagnostic program's output, each ended by CR LF.
QString DiagnosticExcerpt(QTextStream& output);
/// The text of the display report, up to the first NUL.
QString GraphicsText(const QByteArray& output);

} // namespace ReportText
