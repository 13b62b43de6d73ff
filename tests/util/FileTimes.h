#pragma once

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtCore/QDateTime>

/// Times of files, and calls that tests of them make over and over.
namespace FileTimes {

constexpr qint64 kNsPerMs = 1000000;
constexpr qint64 kSomeTime = 1700000000123; // 2023-11-14T22:13:20.123Z

inline QDateTime Utc(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs, Qt::UTC);
}

inline qint64 FloorMs(qint64 ns)
{
    return (ns - (ns % kNsPerMs + kNsPerMs) % kNsPerMs) / kNsPerMs;
}

inline QDateTime Get(const QString& path, FileTimeType type)
{
    return FileInfoMac(path).GetTime(type);
}

inline bool Set(const QString& path, FileTimeType type, const QDateTime& time = Utc(kSomeTime))
{
    return FileInfoMac(path).SetTime(time, type);
}

} // namespace FileTimes
