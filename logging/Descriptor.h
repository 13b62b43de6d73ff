#pragma once

#include <QtCore/QtGlobal>

#include <sys/stat.h>
#include <sys/types.h>

class QByteArray;

/// Closes a file with itself.
class OwnedFile
{
public:
    /// Which file it is, whatever it is called.
    struct Identity
    {
        dev_t iDevice;
        ino_t iNumber;

        bool operator==(const Identity& other) const { return iDevice == other.iDevice && iNumber == other.iNumber; }
    };

    /// With what the system's open returned.
    explicit OwnedFile(int descriptor = -1)
        : iDescriptor(descriptor)
    {
    }
    ~OwnedFile();

    bool IsOpen() const { return iDescriptor >= 0; }
    int Number() const { return iDescriptor; }
    /// Zeros when the system does not tell.
    struct stat Status() const;
    Identity Which() const;
    /// As the system's pread, but a signal does not end it.
    ssize_t Read(char* bytes, size_t size, qint64 offset) const;

protected:
    int iDescriptor;

private:
    Q_DISABLE_COPY(OwnedFile)
};

/// A file that is open for appending, by the name that the system has for it.
class Descriptor : public OwnedFile
{
public:
    enum Links { Followed, Refused }; ///< in place of the file itself

    /// Creates the file when missing. Does not wait for the reader of a pipe, but for whoever has a lease on a file, as
    /// long as the system lets him.
    explicit Descriptor(const QByteArray& name, Links links = Followed);

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
    /// No pipe, and nothing else that has no size.
    bool IsRegular() const;

    /// Keeps other processes from doing the same with this file at the same time. False when one is at it; true, too,
    /// where the file system knows no locks.
    bool Lock() const;
    void Unlock() const;

private:
    bool CanWrite(int patienceMs) const;
};
