#include "Playground.h"

#include "FileState.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace {

void Unlock(const QFileInfo& entry)
{
    const QString path = entry.filePath();
    if (FileState::IsImmutable(path))
        FileState::SetImmutable(path, false);
    if (!entry.isDir())
        return;
    FileState::SetMode(path, 0700);
    const QDir::Filters everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    const QFileInfoList entries = QDir(path).entryInfoList(everything);
    for (const QFileInfo& inner : entries) {
        if (!inner.isSymLink())
            Unlock(inner);
    }
}

void Finish(const QString& path, int mode)
{
    OrdinaryUser::Own(path);
    if (!FileState::SetMode(path, mode) || FileState::Mode(path) != mode)
        qFatal("cannot prepare %s", qPrintable(path));
}

QString MakeNode(const QString& path, int mode, mode_t type)
{
    if (::mknod(QFile::encodeName(path).constData(), type | 0600, 0) != 0)
        qFatal("cannot make %s", qPrintable(path));
    Finish(path, mode);
    return path;
}

} // namespace

Playground::Playground()
    : iFolder(TestSupport::Scratch() + QStringLiteral("/ground"))
{
    if (!iFolder.isValid())
        qFatal("cannot make a folder");
    Finish(iFolder.path(), 0755);
}

Playground::~Playground()
{
    Unlock(QFileInfo(iFolder.path()));
}

QString Playground::Path(const QString& name) const
{
    return iFolder.path() + QLatin1Char('/') + name;
}

QString Playground::File(const QString& name, int mode) const
{
    return MakeNode(Path(name), mode, S_IFREG);
}

QString Playground::Folder(const QString& name, int mode) const
{
    QDir().mkdir(Path(name));
    Finish(Path(name), mode);
    return Path(name);
}

QString Playground::Pipe(const QString& name, int mode) const
{
    return MakeNode(Path(name), mode, S_IFIFO);
}

QString Playground::Link(const QString& target, const QString& name) const
{
    if (!QFile::link(target, Path(name)))
        qFatal("cannot link to %s", qPrintable(target));
    return Path(name);
}

QString Playground::FileOfRoot(const QString& name, int mode) const
{
    const QString path = File(name);
    if (::chown(QFile::encodeName(path).constData(), 0, 0) != 0 || !FileState::SetMode(path, mode))
        qFatal("cannot give %s to root", qPrintable(path));
    return path;
}

bool Playground::MayFlag()
{
    const Playground ground;
    const QString path = ground.File(QStringLiteral("flag probe"));
    return FileState::SetImmutable(path, true) && FileState::IsImmutable(path);
}
