#pragma once

#include <QtCore/QString>

/// One frame of a stack trace.
struct TraceInfo
{
    QString iModule;
    QString iMemory;
    QString iFunctionName;
    QString iOffset;
};

/// The frames of a stack trace as text.
namespace StackFrame {

/// Takes a line in the layout of macOS apart: index, image, address, symbol, plus sign and offset, with blanks between.
/// A field that is not there stays empty. The function's name is as the line has it.
TraceInfo Parse(const QString& line);

/// The name that the source code has for a symbol; false, and `name` as it was, when it is no mangled name. A name that
/// reads like a mangled type becomes that type.
bool Demangle(QString& name);

/// "Module %1 Memory %2 FunctionName %3 Offset %4", without a line end.
QString Text(const TraceInfo& frame);

} // namespace StackFrame
