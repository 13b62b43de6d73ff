#pragma once

#include "Export.h"

#include <QtCore/QObject>

class QTimer;

/// Adopts stopped timers and deletes them: when the event loop comes round, or with itself, whichever is first.
class NEROLTORVANEBASE_EXPORT RTimerGarbageCollector : public QObject
{
    Q_OBJECT

public:
    /// Owned by `parent`, if there is one.
    explicit RTimerGarbageCollector(QObject* parent);

    /// Makes `timer` a child of this object and schedules its deletion. Both must live on the calling thread. Nothing
    /// for null. Logs at debug level.
    void AddTimer(QTimer* timer);
};
