#include "Memory.h"

#include <QtCore/QFile>

namespace {

qint64 StatusBytes(const char* name)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith(name))
            return line.simplified().split(' ').value(1).toLongLong() * 1024;
    }
    return 0;
}

} // namespace

qint64 Memory::Resident()
{
    return StatusBytes("VmRSS:");
}

qint64 Memory::Peak()
{
    return StatusBytes("VmHWM:");
}
