#include "Memory.h"

#include <QtCore/QFile>

namespace {

qint64 StatusKiB(const char* name)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith(name))
            return line.simplified().split(' ').value(1).toLongLong();
    }
    return 0;
}

} // namespace

qint64 Memory::Resident()
{
    return StatusKiB("VmRSS:") * 1024;
}

qint64 Memory::Peak()
{
    return StatusKiB("VmHWM:") * 1024;
}

void Memory::ForgetPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}
