#pragma once

#include "Export.h"

#include <QtCore/QTimer>

/// A single-shot timer that is a child of the object it calls, so that it can be found there and removed before the
/// object ends.
///
/// All functions are called on the thread of the object concerned.
class NEROLTORVANEBASE_EXPORT RegisteredTimer : public QTimer
{
    Q_OBJECT

public:
    /// A stopped timer; singleShot makes them ready to use.
    explicit RegisteredTimer(QObject* parent);

    /// Calls `member` of `receiver`, given as SLOT(...), once after `msec` milliseconds. Unlike QTimer's function of
    /// this name it returns the timer and keeps it: it stays a child of the receiver after it has fired, until Cleanup,
    /// CleanupTimer or the receiver's end.
    static RegisteredTimer* singleShot(int msec, QObject* receiver, const char* member);

    /// Stops and deletes all registered timers among the children of `parent`, and with `recursive` those of its other
    /// children too, all the way down, before it returns. Other timers are left alone. Nothing for a null parent.
    /// Logs at trace and debug level.
    static void Cleanup(QObject* parent, bool recursive);

    /// Stops and deletes `timer`, of whatever class, before it returns, if it is a child of `parent`; else does
    /// nothing. The timer's own slot may call it. Logs at debug level.
    static void CleanupTimer(QTimer* timer, QObject* parent);
};
