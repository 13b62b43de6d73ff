#include "Memory.h"

#include <mach/mach.h>

namespace {

mach_task_basic_info Info()
{
    mach_task_basic_info info = {};
    mach_msg_type_number_t size = MACH_TASK_BASIC_INFO_COUNT;
    if (::task_info(mach_task_self(), MACH_TASK_BASIC_INFO, reinterpret_cast<task_info_t>(&info), &size)
        != KERN_SUCCESS)
        return {};
    return info;
}

} // namespace

qint64 Memory::Resident()
{
    return qint64(Info().resident_size);
}

qint64 Memory::Peak()
{
    return qint64(Info().resident_size_max);
}
