#pragma once

#include "Descriptor.h"

#include <QtCore/QByteArray>

#include <array>
#include <atomic>
#include <optional>
#include <vector>

/// How a crash file is laid out, and what is read back from one. Numbers are in the byte order of the machine.
namespace CrashFormat {

constexpr qint64 kFileBytes = 4 << 20; ///< of the section in use, which comes first
constexpr qint64 kMostBytes = 5 * kFileBytes; ///< with the sections that dead processes left

/// The name of a log. It is checked because it comes from a file.
struct LogName
{
    quint32 iSize;
    quint32 iCheck;
    std::array<char, 4096> iBytes;
};

/// A write to the log that has begun: whatever it wrote stands behind `iOffset` in that file. It counts only while the
/// lines that it wrote are still the first ones of the section.
struct Attempt
{
    quint64 iTail;
    quint64 iDevice;
    quint64 iInode;
    quint64 iOffset;
};

/// The head of a section. `iCapacity` bytes follow, a ring of records. A record is the size of a line, its check and
/// the line. Positions count all bytes that were ever put. Each field that decides anything changes in a single store,
/// so that a process may die between any two instructions.
struct Section
{
    explicit Section(quint64 capacity);

    /// @name Set once
    /// @{
    std::array<char, 8> iMagic;
    quint32 iVersion;
    quint32 iByteOrder;
    quint64 iCapacity;
    quint64 iCheck; ///< of the fields before it
    std::array<char, 32> iUnused = {}; // what two threads change is in different cache lines
    /// @}

    /// @name Set by whoever logs
    /// @{
    std::atomic<quint64> iHead{0}; ///< where the next record goes
    std::atomic<quint64> iUnprotected{0}; ///< lines that found no room
    std::array<char, 48> iUnusedToo = {};
    /// @}

    /// @name Set by the writer
    /// @{
    std::atomic<quint64> iTail{0}; ///< where the first record begins that is not in the log
    std::atomic<quint64> iUnprotectedDone{0}; ///< those of the lines without room that the writer is done with
    std::atomic<quint32> iIsAttemptSet{0};
    quint32 iAttemptCheck = 0;
    Attempt iAttempt{};
    /// @}

    std::atomic<quint32> iIsOver{0}; ///< its process has ended as it should
    std::atomic<quint32> iLog{0}; ///< which of the names counts
    std::array<LogName, 2> iLogs{};

    /// The ring.
    char* Bytes() { return reinterpret_cast<char*>(this + 1); }
    const char* Bytes() const { return reinterpret_cast<const char*>(this + 1); }

    void Put(quint64 position, const void* bytes, quint64 size);
    void Get(quint64 position, void* bytes, quint64 size) const;

    /// All that `other` holds, which is as large. iIsOver stays.
    void TakeOver(const Section& other);
    void SetLog(const QByteArray& name);
    void SetAttempt(const Descriptor::Identity& file, qint64 offset);
};

constexpr quint64 kCapacity = quint64(kFileBytes) - sizeof(Section);
constexpr int kRecordHead = 8; ///< bytes before a line

/// Of the bytes of a line or another piece. Finds damage, and is no defence against forgery.
quint32 Check(const char* bytes, quint64 size);
/// Copies them, and returns their check.
quint32 Copy(char* to, const char* bytes, quint64 size);

/// What a section holds.
struct Remains
{
    QByteArray iLog; ///< its name; empty when there was none yet
    QByteArray iLines; ///< one behind the other, each with its line feed
    std::optional<Attempt> iAttempt; ///< the last one
    bool iIsAttemptOpen; ///< it is not known how much of the lines it wrote
    quint64 iUnprotected; ///< lines that are not here and may not be in the log
    bool iIsOver; ///< there is nothing more to know
};

/// Reads the section at `bytes`, of which there are `size`. No value for one that is damaged.
std::optional<Remains> Read(const char* bytes, quint64 size);

/// How many bytes the section at `bytes` takes, 0 when that cannot be told.
quint64 SizeOf(const char* bytes, quint64 size);

/// All sections of a file, the one that was in use last. No value when one of them is damaged.
std::optional<std::vector<Remains>> ReadAll(const QByteArray& file);

/// A section with just these remains.
QByteArray Kept(const Remains& remains);

} // namespace CrashFormat
