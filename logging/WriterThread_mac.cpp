#include "WriterThread.h"

void WriterThread::StandBack()
{
    // Threads that are woken push nobody off there.
}
