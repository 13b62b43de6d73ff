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

std::vector<Fault> Full()
{
    return {
        {"full disk", Needs::Mount, kAround, {kDuring}, 0, FillTheDisk, EmptyTheDisk},
        {"limit of the file's size",
         Needs::Nothing,
         kAround,
         {kDuring},
         1,
         [] { LimitFiles(rlim_t(QFileInfo(Log()).size() + 3333)); },
         [] { LimitFiles(RLIM_INFINITY); }},
        {"no descriptor left", Needs::Nothing, kAround, {}, 0, TakeDescriptors, GiveDescriptorsBack},
    };
}

std::vector<Fault> Protected()
{
    const auto open = [] { SetFolderMode(0755); };
    return {
        {"read-only file system", Needs::Mount, kAround, {}, 0, [] { SetReadOnly(true); }, [] { SetReadOnly(false); }},
        {"read-only folder without the log",
         Needs::OrdinaryUser,
         kAround,
         {},
         0,
         [] {
             MoveAside();
             SetFolderMode(0555);
         },
         open},
        {"read-only folder with the log", Needs::OrdinaryUser, kEverything, {}, 0, [] { SetFolderMode(0555); }, open},
        {"read-only log", Needs::OrdinaryUser, kAround, {}, 0, [] { SetLogMode(0444); }, [] { SetLogMode(0644); }},
        // Everything up to the batch that finds the file too old is lost.
        {"rename that fails",
         Needs::OrdinaryUser,
         {{kDuring.iFrom + DiskFaults::kBatchLines, kAll}},
         {},
         0,
         [] {
             MakeOld();
             SetFolderMode(0555);
         },
         open},
    };
}

std::vector<Fault> Gone()
{
    const QString away = QStringLiteral("away");
    return {
        {"folder removed and put back",
         Needs::Nothing,
         kAround,
         {},
         0,
         [] {
             Require(QFile::rename(Log(), QStringLiteral("aside.log")) && QDir().rmdir(Folder()), "remove the folder");
         },
         [] { Require(QDir().mkdir(Folder()), "put the folder back"); }},
        {"folder moved away and back",
         Needs::Nothing,
         kAround,
         {},
         0,
         [away] { Rename(Folder(), away); },
         [away] { Rename(away, Folder()); }},
        {"log moved away by another program", Needs::Nothing, kEverything, {}, 0, MoveAside, [] {}},
        {"log emptied by another program",
         Needs::Nothing,
         {kDuring, kAfter},
         {},
         0,
         [] { Require(QFile::resize(Log(), 0), "empty the log"); },
         [] {}},
    };
}

std::vector<Fault> Replaced()
{
    return {
        {"folder in the log's place",
         Needs::Nothing,
         kAround,
         {},
         0,
         [] {
             MoveAside();
             Require(QDir().mkdir(Log()), "make a folder");
         },
         [] { Require(QDir().rmdir(Log()), "remove the folder"); }},
        {"link in the log's place",
         Needs::Nothing,
         kEverything,
         {},
         0,
         [] { Link(QStringLiteral("other.log")); },
         RemoveLog},
        {"dangling link in the log's place",
         Needs::Nothing,
         kAround,
         {},
         0,
         [] { Link(QStringLiteral("missing/other.log")); },
         RemoveLog},
        {"pipe without a reader",
         Needs::Nothing,
         kAround,
         {},
         0,
         [] {
             MoveAside();
             Require(::mkfifo(QFile::encodeName(Log()).constData(), 0600) == 0, "make a pipe");
         },
         RemoveLog},
    };
}

} // namespace

std::vector<Fault> FaultTable::All()
{
    std::vector<Fault> all;
    for (const auto& group : {Full(), Protected(), Gone(), Replaced()})
        all.insert(all.end(), group.begin(), group.end());
    return all;
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
