#pragma once

#include <QtCore/QtGlobal>

#include <sys/time.h>

/// Milliseconds since the epoch: as the framework asks for them, but within the code that every line comes by.
inline qint64 MSecsSinceEpoch()
{
    timeval now;
    ::gettimeofday(&now, nullptr);
    return qint64(now.tv_sec) * 1000 + now.tv_usec / 1000;
}
