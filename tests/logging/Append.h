#pragma once

#include "logging/LogFile.h"

#include <QtCore/QList>
#include <QtCore/QVector>

#include <vector>

/// Whether the file could be opened.
inline bool Append(const QString& path, const QByteArray& bytes)
{
    return LogFile(path).Append(bytes);
}

/// What waits together. Calls until all are done with, and returns how many were each time.
inline QVector<int> AppendTogether(LogFile& file, const QList<QByteArray>& batches)
{
    const QByteArray bytes = batches.join();
    std::vector<LogBatches::Batch> sizes;
    for (const QByteArray& batch : batches)
        sizes.insert(sizes.begin(), {int(batch.size()), {}});
    QVector<int> done;
    const char* from = bytes.constData();
    for (int left = int(batches.size()); left > 0; left -= done.last()) {
        done += file.Append({from, &sizes[size_t(left - 1)], left}).iBatches;
        for (int i = 0; i < done.last(); ++i)
            from += sizes[size_t(left - 1 - i)].iSize;
    }
    return done;
}
