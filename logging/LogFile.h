#pragma once

#include "Descriptor.h"
#include "LogBatches.h"

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

    struct Outcome
    {
        int iBatches; ///< that are done with
        bool iIsOpen; ///< false when the file cannot be opened
        bool iIsWhole; ///< false when lines of those were lost
    };

    /// Appends batches, creating the file when missing, up to one that makes the file due to be rotated; and rotates it
    /// then. Lines that do not fit on the disk are lost whole, with the rest of their batch. A batch that cannot be
    /// written is done with all the same.
    Outcome Append(const LogBatches& batches);
    /// One batch. False when the file cannot be opened.
    bool Append(const QByteArray& lines);

    /// As the system has it.
    const QByteArray& Name() const { return iName; }

    /// It is the file of the Logger's own log: lines in the crash file are given up as they are written here, and
    /// rotated files that are too many are removed.
    void ServeLogger() { iIsLoggers = true; }
    /// What is complete with the next single batch.
    void SetMark(const CrashFile::Mark& mark) { iMark = mark; }

private:
    // A pipe's reader that has come to a stand is waited for so long, and not again before it has gone on.
    static constexpr int kPatienceMs = 1000;

    struct Start
    {
        Descriptor::Identity iFile;
        qint64 iMSecs;
    };

    Outcome Write(const LogBatches& batches);
    void Done(const CrashFile::Mark& mark) const;
    static int GiveUp(const Descriptor& file, const LogBatches& batches, qint64 written);
    std::optional<qint64> Created(const Descriptor& file) const;
    void Rotate(const Descriptor& file, qint64 nowMSecs);
    void Begin(const Descriptor& file, const QByteArray& header, qint64 nowMSecs);

    const QString iPath;
    const QByteArray iName;
    std::optional<Start> iStart; // of a file that cannot keep it itself
    int iPatienceMs = kPatienceMs;
    bool iIsLoggers = false;
    CrashFile::Mark iMark;
};
