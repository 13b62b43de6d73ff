#pragma once

#include <QtCore/QDeadlineTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QObject>

#include <functional>

class RegisteredTimer;

/// Runs the event loop until something has happened. A host that sleeps instead stops the log's timer, which runs in
/// the event loop of the thread that used the log first.
class Wait : public QObject
{
    Q_OBJECT

public:
    ~Wait() override;

    /// Returns whether `isDone` became true in time. Calls it every few milliseconds.
    static bool Until(const std::function<bool()>& isDone, QDeadlineTimer deadline = QDeadlineTimer::Forever);

private Q_SLOTS:
    void onTick();

private:
    Wait(const std::function<bool()>& isDone, QDeadlineTimer deadline);

    const std::function<bool()>& iIsDone;
    const QDeadlineTimer iDeadline;
    QEventLoop iLoop;
    RegisteredTimer* iTimer = nullptr;
};
