#include "CallFailure.h"

#include <QtCore/QtGlobal>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

std::atomic<int> gErrors[CallFailure::CallCount];
std::atomic<int> gSucceeding[CallFailure::CallCount];

bool Fails(CallFailure::Call call)
{
    const int error = gErrors[call];
    if (error == 0 || gSucceeding[call]-- > 0)
        return false;
    errno = error;
    return true;
}

bool IoctlFails(unsigned long request)
{
    if (request == FS_IOC_GETFLAGS)
        return Fails(CallFailure::GetFlags);
    return request == FS_IOC_SETFLAGS && Fails(CallFailure::SetFlags);
}

} // namespace

CallFailure::CallFailure(Call call, int error, int succeeding)
    : iCall(call)
{
    gSucceeding[call] = succeeding;
    gErrors[call] = error;
}

CallFailure::~CallFailure()
{
    gErrors[iCall] = 0;
}

extern "C" Q_DECL_EXPORT ssize_t getxattr(const char* path, const char* name, void* value, size_t size) noexcept
{
    return Fails(CallFailure::GetAttribute) ? -1 : ::syscall(SYS_getxattr, path, name, value, size);
}

extern "C" Q_DECL_EXPORT int setxattr(const char* path, const char* name, const void* value, size_t size,
                                      int flags) noexcept
{
    return Fails(CallFailure::SetAttribute) ? -1 : int(::syscall(SYS_setxattr, path, name, value, size, flags));
}

extern "C" Q_DECL_EXPORT ssize_t fgetxattr(int file, const char* name, void* value, size_t size) noexcept
{
    return Fails(CallFailure::GetAttribute) ? -1 : ::syscall(SYS_fgetxattr, file, name, value, size);
}

extern "C" Q_DECL_EXPORT int fsetxattr(int file, const char* name, const void* value, size_t size, int flags) noexcept
{
    return Fails(CallFailure::SetAttribute) ? -1 : int(::syscall(SYS_fsetxattr, file, name, value, size, flags));
}

extern "C" Q_DECL_EXPORT int removexattr(const char* path, const char* name) noexcept
{
    return Fails(CallFailure::RemoveAttribute) ? -1 : int(::syscall(SYS_removexattr, path, name));
}

extern "C" Q_DECL_EXPORT int chmod(const char* path, mode_t mode) noexcept
{
    return Fails(CallFailure::ChangeMode) ? -1 : int(::syscall(SYS_fchmodat, AT_FDCWD, path, mode));
}

extern "C" Q_DECL_EXPORT int utimensat(int folder, const char* path, const struct timespec times[2], int flags) noexcept
{
    return Fails(CallFailure::SetTimes) ? -1 : int(::syscall(SYS_utimensat, folder, path, times, flags));
}

extern "C" Q_DECL_EXPORT int ioctl(int file, unsigned long request, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return IoctlFails(request) ? -1 : int(::syscall(SYS_ioctl, file, request, argument));
}
