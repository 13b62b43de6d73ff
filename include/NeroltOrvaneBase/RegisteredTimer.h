#pragma once

#include "Export.h"

#include <QtCore/QTimer>

/// A single-shot timer that is a child of the object that it calls, so that it can be found and removed before that
/// object is destroyed.
///
/// Call all functions on the thread of that object.
class NEROLTORVANEBASE_EXPORT RegisteredTimer : public QTimer
{
    Q_OBJECT

public:
    /// Creates a stopped timer. Use singleShot instead.
    explicit RegisteredTimer(QObject* parent);

    /// Calls `member` of `receiver`, given as SLOT(...), once after `msec` milliseconds. Unlike QTimer::singleShot it
    /// returns the timer and keeps it: the timer stays a child of the receiver after it has fired, until Cleanup,
    /// CleanupTimer or the destruction of the receiver.
    static RegisteredTimer* singleShot(int msec, QObject* receiver, const char* member);

    /// Stops and deletes all registered timers among the children of `parent` before it returns, and with `recursive`
    /// among all of its descendants. Leaves other timers alone. Does nothing for a null parent. Logs at trace and debug
    /// level.
    static void Cleanup(QObject* parent, bool recursive);

    /// Stops and deletes `timer` before it returns, if it is a child of `parent`; otherwise does nothing. The timer may
    /// be of any class. The slot that it calls may call this. Logs at debug level.
    static void CleanupTimer(QTimer* timer, QObject* parent);
};
