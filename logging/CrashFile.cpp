#include "CrashFile.h"

#include "CrashFormat.h"
#include "CrashRecovery.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QWaitCondition>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>

namespace {

constexpr int kRoomMs = 1000;
constexpr std::chrono::milliseconds kAgentTimeout(1000);

// Never destroyed, threads may log until the very end of the process.
struct Use
{
    QMutex iMutex;
    QWaitCondition iRoom;
    bool iIsPatient = true; ///< the writer has gone on since somebody waited in vain
    int iWaiting = 0;
    std::shared_ptr<CrashFile> iFile;
    CrashFile::Mark iLast; ///< of the file before
};

std::atomic<Use*> gUse{nullptr};

Use& TheUse()
{
    Use* use = gUse.load();
    if (!use) {
        auto made = std::make_unique<Use>();
        if (gUse.compare_exchange_strong(use, made.get()))
            use = made.release();
    }
    return *use;
}

} // namespace

std::atomic<CrashFile*> CrashFile::iCurrent{nullptr};

std::shared_ptr<CrashFile> CrashFile::Used()
{
    if (!iCurrent.load())
        return nullptr;
    const std::lock_guard<QMutex> lock(TheUse().iMutex);
    return TheUse().iFile;
}

void CrashFile::Use(std::shared_ptr<CrashFile> file)
{
    if (!file && !iCurrent.load())
        return;
    ::Use& use = TheUse();
    const std::lock_guard<QMutex> lock(use.iMutex);
    use.iLast = use.iFile ? End() : use.iLast;
    if (file)
        file->Continue(use.iFile.get(), use.iLast);
    iCurrent = file.get();
    use.iFile.swap(file);
    use.iRoom.wakeAll();
}

void CrashFile::GiveUp()
{
    iSection.iTail = iSection.iHead.load();
}

// Another thread may have held its mutex, so that this one is given up.
void CrashFile::ForgetInChild()
{
    if (const CrashFile* const file = iCurrent.exchange(nullptr))
        file->Abandon();
    gUse = nullptr;
}

bool CrashFile::HasRoom(quint64 bytes) const
{
    return iSection.iHead - iSection.iTail + bytes <= CrashFormat::kCapacity;
}

void CrashFile::AwaitRoom(std::unique_lock<QRecursiveMutex>& agent, quint64 bytes)
{
    const auto mustWait = [&agent, bytes] {
        const CrashFile* const used = agent ? Current() : nullptr;
        return used && !used->HasRoom(bytes) && bytes <= CrashFormat::kCapacity;
    };
    if (!mustWait()) // nearly always: the clock is not asked
        return;
    const QDeadlineTimer deadline(kRoomMs);
    while (mustWait()) {
        ::Use& use = TheUse();
        {
            std::unique_lock<QMutex> lock(use.iMutex);
            if (deadline.hasExpired())
                use.iIsPatient = false;
            if (!use.iIsPatient)
                return;
            agent.unlock();
            ++use.iWaiting;
            if (!Current() || !Current()->HasRoom(bytes))
                use.iRoom.wait(&use.iMutex, deadline);
            --use.iWaiting;
        }
        if (!agent.try_lock_for(kAgentTimeout))
            return;
    }
}

// It may have been taken away while the caller waited for room.
void CrashFile::Put(const char* line, int size)
{
    if (CrashFile* const used = Current())
        used->Add(line, size);
}

void CrashFile::Add(const char* line, int size)
{
    constexpr quint64 kHead = CrashFormat::kRecordHead;
    const quint64 record = kHead + quint64(size);
    if (!HasRoom(record)) {
        iSection.iUnprotected.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    const auto length = quint32(size);
    const quint64 position = iSection.iHead.load(std::memory_order_relaxed);
    if (iAt + record < CrashFormat::kCapacity) {
        char* const out = iSection.Bytes() + iAt;
        const quint32 check = CrashFormat::Copy(out + kHead, line, length);
        std::memcpy(out, &length, sizeof length);
        std::memcpy(out + sizeof length, &check, sizeof check);
        iAt += record;
    } else {
        const std::array<quint32, 2> head = {length, CrashFormat::Check(line, length)};
        static_assert(sizeof head == kHead);
        iSection.Put(position, head.data(), kHead);
        iSection.Put(position + kHead, line, length);
        iAt = (position + record) % CrashFormat::kCapacity;
    }
    iSection.iHead.store(position + record, std::memory_order_release);
}

CrashFile::Mark CrashFile::End()
{
    const CrashFile* const used = Current();
    return used ? Mark{used->iSection.iHead, used->iSection.iUnprotected} : Mark();
}

void CrashFile::SetLog(const QByteArray& name)
{
    iSection.SetLog(name);
}

void CrashFile::BeginWrite(const Descriptor& file, qint64 offset)
{
    if (!iCurrent.load())
        return;
    const std::lock_guard<QMutex> lock(TheUse().iMutex);
    if (CrashFile* const used = iCurrent)
        used->iSection.SetAttempt(file.Which(), offset);
}

void CrashFile::Done(const Mark& mark)
{
    if (!iCurrent.load())
        return;
    ::Use& use = TheUse();
    const std::lock_guard<QMutex> lock(use.iMutex);
    CrashFile* const used = iCurrent;
    if (!used || mark.iEnd < used->iSection.iTail)
        return;
    used->iSection.iTail = mark.iEnd;
    used->iSection.iUnprotectedDone = mark.iUnprotected;
    use.iIsPatient = true;
    if (use.iWaiting > 0)
        use.iRoom.wakeAll();
}

void CrashFile::ForgetWrite()
{
    iSection.iIsAttemptSet = 0;
}

// The marks of batches that wait stay right: positions go on where those of the file before ended.
void CrashFile::Continue(CrashFile* before, const Mark& end)
{
    iAt = end.iEnd % CrashFormat::kCapacity;
    iSection.iIsOver = 1; // so that nobody reads half of it
    if (before) {
        iSection.TakeOver(before->iSection);
    } else {
        iSection.iHead = iSection.iTail = end.iEnd;
        iSection.iUnprotected = iSection.iUnprotectedDone = end.iUnprotected;
    }
    iSection.iIsOver = 0;
    if (before)
        before->GiveUp();
}

CrashFile::Recovered CrashFile::Recover(const QByteArray& newLog)
{
    const std::lock_guard<QMutex> lock(iRecovery);
    Recovered recovered;
    bool isAllDone = true;
    const auto size = quint64(iMapping.iSize);
    quint64 next = 0;
    for (quint64 at = CrashFormat::kFileBytes; at < size; at = next) {
        char* const bytes = iMapping.iBytes + at;
        auto& section = *reinterpret_cast<CrashFormat::Section*>(bytes);
        const std::optional<CrashFormat::Remains> remains = CrashFormat::Read(bytes, size - at);
        if (!remains) // somebody has changed it since Open
            return recovered;
        next = at + CrashFormat::SizeOf(bytes, size - at);
        if (remains->iIsOver)
            continue;
        const std::optional<qint64> lines = CrashRecovery::Complete(section, *remains, newLog);
        isAllDone &= lines.has_value();
        if (!lines)
            continue;
        section.iIsOver = 1;
        recovered.iIsAny = true;
        recovered.iLines += *lines;
        recovered.iUnprotected += remains->iUnprotected;
    }
    if (isAllDone)
        iMapping.Shrink(CrashFormat::kFileBytes);
    return recovered;
}
