#include "CrashRecovery.h"

#include "RotatedFiles.h"
#include "Stamp.h"
#include "WriteSignals.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

using CrashFormat::Remains;

namespace {

constexpr int kPipeMs = 1000;
constexpr size_t kPieceBytes = 64 << 10;
constexpr std::string_view kStamp = "0000-00-00 00:00:00.";
constexpr std::string_view kRecovered = "0000-00-00 00:00:00.000|10|Information|Logger::SetCrashFile|recovered ";

// Which of the lines are in the log already.
struct Found
{
    qint64 iBytes = 0; ///< of lines that are whole
    qint64 iCut = 0; ///< bytes of the next one, with which the file ends
    qint64 iHalf = 0; ///< bytes of a half line that says how much was recovered, with which the file ends
    bool iEndsWithin = false; ///< a line of somebody else
    quint64 iEnd = 0; ///< of the file
};

// Compares the file with the lines, which stand in it in their order. Others may have written in between.
class Search
{
public:
    explicit Search(const QByteArray& lines)
        : iLines(lines)
    {
    }

    void Read(const char* bytes, size_t size)
    {
        const char* const end = bytes + size;
        while (bytes != end) {
            const auto* const feed = static_cast<const char*>(std::memchr(bytes, '\n', size_t(end - bytes)));
            const char* const next = feed ? feed + 1 : end;
            iLine.append(bytes, int(next - bytes));
            bytes = next;
            if (feed)
                EndLine();
        }
    }

    Found End()
    {
        if (!iLine.isEmpty()) {
            const bool isCut = iLines.mid(int(iFound.iBytes)).startsWith(iLine);
            const bool isHalf = !isCut && Stamp::HasForm(iLine.constData(), int(iLine.size()), kRecovered);
            iFound.iCut = isCut ? iLine.size() : 0;
            iFound.iHalf = isHalf ? iLine.size() : 0;
            iFound.iEndsWithin = !isCut && !isHalf;
        }
        return iFound;
    }

private:
    void EndLine()
    {
        // A line ends with its only line feed, so this one is the next or none.
        if (iLines.size() - iFound.iBytes >= iLine.size()
            && std::memcmp(iLines.constData() + iFound.iBytes, iLine.constData(), size_t(iLine.size())) == 0)
            iFound.iBytes += iLine.size();
        iLine.resize(0);
    }

    const QByteArray& iLines;
    QByteArray iLine;
    Found iFound;
};

bool IsFile(const struct stat& status, const CrashFormat::Attempt& attempt)
{
    return quint64(status.st_dev) == attempt.iDevice && quint64(status.st_ino) == attempt.iInode;
}

bool IsAt(const QByteArray& name, const CrashFormat::Attempt& attempt)
{
    struct stat status = {};
    return ::stat(name.constData(), &status) == 0 && IsFile(status, attempt);
}

// The name that the file of the attempt has now: others may have rotated it. Empty when it is gone; no value when that
// cannot be told.
std::optional<QByteArray> NameOf(const QByteArray& log, const CrashFormat::Attempt& attempt)
{
    if (IsAt(log, attempt))
        return log;
    const auto rotated = RotatedFiles::Of(log);
    if (!rotated)
        return std::nullopt;
    const auto found
        = std::find_if(rotated->begin(), rotated->end(), [&](const QByteArray& name) { return IsAt(name, attempt); });
    return found == rotated->end() ? QByteArray() : *found;
}

// Nothing else has a place in the log's.
bool CanBeLog(const QByteArray& name)
{
    struct stat status = {};
    return ::stat(name.constData(), &status) != 0 || S_ISREG(status.st_mode) || S_ISFIFO(status.st_mode);
}

// A crash file in a folder that others may change can name any file of this user's. Only logs are written to.
bool IsLog(const OwnedFile& file, const Remains& remains)
{
    const struct stat status = file.Status();
    if (status.st_size == 0 || (remains.iAttempt && IsFile(status, *remains.iAttempt)))
        return true;
    std::array<char, kStamp.size()> start = {};
    return file.Read(start.data(), start.size(), 0) == ssize_t(start.size())
        && Stamp::HasForm(start.data(), int(start.size()), kStamp);
}

bool EndsLine(const OwnedFile& file, qint64 size)
{
    char last = '\0';
    return file.Read(&last, 1, size - 1) == 1 && last == '\n';
}

// No value when it cannot be read: what stands there would be written again.
std::optional<Found> Find(const OwnedFile& file, const QByteArray& lines, quint64 offset)
{
    Search search(lines);
    std::array<char, kPieceBytes> piece; // NOLINT(cppcoreguidelines-pro-type-member-init): it is read into
    ssize_t read = 0;
    while ((read = file.Read(piece.data(), piece.size(), qint64(offset))) > 0) {
        search.Read(piece.data(), size_t(read));
        offset += quint64(read);
    }
    if (read < 0)
        return std::nullopt;
    Found found = search.End();
    found.iEnd = offset;
    return found;
}

// All or nothing of each line.
bool Append(const Descriptor& file, const QByteArray& lines)
{
    const qint64 written = file.Write(lines.constData(), lines.size(), kPipeMs);
    if (written == lines.size())
        return true;
    file.TakeBack(written - (lines.left(int(written)).lastIndexOf('\n') + 1));
    return false;
}

} // namespace

std::optional<qint64> CrashRecovery::Complete(CrashFormat::Section& section, const Remains& remains,
                                              const QByteArray& newLog)
{
    const QByteArray& lines = remains.iLines;
    const WriteSignals::Blocker blocker;
    const QByteArray log = remains.iLog.isEmpty() ? newLog : remains.iLog;
    const auto attempted = remains.iIsAttemptOpen ? NameOf(log, *remains.iAttempt) : QByteArray();
    if (lines.isEmpty() && (!attempted || attempted->isEmpty()))
        return 0;
    if (!attempted)
        return std::nullopt;
    const QByteArray& name = attempted->isEmpty() ? log : *attempted;
    if (!CanBeLog(name))
        return std::nullopt;
    const Descriptor file(name);
    if (!file.IsOpen())
        return std::nullopt;
    Found found;
    if (file.IsRegular()) {
        const OwnedFile readable(::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
        if (!(readable.Which() == file.Which()) || !IsLog(readable, remains))
            return std::nullopt;
        const qint64 size = file.Size();
        if (attempted->isEmpty() || remains.iAttempt->iOffset > quint64(size)) { // or somebody has emptied it
            found.iEndsWithin = size > 0 && !EndsLine(readable, size);
            section.SetAttempt(file.Which(), size);
        } else if (const std::optional<Found> there = Find(readable, lines, remains.iAttempt->iOffset)) {
            found = *there;
        } else {
            return std::nullopt;
        }
    }
    if (found.iHalf > 0 && quint64(file.Size()) == found.iEnd)
        file.TakeBack(found.iHalf); // the next process says it anew
    const QByteArray missing = lines.mid(int(found.iBytes + found.iCut));
    if (!Append(file, found.iEndsWithin && !missing.isEmpty() ? '\n' + missing : missing))
        return std::nullopt;
    return lines.mid(int(found.iBytes)).count('\n');
}
