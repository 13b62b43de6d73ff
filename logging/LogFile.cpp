#include "LogFile.h"

#include "Rename.h"
#include "Rotation.h"

#include <NeroltOrvaneBase/FileInfoMac.h>
#include <NeroltOrvaneBase/FileUtilities.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QScopeGuard>

#include <fcntl.h>

namespace {

// Empty, and so the name of no file, where the system would take a part of it for the name.
QByteArray Encoded(const QString& path)
{
    return path.contains(QChar(0)) ? QByteArray() : QFile::encodeName(path);
}

} // namespace

LogFile::LogFile(const QString& path, QObject* parent)
    : QObject(parent)
    , iPath(path)
    , iName(Encoded(path))
{
}

bool LogFile::Append(const QByteArray& lines)
{
    const Descriptor file(iName);
    if (!file.IsOpen())
        return false;
    const int written = file.Write(lines);
    // Or the next line to be written would stand behind half of one.
    if (written > 0 && written < lines.size())
        file.TakeBack(written - (lines.lastIndexOf('\n', written - 1) + 1));
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (IsDue(file, now))
        Rotate(file, now);
    return true;
}

bool LogFile::IsDue(const Descriptor& file, qint64 nowMSecs) const
{
    const qint64 size = file.Size();
    if (!Rotation::IsDue(size, FileUtilities::GetMSecs(iPath, FileTimeCreation, file.Number()), nowMSecs))
        return false;
    return !iStart || !(iStart->iFile == file.Which()) || Rotation::IsDue(size, iStart->iMSecs, nowMSecs);
}

void LogFile::Rotate(const Descriptor& file, qint64 nowMSecs)
{
    const QByteArray rotatedName = Rotation::RotatedPath(iName, nowMSecs);
    const QByteArray header = Rotation::HeaderLine(Rotation::RotatedPath(iPath.toUtf8(), nowMSecs), nowMSecs);
    // Whoever has the lock rotates the file. The next batch shows whether that was done.
    if (!file.Lock())
        return;
    const auto unlock = qScopeGuard([&file] { file.Unlock(); });
    if (!file.IsAt(iName) || !IsDue(file, nowMSecs))
        return; // it was
    const bool isMoved = RenameUnlessTaken(iName.constData(), rotatedName.constData());
    // A moved file may have been followed already by another process's lines, and a link of somebody else's is not to
    // be trusted. One that cannot be moved is emptied all the same, or the log would grow without bounds; but not
    // another that has come into its place.
    const Descriptor next(iName, O_NOFOLLOW);
    if (next.IsOpen() && (isMoved || (next.Which() == file.Which() && next.Empty())))
        Begin(next, header, nowMSecs);
}

void LogFile::Begin(const Descriptor& file, const QByteArray& header, qint64 nowMSecs)
{
    file.Write(header);
    iStart = Start{file.Which(), nowMSecs};
    if (FileInfoMac(iPath).SetCreationMSecs(nowMSecs, file.Number()))
        iStart.reset();
}
