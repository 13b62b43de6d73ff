#pragma once

#include "Descriptor.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <optional>

/// The log file as its writer knows it. One open, one write, one close: the file is never held open, so that it can be
/// moved and removed at any time.
///
/// Other processes may write to the same file and rotate it. Nothing is lost then: whoever rotates a file holds a lock
/// on it and looks first whether it still is the log.
///
/// The name is encoded once. Batches come until the very end of the process, when the framework's codecs are gone; for
/// the same reason everything here is done with the system's own calls.
class LogFile : public QObject
{
    Q_OBJECT

public:
    explicit LogFile(const QString& path, QObject* parent = nullptr);

    /// Appends the lines, creating the file when missing; lines that do not fit on the disk are lost whole. Then starts
    /// a new file if this one has grown too large or too old. False when the file cannot be opened.
    bool Append(const QByteArray& lines);

private:
    struct Start
    {
        Descriptor::Identity iFile;
        qint64 iMSecs;
    };

    bool IsDue(const Descriptor& file, qint64 nowMSecs) const;
    void Rotate(const Descriptor& file, qint64 nowMSecs);
    void Begin(const Descriptor& file, const QByteArray& header, qint64 nowMSecs);

    const QString iPath;
    const QByteArray iName;
    std::optional<Start> iStart; // of a file that cannot keep it itself
};
