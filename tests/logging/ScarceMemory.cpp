#include "ScarceMemory.h"

#include <QtCore/QtGlobal>

#include <cerrno>
#include <cstddef>
#include <limits>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
}

namespace {

constexpr int kPlenty = std::numeric_limits<int>::max();

// How often this thread gets memory before it gets none.
thread_local int gLeft = kPlenty;
thread_local auto gLack = ScarceMemory::Lack::Lasting;
thread_local bool gLacked = false;

bool IsRefused()
{
    if (gLeft == kPlenty || gLeft-- > 0)
        return false;
    gLeft = gLack == ScarceMemory::Lack::Lasting ? 0 : kPlenty;
    gLacked = true;
    errno = ENOMEM;
    return true;
}

} // namespace

void ScarceMemory::Begin(int allocations, Lack lack)
{
    gLacked = false;
    gLack = lack;
    gLeft = allocations;
}

bool ScarceMemory::End()
{
    gLeft = kPlenty;
    return gLacked;
}

extern "C" Q_DECL_EXPORT void* malloc(std::size_t size) noexcept
{
    return IsRefused() ? nullptr : __libc_malloc(size);
}

extern "C" Q_DECL_EXPORT void* realloc(void* memory, std::size_t size) noexcept
{
    return IsRefused() ? nullptr : __libc_realloc(memory, size);
}

extern "C" Q_DECL_EXPORT void* calloc(std::size_t count, std::size_t size) noexcept
{
    return IsRefused() ? nullptr : __libc_calloc(count, size);
}
