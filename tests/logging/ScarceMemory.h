#pragma once

/// Memory that ends. Linking it replaces the C library's allocation for the whole process; in programs without
/// sanitizers only, which have an allocator of their own.
namespace ScarceMemory {

/// What ends with it.
enum class Lack {
    Lasting, ///< every allocation after the one that failed
    Passing, ///< that one only
};

/// The calling thread gets memory so often, and then there is a lack of it.
void Begin(int allocations, Lack lack = Lack::Lasting);

/// There is plenty again. Whether there was a lack of it.
bool End();

} // namespace ScarceMemory
