#pragma once

#include <QtCore/QString>

class QByteArray;
class QTextStream;

/// The texts of the support report: the scripts that collect it, and what is told of what they collected.
namespace ReportText {

/// One line for "sh" that leaves the output of the diagnostic program at `program` in the file at `output`.
QString DiagnosticScript(const QString& program, const QString& output);
/// One line for "sh" that leaves a description of the displays in the file at `output`.
QString MacGraphicsScript(const QString& output);
/// The same with what Linux has: each tool that is installed, for ten seconds at most, and what the kernel shows when
/// they have nothing to say. The file is never left empty.
QString LinuxGraphicsScript(const QString& output);

/// The lines of the diagnostic program's output that matter, each ended by CR LF.
QString DiagnosticExcerpt(QTextStream& output);
/// The text of the display report, up to the first NUL.
QString GraphicsText(const QByteArray& output);

} // namespace ReportText
