#pragma once

#include <QtCore/QStringList>

/// The platform's names for return addresses.
namespace FrameLines {

/// One line for each address but the first `skipped`, in the layout that StackFrame::Parse reads. May be empty when
/// memory is short.
QStringList Of(void* const* addresses, int count, int skipped = 0);

} // namespace FrameLines
