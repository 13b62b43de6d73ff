#pragma once

#include <QtCore/QMutex>
#include <QtCore/QWaitCondition>

class QDeadlineTimer;

/// How far the batches of one log file have come, for those who wait for that. Any thread may call.
class LogProgress
{
public:
    LogProgress() = default;

    /// So many batches are in the file, or given up.
    void Done(quint64 count);
    /// There will be no more.
    void End();
    /// Until so many are done. False when the time is over, or they will never be.
    bool WaitFor(quint64 count, const QDeadlineTimer& deadline);

    /// Lines of this process's log were lost.
    static void Lose();
    /// False when lines were lost since the calling thread asked last.
    static bool IsWhole();

private:
    Q_DISABLE_COPY(LogProgress)

    QMutex iMutex;
    QWaitCondition iChange;
    quint64 iDone = 0;
    int iWaiting = 0;
    bool iIsOver = false;
};
