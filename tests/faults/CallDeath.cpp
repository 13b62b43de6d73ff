#include "CallDeath.h"

#include <QtCore/QtGlobal>

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

constexpr int kNever = -1;

// Several threads may call.
std::atomic<bool> gIsCounting{false};
std::atomic<bool> gBeginsWithRename{false};
std::atomic<int> gHalfCalls{0};
std::atomic<int> gWrites{kNever};
std::atomic<int> gPercent{0};

void Kill()
{
    ::kill(::getpid(), SIGKILL);
}

void Count()
{
    if (gIsCounting && gHalfCalls.fetch_sub(1) == 0)
        Kill();
}

void BeginWithRename()
{
    if (gBeginsWithRename.exchange(false))
        gIsCounting = true;
}

template <typename Function>
Function* Original(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

template <typename Function, typename... Arguments>
auto Counted(Function* original, Arguments... arguments)
{
    Count();
    const auto result = original(arguments...);
    Count();
    return result;
}

} // namespace

void CallDeath::AfterCalls(int halfCalls, bool isFromRename)
{
    gHalfCalls = halfCalls;
    (isFromRename ? gBeginsWithRename : gIsCounting) = true;
}

void CallDeath::InWrite(int number, int percent)
{
    gPercent = percent;
    gWrites = number;
}

extern "C" Q_DECL_EXPORT int open(const char* path, int flags, ...)
{
    static auto* const original = Original<int(const char*, int, ...)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, unsigned int);
    va_end(arguments);
    return Counted(original, path, flags, mode);
}

extern "C" Q_DECL_EXPORT int close(int file)
{
    static auto* const original = Original<int(int)>("close");
    return Counted(original, file);
}

extern "C" Q_DECL_EXPORT ssize_t write(int file, const void* bytes, size_t size)
{
    static auto* const original = Original<ssize_t(int, const void*, size_t)>("write");
    if (gWrites != kNever && (::fcntl(file, F_GETFL) & O_APPEND) != 0 && gWrites.fetch_sub(1) == 0) {
        original(file, bytes, size * size_t(gPercent) / 100);
        Kill();
    }
    return Counted(original, file, bytes, size);
}

extern "C" Q_DECL_EXPORT ssize_t pwrite(int file, const void* bytes, size_t size, off_t offset)
{
    static auto* const original = Original<ssize_t(int, const void*, size_t, off_t)>("pwrite");
    return Counted(original, file, bytes, size, offset);
}

extern "C" Q_DECL_EXPORT ssize_t pread(int file, void* bytes, size_t size, off_t offset)
{
    static auto* const original = Original<ssize_t(int, void*, size_t, off_t)>("pread");
    return Counted(original, file, bytes, size, offset);
}

extern "C" Q_DECL_EXPORT int ftruncate(int file, off_t size) noexcept
{
    static auto* const original = Original<int(int, off_t)>("ftruncate");
    return Counted(original, file, size);
}

extern "C" Q_DECL_EXPORT int unlink(const char* path) noexcept
{
    static auto* const original = Original<int(const char*)>("unlink");
    return Counted(original, path);
}

extern "C" Q_DECL_EXPORT int rename(const char* from, const char* to) noexcept
{
    static auto* const original = Original<int(const char*, const char*)>("rename");
    BeginWithRename();
    return Counted(original, from, to);
}

extern "C" Q_DECL_EXPORT int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                                       unsigned int flags) noexcept
{
    static auto* const original = Original<int(int, const char*, int, const char*, unsigned int)>("renameat2");
    BeginWithRename();
    return Counted(original, fromFolder, from, toFolder, to, flags);
}

extern "C" Q_DECL_EXPORT int posix_fallocate(int file, off_t offset, off_t size)
{
    static auto* const original = Original<int(int, off_t, off_t)>("posix_fallocate");
    return Counted(original, file, offset, size);
}
