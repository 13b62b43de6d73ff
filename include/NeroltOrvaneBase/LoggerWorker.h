#pragma once

#include "Export.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>

class RegisteredTimer;
struct LogBatches;

/// Writes the log file: appends batches of lines, and starts a new file when the old one is too large or too old.
///
/// It lives on the logging thread and is called only there. It opens the file for each batch, or for those that waited
/// together, and closes it again. It drops a batch that it cannot write, also for lack of memory, and does not report
/// that.
///
/// After a batch that takes the file over 104857600 bytes, or that finds it more than 86400 seconds old, it renames the
/// file within its folder to "<complete base name>-yyyy-MM-dd_hh-mm-ss.<suffix>". The new file begins with the line
/// "yyyy-MM-dd hh:mm:ss.zzzcontinued from <new name of the old file>". A file that cannot be renamed loses its content:
/// if its folder is not writable, or if the new name is taken, for example by another rotation in the same second.
///
/// Several processes may write to one file. The process that finds the file due locks it, and rotates it unless another
/// process has done so meanwhile. No line is lost between them. A link in the file's place is followed for writing and
/// renamed like a file. Its target is never emptied.
class NEROLTORVANEBASE_EXPORT LoggerWorker : public QObject
{
    Q_OBJECT

public:
    /// Creates a stopped worker for the file at `fileName`. The folder must exist.
    explicit LoggerWorker(const QString& fileName);
    ~LoggerWorker() override;

    /// Writes the oldest batch, if any. With `scheduleMore` the others follow, one per iteration of the event loop.
    void Log(bool scheduleMore);

public Q_SLOTS:
    /// Accepts batches from now on.
    void onStartWorker();
    /// Writes all queued batches, then `batch`, before it returns. Drops later batches.
    void onStopWorker(const QByteArray& batch);
    /// Writes the batch, or queues it behind others. Drops it unless the worker is started.
    void onLogMessage(const QByteArray& batch);
    /// Writes the next queued batch.
    void onLog();

private:
    Q_DISABLE_COPY(LoggerWorker)

    friend class LogDelivery;

    int WriteTogether(const LogBatches& batches);

    QList<QByteArray> iQueue;
    QString iFileName;
    bool iRunning = false;
    RegisteredTimer* iPendingWrite = nullptr;
};
