#include "CrashFormat.h"

#include <QtCore/QtEndian>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

namespace CrashFormat {

namespace {

constexpr std::array<char, 8> kMagic = {'N', 'e', 'r', 'o', 'l', 't', 'C', 'F'};
constexpr quint32 kVersion = 1;
constexpr quint32 kByteOrder = 0x01020304;
constexpr quint64 kAlignment = alignof(Section);
constexpr quint64 kWord = sizeof(quint64);

static_assert(std::atomic<quint64>::is_always_lock_free && std::atomic<quint32>::is_always_lock_free,
              "other processes read what they leave in memory");

quint64 Aligned(quint64 size)
{
    return (size + kAlignment - 1) & ~(kAlignment - 1);
}

// Two sums of eight bytes at a time, one of them weighted by the place. Calls `take` with each place that it has read.
// The last eight bytes may overlap those before: a processor waits when it reads together what was just written in
// pieces.
template <typename Take>
quint32 SumOf(const char* bytes, quint64 size, Take take)
{
    quint64 sum = size;
    quint64 weighted = 0;
    const auto add = [&sum, &weighted](quint64 word) {
        sum += word;
        weighted += sum;
    };
    const auto word = [bytes, take](quint64 at) {
        const auto read = qFromLittleEndian<quint64>(bytes + at);
        take(at);
        return read;
    };
    const quint64 rest = size % kWord;
    for (quint64 at = 0; at + kWord <= size; at += kWord)
        add(word(at));
    if (size < kWord) {
        quint64 few = 0;
        std::memcpy(&few, bytes, size);
        add(few);
    } else if (rest > 0) {
        add(word(size - kWord) >> (8 * (kWord - rest)));
    }
    const quint64 both = (sum ^ (weighted << 7 | weighted >> 57)) * 0x9e3779b97f4a7c15;
    return quint32(both >> 32);
}

template <typename Piece>
quint32 CheckOf(const Piece& piece)
{
    return Check(reinterpret_cast<const char*>(&piece), sizeof piece);
}

quint64 CheckOfHead(const Section& section)
{
    return Check(reinterpret_cast<const char*>(&section), offsetof(Section, iCheck));
}

bool IsIntact(const Section& section, quint64 size)
{
    return section.iMagic == kMagic && section.iVersion == kVersion && section.iByteOrder == kByteOrder
        && section.iCheck == CheckOfHead(section) && SizeOf(reinterpret_cast<const char*>(&section), size) != 0;
}

std::optional<QByteArray> LogOf(const Section& section)
{
    const LogName& name = section.iLogs.at(section.iLog);
    if (name.iSize > name.iBytes.size() || name.iCheck != Check(name.iBytes.data(), name.iSize))
        return std::nullopt;
    const QByteArray log(name.iBytes.data(), int(name.iSize));
    const bool isOne = log.isEmpty() || (log.startsWith('/') && !log.contains('\0'));
    return isOne ? std::make_optional(log) : std::nullopt;
}

std::optional<QByteArray> LinesOf(const Section& section)
{
    QByteArray lines;
    for (quint64 at = section.iTail; at != section.iHead;) {
        std::array<quint32, 2> head = {};
        const quint64 left = section.iHead - at;
        if (left <= sizeof head)
            return std::nullopt;
        section.Get(at, head.data(), sizeof head);
        const quint64 size = head[0];
        if (size == 0 || size > left - sizeof head)
            return std::nullopt;
        const auto before = lines.size();
        lines.resize(before + int(size));
        char* const line = lines.data() + before;
        section.Get(at + sizeof head, line, size);
        if (head[1] != Check(line, size) || std::memchr(line, '\n', size) != line + size - 1)
            return std::nullopt;
        at += sizeof head + size;
    }
    return lines;
}

} // namespace

Section::Section(quint64 capacity)
    : iMagic(kMagic)
    , iVersion(kVersion)
    , iByteOrder(kByteOrder)
    , iCapacity(capacity)
    , iCheck(CheckOfHead(*this))
{
}

void Section::Put(quint64 position, const void* bytes, quint64 size)
{
    const quint64 at = position % iCapacity;
    const quint64 first = std::min(size, iCapacity - at);
    std::memcpy(Bytes() + at, bytes, first);
    std::memcpy(Bytes(), static_cast<const char*>(bytes) + first, size - first);
}

void Section::Get(quint64 position, void* bytes, quint64 size) const
{
    const quint64 at = position % iCapacity;
    const quint64 first = std::min(size, iCapacity - at);
    std::memcpy(bytes, Bytes() + at, first);
    std::memcpy(static_cast<char*>(bytes) + first, Bytes(), size - first);
}

void Section::TakeOver(const Section& other)
{
    const auto copy = [this, &other](size_t from, size_t to) {
        std::memcpy(reinterpret_cast<char*>(this) + from, reinterpret_cast<const char*>(&other) + from, to - from);
    };
    copy(offsetof(Section, iHead), offsetof(Section, iIsOver));
    copy(offsetof(Section, iLog), sizeof(Section) + iCapacity);
}

// Into the place that does not count.
void Section::SetLog(const QByteArray& name)
{
    const quint32 next = 1 - iLog;
    LogName& log = iLogs.at(next);
    log.iSize = name.size() <= int(log.iBytes.size()) ? quint32(name.size()) : 0; // no file has such a name
    std::copy_n(name.constData(), log.iSize, log.iBytes.data());
    log.iCheck = Check(log.iBytes.data(), log.iSize);
    iLog.store(next, std::memory_order_release);
}

void Section::SetAttempt(const Descriptor::Identity& file, qint64 offset)
{
    iIsAttemptSet.store(0);
    iAttempt = {iTail, quint64(file.iDevice), quint64(file.iNumber), quint64(offset)};
    iAttemptCheck = CheckOf(iAttempt);
    iIsAttemptSet.store(1);
}

quint32 Check(const char* bytes, quint64 size)
{
    return SumOf(bytes, size, [](quint64) {});
}

quint32 Copy(char* to, const char* bytes, quint64 size)
{
    if (size < kWord)
        std::memcpy(to, bytes, size);
    return SumOf(bytes, size, [to, bytes](quint64 at) { std::memcpy(to + at, bytes + at, kWord); });
}

quint64 SizeOf(const char* bytes, quint64 size)
{
    if (size < sizeof(Section))
        return 0;
    const quint64 capacity = reinterpret_cast<const Section*>(bytes)->iCapacity;
    // Where the next one begins it is read in place.
    return capacity <= size - sizeof(Section) && capacity % kAlignment == 0 ? sizeof(Section) + capacity : 0;
}

std::optional<Remains> Read(const char* bytes, quint64 size)
{
    const auto& section = *reinterpret_cast<const Section*>(bytes);
    if (size < sizeof(Section) || !IsIntact(section, size))
        return std::nullopt;
    if (section.iIsOver != 0)
        return Remains{QByteArray(), QByteArray(), std::nullopt, false, 0, true};
    if (section.iHead - section.iTail > section.iCapacity || section.iLog >= section.iLogs.size())
        return std::nullopt;
    const std::optional<QByteArray> log = LogOf(section);
    const std::optional<QByteArray> lines = LinesOf(section);
    if (!log || !lines)
        return std::nullopt;
    Remains remains{*log, *lines, std::nullopt, false, section.iUnprotected - section.iUnprotectedDone, false};
    if (section.iIsAttemptSet != 0) {
        if (section.iAttemptCheck != CheckOf(section.iAttempt))
            return std::nullopt;
        remains.iAttempt = section.iAttempt;
        remains.iIsAttemptOpen = section.iAttempt.iTail == section.iTail;
    }
    return remains;
}

std::optional<std::vector<Remains>> ReadAll(const QByteArray& file)
{
    std::vector<Remains> all;
    const auto size = quint64(file.size());
    if (SizeOf(file.constData(), size) != quint64(kFileBytes))
        return std::nullopt;
    for (quint64 at = 0; at != size; at += SizeOf(file.constData() + at, size - at)) {
        std::optional<Remains> remains = Read(file.constData() + at, size - at);
        if (!remains)
            return std::nullopt;
        all.push_back(std::move(*remains));
    }
    std::rotate(all.begin(), all.begin() + 1, all.end());
    return all;
}

QByteArray Kept(const Remains& remains)
{
    const quint64 lines = quint64(remains.iLines.size()) + kRecordHead * quint64(remains.iLines.count('\n'));
    QByteArray kept(int(Aligned(sizeof(Section) + lines)), '\0');
    auto* const section = new (kept.data()) Section(quint64(kept.size()) - sizeof(Section));
    section->SetLog(remains.iLog);
    section->iUnprotected = remains.iUnprotected;
    quint64 head = 0;
    for (const char* line = remains.iLines.constData(); line != remains.iLines.constEnd();) {
        const char* const end
            = static_cast<const char*>(std::memchr(line, '\n', size_t(remains.iLines.constEnd() - line))) + 1;
        const auto size = quint64(end - line);
        const std::array<quint32, 2> about = {quint32(size), Check(line, size)};
        section->Put(head, about.data(), sizeof about);
        section->Put(head + sizeof about, line, size);
        head += sizeof about + size;
        line = end;
    }
    if (remains.iAttempt) {
        section->iAttempt = *remains.iAttempt;
        section->iAttempt.iTail = remains.iIsAttemptOpen ? 0 : ~quint64(0);
        section->iAttemptCheck = CheckOf(section->iAttempt);
        section->iIsAttemptSet = 1;
    }
    section->iHead = head;
    return kept;
}

} // namespace CrashFormat
