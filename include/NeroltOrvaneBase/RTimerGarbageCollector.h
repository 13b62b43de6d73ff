#pragma once

#include "Export.h"

#include <QtCore/QObject>

class QTimer;

/// Adopts stopped timers and deletes them in the next iteration of the event loop, or when it is destroyed itself.
class NEROLTORVANEBASE_EXPORT RTimerGarbageCollector : public QObject
{
    Q_OBJECT

public:
    /// `parent` owns the object, if it is not null.
    explicit RTimerGarbageCollector(QObject* parent);

    /// Makes `timer` a child of this object and schedules its deletion. Both must live on the calling thread. Does
    /// nothing for null. Logs at debug level.
    void AddTimer(QTimer* timer);
};
