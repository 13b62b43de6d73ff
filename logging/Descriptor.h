#pragma once

#include <QtCore/QtGlobal>

#include <sys/types.h>

class QByteArray;

/// A file that is open for appending, by the name that the system has for it. It is closed with the object.
class Descriptor
{
public:
    /// Which file it is, whatever it is called.
    struct Identity
    {
        dev_t iDevice;
        ino_t iNumber;

        bool operator==(const Identity& other) const { return iDevice == other.iDevice && iNumber == other.iNumber; }
    };

    enum Links { Followed, Refused }; ///< in place of the file itself

    /// Creates the file when missing. Does not wait for the reader of a pipe, but for whoever has a lease on a file, as
    /// long as the system lets him.
    explicit Descriptor(const QByteArray& name, Links links = Followed);
    ~Descriptor();

    bool IsOpen() const { return iDescriptor >= 0; }
    int Number() const { return iDescriptor; }

    /// How much of the lines was written. A full disk takes what it can. A full pipe gets whole lines, and its reader
    /// so many milliseconds to make room for each; lines longer than what pipes take at once may be cut.
    qint64 Write(const char* lines, qint64 size, int patienceMs) const;
    /// Undoes the end of what was just written, unless somebody has written behind it. A pipe keeps what it has.
    void TakeBack(qint64 bytes) const;
    /// False where that cannot be done.
    bool Empty() const;
    /// A pipe has no size.
    qint64 Size() const;
    /// Whether the name leads to this file.
    bool IsAt(const QByteArray& name) const;
    Identity Which() const;
    /// No pipe, and nothing else that has no size.
    bool IsRegular() const;

    /// Keeps other processes from doing the same with this file at the same time. False when one is at it; true, too,
    /// where the file system knows no locks.
    bool Lock() const;
    void Unlock() const;

private:
    Q_DISABLE_COPY(Descriptor)

    bool CanWrite(int patienceMs) const;

    int iDescriptor = -1;
};
