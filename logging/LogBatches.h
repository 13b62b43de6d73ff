#pragma once

/// Batches of lines that stand one behind the other in memory. Each ends with a whole line.
struct LogBatches
{
    const char* iBytes = nullptr;
    const int* iSizes = nullptr; ///< of the first batch; those of the others stand before it
    int iCount = 0;

    int SizeOf(int batch) const { return iSizes[-batch]; }
};
