#pragma once

#include "logging/LogFile.h"
#include "support/LogText.h"

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QVector>

#include <vector>

inline const QDateTime kNow(QDate(2024, 3, 5), QTime(14, 7, 9, 42));
inline const QString kLog = QStringLiteral("a.log");
/// What a rotation at that moment gives the log for a name, and begins the next file with.
inline const QString kRotated = QStringLiteral("a-2024-03-05_14-07-09.log");
inline const QByteArray kHeader = "2024-03-05 14:07:09.042continued from a-2024-03-05_14-07-09.log\n";

inline QByteArray Log()
{
    return LogText::Read(kLog);
}

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
