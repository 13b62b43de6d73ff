#include "ShortMemory.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <limits>
#include <pthread.h>
#include <utility>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
}

namespace {

constexpr int kNever = std::numeric_limits<int>::max();

// How many allocations of this thread succeed, and how many then fail.
thread_local int tLeft = kNever;
thread_local int tRefusals = 0;

char gThread[16] = "";
std::atomic<int> gLeft{kNever};
std::atomic<int> gRefusals{0};

bool IsRefused(int& left, int& refusals)
{
    if (left == kNever || left-- > 0)
        return false;
    left = 0;
    return refusals-- > 0;
}

bool IsNamedThreadRefused()
{
    if (gLeft.load() == kNever)
        return false;
    char name[16] = "";
    if (::pthread_getname_np(::pthread_self(), name, sizeof(name)) != 0 || std::strcmp(name, gThread) != 0)
        return false;
    return gLeft.fetch_sub(1) <= 0 && gRefusals.fetch_sub(1) > 0;
}

bool IsRefused()
{
    const bool refused = IsRefused(tLeft, tRefusals) || IsNamedThreadRefused();
    if (refused)
        errno = ENOMEM;
    return refused;
}

} // namespace

bool ShortMemory::Refuse(int number, int more, const std::function<void()>& call)
{
    struct End
    {
        ~End() { tLeft = kNever; }
    };
    const int all = more + 1;
    tRefusals = all;
    tLeft = number;
    {
        const End end;
        call();
    }
    return tRefusals < all;
}

int ShortMemory::Count(const std::function<void()>& call)
{
    constexpr int plenty = kNever - 1;
    tLeft = plenty;
    call();
    return plenty - std::exchange(tLeft, kNever);
}

void ShortMemory::RefuseThread(const char* thread, int number, int more)
{
    std::strncpy(gThread, thread, sizeof(gThread) - 1);
    gRefusals = more + 1;
    gLeft = number;
}

bool ShortMemory::HasRefusedThread()
{
    return gLeft < 0;
}

extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t size) noexcept
{
    return IsRefused() ? nullptr : __libc_malloc(size);
}

extern "C" __attribute__((visibility("default"))) void* realloc(void* memory, std::size_t size) noexcept
{
    return IsRefused() ? nullptr : __libc_realloc(memory, size);
}

extern "C" __attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) noexcept
{
    return IsRefused() ? nullptr : __libc_calloc(count, size);
}
