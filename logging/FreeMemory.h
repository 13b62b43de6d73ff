#pragma once

namespace FreeMemory {

/// Asks the allocator to return what it keeps unused. Takes milliseconds when that is much.
void ReturnToSystem();

} // namespace FreeMemory
