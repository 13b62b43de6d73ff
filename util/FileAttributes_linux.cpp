#include "FileAttributes_linux.h"

#include <cerrno>
#include <sys/stat.h>
#include <sys/xattr.h>

using FileAttributes::kModeBits;
using FileAttributes::Result;

namespace {

constexpr int kLongestText = 63;
constexpr int kAttempts = 100; // of threads that open and close the mode of one file

// Grants the owner a permission that the mode denies, as long as this object lives.
class PermissionForAMoment
{
public:
    PermissionForAMoment(const QByteArray& path, mode_t permission)
        : iPath(path)
    {
        struct stat status = {};
        if (::stat(iPath.constData(), &status) != 0)
            return;
        iIsThere = (status.st_mode & permission) != 0; // another thread has granted it
        if (iIsThere)
            return;
        iMode = status.st_mode & kModeBits;
        iIsGiven = ::chmod(iPath.constData(), iMode | permission) == 0;
    }

    // Fails only if the file has meanwhile gone to another owner, and with it the right to restore its mode.
    ~PermissionForAMoment()
    {
        if (iIsGiven)
            ::chmod(iPath.constData(), iMode);
    }

    Q_DISABLE_COPY(PermissionForAMoment)

    bool IsThere() const { return iIsThere || iIsGiven; }

private:
    const QByteArray& iPath;
    mode_t iMode = 0;
    bool iIsThere = false;
    bool iIsGiven = false;
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
    const auto isDenied = [](Result result) { return result == Result::Failed && errno == EACCES; };
    Result result = ResultOf(call());
    for (int i = 0; i < kAttempts && isDenied(result); ++i) {
        const PermissionForAMoment moment(path, permission);
        if (!moment.IsThere())
            return Result::Failed;
        result = ResultOf(call());
    }
    return result;
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
