#include "FileAttributes_linux.h"

#include <cerrno>
#include <sys/stat.h>
#include <sys/xattr.h>

using FileAttributes::Result;

namespace {

constexpr mode_t kModeBits = 07777;
constexpr int kLongestText = 63;

// Gives the owner a permission that the mode denies him, for the life of the object.
class PermissionForAMoment
{
public:
    PermissionForAMoment(const QByteArray& path, mode_t permission)
        : iPath(path)
    {
        struct stat status = {};
        if (::stat(iPath.constData(), &status) != 0 || (status.st_mode & permission) != 0)
            return;
        iMode = status.st_mode & kModeBits;
        iGiven = ::chmod(iPath.constData(), iMode | permission) == 0;
    }

    // Fails only if the file was taken away meanwhile, and with it the right to put its mode back.
    ~PermissionForAMoment()
    {
        if (iGiven)
            ::chmod(iPath.constData(), iMode);
    }

    Q_DISABLE_COPY(PermissionForAMoment)

    bool IsGiven() const { return iGiven; }

private:
    const QByteArray& iPath;
    mode_t iMode = 0;
    bool iGiven = false;
};

Result ResultOf(ssize_t returned)
{
    if (returned >= 0)
        return Result::Done;
    switch (errno) {
    case ENODATA:
    case ERANGE:
        return Result::Absent;
    case ENOTSUP:
        return Result::Unsupported;
    default:
        return Result::Failed;
    }
}

template <typename Call>
Result Attempt(const QByteArray& path, mode_t permission, const Call& call)
{
    const Result first = ResultOf(call());
    if (first != Result::Failed || errno != EACCES)
        return first;
    const PermissionForAMoment moment(path, permission);
    return moment.IsGiven() ? ResultOf(call()) : Result::Failed;
}

} // namespace

Result FileAttributes::Read(const QByteArray& path, const char* name, QByteArray& text)
{
    return Attempt(path, S_IRUSR, [&] {
        char buffer[kLongestText];
        const ssize_t size = ::getxattr(path.constData(), name, buffer, sizeof buffer);
        if (size >= 0)
            text = QByteArray(buffer, int(size));
        return size;
    });
}

Result FileAttributes::Write(const QByteArray& path, const char* name, const QByteArray& text)
{
    return Attempt(path, S_IWUSR, [&] {
        return ssize_t(::setxattr(path.constData(), name, text.constData(), size_t(text.size()), 0));
    });
}

Result FileAttributes::Remove(const QByteArray& path, const char* name)
{
    return Attempt(path, S_IWUSR, [&] { return ssize_t(::removexattr(path.constData(), name)); });
}
