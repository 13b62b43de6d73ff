#pragma once

#include "CrashFile.h"

constexpr int kBatchBytes = 5000; ///< a buffer with more than that is handed over

/// Batches of lines that stand one behind the other in memory. Each ends with a whole line.
struct LogBatches
{
    struct Batch
    {
        int iSize = 0;
        CrashFile::Mark iMark; ///< how far the log is complete with it
    };

    const char* iBytes = nullptr;
    const Batch* iBatches = nullptr; ///< the first one; the others stand before it
    int iCount = 0;

    const Batch& At(int batch) const { return iBatches[-batch]; }
};
