#pragma once

#include "Export.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>

class RegisteredTimer;
struct LogBatches;

/// Writes the log file: appends batches of lines, and starts a new file when it has grown too large or too old.
///
/// It lives on the logging thread and is called only there. The file is opened for each batch and closed again. A batch
/// that cannot be written, for want of memory too, is dropped without a word.
///
/// Right after the batch that took the file over 104857600 bytes, or that found it more than 86400 seconds old, the
/// file is renamed within its folder to "<complete base name>-yyyy-MM-dd_hh-mm-ss.<suffix>", and a new one begins with
/// the line "yyyy-MM-dd hh:mm:ss.zzzcontinued from <new name of the old file>". A file that cannot be renamed loses its
/// content: in a folder that must not be written, or when its new name is taken, as by a second rotation within one
/// second.
///
/// Several processes may write to one file. The one that finds it due locks it, and rotates it unless another has done
/// so meanwhile; nothing is lost between them. A link in the file's place is written through and renamed as a file
/// is; what it leads to is never emptied.
class NEROLTORVANEBASE_EXPORT LoggerWorker : public QObject
{
    Q_OBJECT

public:
    /// A stopped worker for the file at `fileName`; its folder must exist.
    explicit LoggerWorker(const QString& fileName);
    ~LoggerWorker() override;

    /// Writes the oldest batch, if any. With `scheduleMore` the rest follows, one batch per pass of the event loop.
    void Log(bool scheduleMore);

public Q_SLOTS:
    /// From now on batches are accepted.
    void onStartWorker();
    /// Writes everything it holds, then `batch`, before it returns. Later batches are dropped.
    void onStopWorker(const QByteArray& batch);
    /// Writes the batch, or queues it behind others; dropped unless started.
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
