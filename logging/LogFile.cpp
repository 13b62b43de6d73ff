#include "LogFile.h"

#include "LogProgress.h"
#include "Rename.h"
#include "RotatedFiles.h"
#include "Rotation.h"
#include "Swallow.h"

#include <NeroltOrvaneBase/FileInfoMac.h>
#include <NeroltOrvaneBase/FileUtilities.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QScopeGuard>

#include <algorithm>

namespace {

// Empty, and so the name of no file, where the system would take a part of it for the name.
QByteArray NameFor(const QString& path)
{
    return path.contains(QChar(0)) ? QByteArray() : QFile::encodeName(path);
}

} // namespace

LogFile::LogFile(const QString& path, QObject* parent)
    : QObject(parent)
    , iPath(path)
    , iName(NameFor(path))
{
}

bool LogFile::Append(const QByteArray& lines)
{
    const LogBatches::Batch batch{int(lines.size()), iMark};
    return Write({lines.constData(), &batch, 1}).iIsOpen;
}

LogFile::Outcome LogFile::Append(const LogBatches& batches)
{
    const Outcome outcome = Write(batches);
    if (iIsLoggers && !outcome.iIsWhole)
        LogProgress::Lose();
    return outcome;
}

LogFile::Outcome LogFile::Write(const LogBatches& batches)
{
    const Descriptor file(iName);
    if (!file.IsOpen()) {
        Done(batches.At(0).iMark);
        return {1, false, false};
    }
    const qint64 size = file.Size();
    const qint64 limit = Rotation::kMaxBytes - size;
    const std::optional<qint64> created = Created(file);
    Outcome outcome{1, true, true};
    qint64 bytes = batches.At(0).iSize;
    // The file is rotated after exactly the batch that makes it due.
    if (!Rotation::IsDue(0, created, QDateTime::currentMSecsSinceEpoch())) {
        while (outcome.iBatches < batches.iCount && bytes <= limit)
            bytes += batches.At(outcome.iBatches++).iSize;
    }
    if (iIsLoggers)
        CrashFile::BeginWrite(file, size);
    const qint64 written = file.Write(batches.iBytes, bytes, iPatienceMs);
    outcome.iIsWhole = written == bytes;
    if (!outcome.iIsWhole)
        outcome.iBatches = GiveUp(file, batches, written);
    iPatienceMs = outcome.iIsWhole ? kPatienceMs : 0;
    Done(batches.At(outcome.iBatches - 1).iMark); // now: a rotated file is complete
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (Rotation::IsDue(file.Size(), created, now))
        Swallow([&] { Rotate(file, now); }); // what is written is not written again
    return outcome;
}

void LogFile::Done(const CrashFile::Mark& mark) const
{
    if (iIsLoggers)
        CrashFile::Done(mark);
}

// Takes back the half of a line at which writing ended, or the next line would stand behind it. The rest of that batch
// is lost; returns how many are done with.
int LogFile::GiveUp(const Descriptor& file, const LogBatches& batches, qint64 written)
{
    qint64 line = written;
    while (line > 0 && batches.iBytes[line - 1] != '\n')
        --line;
    file.TakeBack(written - line);
    int done = 0;
    for (qint64 end = 0; end <= written; ++done)
        end += batches.At(done).iSize;
    return done;
}

// As the file tells, or as remembered of one that cannot.
std::optional<qint64> LogFile::Created(const Descriptor& file) const
{
    const std::optional<qint64> told = FileUtilities::GetMSecs(iPath, FileTimeCreation, file.Number());
    return told && iStart && iStart->iFile == file.Which() ? std::max(*told, iStart->iMSecs) : told;
}

void LogFile::Rotate(const Descriptor& file, qint64 nowMSecs)
{
    const QByteArray rotatedName = Rotation::RotatedPath(iName, nowMSecs);
    const QByteArray header = Rotation::HeaderLine(Rotation::RotatedPath(iPath.toUtf8(), nowMSecs), nowMSecs);
    // Whoever has the lock rotates the file. The next batch shows whether that was done.
    if (!file.Lock())
        return;
    const auto unlock = qScopeGuard([&file] { file.Unlock(); });
    if (!file.IsAt(iName) || !Rotation::IsDue(file.Size(), Created(file), nowMSecs))
        return; // it was
    const bool isMoved = RenameUnlessTaken(iName.constData(), rotatedName.constData());
    // A moved file may have been followed already by another process's lines, and a link of somebody else's is not to
    // be trusted. One that cannot be moved is emptied all the same, or the log would grow without bounds; but not
    // another that has come into its place.
    const Descriptor next(iName, Descriptor::Refused);
    if (next.IsOpen() && (isMoved || (next.Which() == file.Which() && next.Empty())))
        Begin(next, header, nowMSecs);
    if (iIsLoggers)
        RotatedFiles::Prune(iName);
}

void LogFile::Begin(const Descriptor& file, const QByteArray& header, qint64 nowMSecs)
{
    file.Write(header.constData(), header.size(), kPatienceMs);
    iStart = Start{file.Which(), nowMSecs};
    if (FileInfoMac(iPath).SetCreationMSecs(nowMSecs, file.Number()))
        iStart.reset();
}
