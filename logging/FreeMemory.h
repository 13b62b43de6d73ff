#pragma once

#include <cstddef>

namespace FreeMemory {

/// Tells the allocator that the calling thread will soon ask for so much, piece by piece. Some take it from the system
/// page by page otherwise, with a call for each, and the system finds the memory at its first use.
void Anticipate(std::size_t bytes);

/// Asks the allocator to return what it keeps unused. Takes milliseconds when that is much.
void ReturnToSystem();

} // namespace FreeMemory
