#include "FaultTable.h"

#include "Mounts.h"

#include <NeroltOrvaneBase/FileUtilities.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace FaultTable;
using Needs = Fault::Needs;

namespace {

const QList<Range> kAround{kBefore, kAfter};
const QList<Range> kEverything{{0, kAll}};

void MoveAside()
{
    Require(QFile::rename(Log(), Folder() + QStringLiteral("/aside.log")), "move the log aside");
}

void RemoveLog()
{
    Require(QFile::remove(Log()), "remove the file in the log's place");
}

void LimitFiles(rlim_t bytes)
{
    std::signal(SIGXFSZ, SIG_DFL);
    struct rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    Require(::setrlimit(RLIMIT_FSIZE, &limit) == 0, "limit files");
}

// Opens every descriptor that the process may still have.
std::vector<int>& TakenDescriptors()
{
    static std::vector<int> taken;
    return taken;
}

void TakeDescriptors()
{
    struct rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = 64;
    Require(::setrlimit(RLIMIT_NOFILE, &limit) == 0, "limit descriptors");
    for (int file = 0; (file = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;)
        TakenDescriptors().push_back(file);
}

void GiveDescriptorsBack()
{
    for (const int file : TakenDescriptors())
        ::close(file);
}

void FillTheDisk()
{
    QFile ballast(Folder() + QStringLiteral("/ballast"));
    Require(ballast.open(QIODevice::WriteOnly | QIODevice::Unbuffered), "make ballast");
    while (ballast.write(QByteArray(512, 'x')) > 0) { }
}

void EmptyTheDisk()
{
    Require(QFile::remove(Folder() + QStringLiteral("/ballast")), "free space");
}

void SetFolderMode(mode_t mode)
{
    Require(::chmod(QFile::encodeName(Folder()).constData(), mode) == 0, "change the folder's mode");
}

void SetLogMode(mode_t mode)
{
    Require(::chmod(QFile::encodeName(Log()).constData(), mode) == 0, "change the log's mode");
}

void SetReadOnly(bool readOnly)
{
    Require(Mounts::SetReadOnly(QFile::encodeName(Folder()).constData(), readOnly), "write-protect a file system");
}

void MakeOld()
{
    Require(FileUtilities::SetTime(Log(), QDateTime::currentDateTime().addDays(-2), FileTimeCreation, false),
            "make the log old");
}

void Link(const QString& target)
{
    MoveAside();
    Require(QFile::link(target, Log()), "make a link");
}

void Rename(const QString& from, const QString& to)
{
    Require(QDir().rename(from, to), "move a folder");
}

void RemoveFolder()
{
    Require(QFile::rename(Log(), QStringLiteral("aside.log")) && QDir().rmdir(Folder()), "remove the folder");
}

void PutFolderBack()
{
    Require(QDir().mkdir(Folder()), "put the folder back");
}

void MakeFolder()
{
    MoveAside();
    Require(QDir().mkdir(Log()), "make a folder");
}

void MakePipe()
{
    MoveAside();
    Require(::mkfifo(QFile::encodeName(Log()).constData(), 0600) == 0, "make a pipe");
}

void Nothing() { }

} // namespace

std::vector<Fault> FaultTable::All()
{
    const QString away = QStringLiteral("away");
    const auto limit = [] { LimitFiles(rlim_t(QFileInfo(Log()).size() + 3333)); };
    const auto unlimit = [] { LimitFiles(RLIM_INFINITY); };
    const auto protect = [] { SetFolderMode(0555); };
    const auto open = [] { SetFolderMode(0755); };
    const auto protectWithout = [protect] {
        MoveAside();
        protect();
    };
    const auto protectOld = [protect] {
        MakeOld();
        protect();
    };
    const auto empty = [] { Require(QFile::resize(Log(), 0), "empty the log"); };
    const auto removeMade = [] { Require(QDir().rmdir(Log()), "remove the folder"); };
    return {
        {"full disk", FillTheDisk, EmptyTheDisk, Needs::Mount, kAround, {kDuring}},
        {"limit of the file's size", limit, unlimit, Needs::Nothing, kAround, {kDuring}, 1},
        {"no descriptor left", TakeDescriptors, GiveDescriptorsBack},
        {"read-only file system", [] { SetReadOnly(true); }, [] { SetReadOnly(false); }, Needs::Mount},
        {"read-only folder without the log", protectWithout, open, Needs::OrdinaryUser},
        {"read-only folder with the log", protect, open, Needs::OrdinaryUser, kEverything},
        {"read-only log", [] { SetLogMode(0444); }, [] { SetLogMode(0644); }, Needs::OrdinaryUser},
        // Everything up to the batch that finds the file too old is lost.
        {"rename that fails", protectOld, open, Needs::OrdinaryUser, {{kDuring.iFrom + DiskFaults::kBatchLines, kAll}}},
        {"folder removed and put back", RemoveFolder, PutFolderBack},
        {"folder moved away and back", [away] { Rename(Folder(), away); }, [away] { Rename(away, Folder()); }},
        {"log moved away by another program", MoveAside, Nothing, Needs::Nothing, kEverything},
        {"log emptied by another program", empty, Nothing, Needs::Nothing, {kDuring, kAfter}},
        {"folder in the log's place", MakeFolder, removeMade},
        {"link in the log's place", [] { Link(QStringLiteral("other.log")); }, RemoveLog, Needs::Nothing, kEverything},
        {"dangling link in the log's place", [] { Link(QStringLiteral("missing/other.log")); }, RemoveLog},
        {"pipe without a reader", MakePipe, RemoveLog},
    };
}

void FaultTable::Require(bool done, const char* what)
{
    if (!done)
        qFatal("cannot %s", what);
}

QString FaultTable::Folder()
{
    return QStringLiteral("logs");
}

QString FaultTable::Log()
{
    return QStringLiteral("logs/app.log");
}
