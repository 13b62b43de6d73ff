#pragma once

#include <QtCore/QStringList>

/// The platform's names for return addresses.
namespace FrameLines {

/// One line for each address, in the layout that StackFrame::Parse reads. May be empty when memory is short.
QStringList Of(void* const* addresses, int count);

} // namespace FrameLines
