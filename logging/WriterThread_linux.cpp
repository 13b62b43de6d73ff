#include "WriterThread.h"

#include <sched.h>

void WriterThread::StandBack()
{
    // As a caller hands a batch over, it would be the one pushed off. A system that refuses leaves things as they were.
    const sched_param parameters = {};
    ::sched_setscheduler(0, SCHED_BATCH, &parameters);
}
