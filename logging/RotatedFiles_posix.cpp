#include "RotatedFiles.h"

#include "Rotation.h"

#include <QtCore/QMutex>

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Bound
{
    int iCount = 0;
    qint64 iBytes = 0;
};

// Two numbers that belong together. This mutex has no destructor, as std::mutex has on a Mac: it can be used until the
// very end of the process, and takes no static initialiser.
QBasicMutex gMutex;
Bound gBound;

struct CloseFolder
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};

bool IsFileOfItsOwn(const struct stat& file, const QByteArray& log)
{
    struct stat status = {};
    return S_ISREG(file.st_mode)
        && (::stat(log.constData(), &status) != 0 || status.st_dev != file.st_dev || status.st_ino != file.st_ino);
}

} // namespace

std::optional<std::vector<QByteArray>> RotatedFiles::Of(const QByteArray& log)
{
    std::vector<QByteArray> files;
    const QByteArray folder = log.left(log.lastIndexOf('/') + 1);
    const std::unique_ptr<DIR, CloseFolder> listing(::opendir(folder.isEmpty() ? "." : folder.constData()));
    const auto next = [&listing] {
        errno = 0; // readdir returns null at the end, too
        return listing ? ::readdir(listing.get()) : nullptr; // NOLINT(concurrency-mt-unsafe): this thread's listing
    };
    while (const dirent* const entry = next()) {
        const QByteArray file = folder + entry->d_name;
        if (Rotation::IsRotatedPath(log, file))
            files.push_back(file);
    }
    if (!listing || errno != 0)
        return std::nullopt;
    std::sort(files.begin(), files.end());
    return files;
}

void RotatedFiles::SetBound(int count, qint64 bytes)
{
    const std::lock_guard<QBasicMutex> lock(gMutex);
    gBound = {std::max(count, 0), std::max<qint64>(bytes, 0)};
}

void RotatedFiles::Prune(const QByteArray& log)
{
    Bound left;
    {
        const std::lock_guard<QBasicMutex> lock(gMutex);
        left = gBound;
    }
    if (left.iCount == 0 && left.iBytes == 0)
        return;
    const std::vector<QByteArray> files = Of(log).value_or(std::vector<QByteArray>());
    int count = 0;
    qint64 bytes = 0;
    for (auto file = files.rbegin(); file != files.rend(); ++file) {
        struct stat status = {};
        if (::lstat(file->constData(), &status) != 0 || !IsFileOfItsOwn(status, log))
            continue;
        ++count;
        bytes += status.st_size;
        // One that cannot be removed stays.
        if ((left.iCount > 0 && count > left.iCount) || (left.iBytes > 0 && bytes > left.iBytes))
            ::unlink(file->constData());
    }
}
