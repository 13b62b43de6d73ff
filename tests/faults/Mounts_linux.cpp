#include "Mounts.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool Put(const char* path, const char* text)
{
    const int file = ::open(path, O_WRONLY | O_CLOEXEC);
    const bool done = file >= 0 && ::write(file, text, std::strlen(text)) == ssize_t(std::strlen(text));
    ::close(file);
    return done;
}

// A user without privileges can have them in a new user namespace, with an unchanged user id.
bool EnterOwnWorld()
{
    char users[64];
    char groups[64];
    std::snprintf(users, sizeof users, "%u %u 1", ::getuid(), ::getuid());
    std::snprintf(groups, sizeof groups, "%u %u 1", ::getgid(), ::getgid());
    return ::unshare(CLONE_NEWUSER) == 0 && Put("/proc/self/setgroups", "deny") && Put("/proc/self/uid_map", users)
        && Put("/proc/self/gid_map", groups);
}

} // namespace

bool Mounts::MakePrivate()
{
    return (::geteuid() == 0 || EnterOwnWorld()) && ::unshare(CLONE_NEWNS) == 0
        && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool Mounts::AreAllowed()
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(MakePrivate() && MountSmall("/tmp", 64) ? 0 : 1);
    int status = 1;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool Mounts::MountSmall(const char* folder, int kib)
{
    char options[64];
    std::snprintf(options, sizeof options, "size=%dk,mode=0777", kib);
    return ::mount("tmpfs", folder, "tmpfs", 0, options) == 0;
}

bool Mounts::SetReadOnly(const char* folder, bool readOnly)
{
    return ::mount(nullptr, folder, nullptr, MS_REMOUNT | (readOnly ? unsigned(MS_RDONLY) : 0U), nullptr) == 0;
}
