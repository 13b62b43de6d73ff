#include "Machine.h"

#include "Stopwatch.h"

#include <spdlog/version.h>

#include <QtCore/QFile>
#include <QtCore/QStorageInfo>
#include <QtCore/QSysInfo>
#include <QtCore/QThread>

namespace {

QString FirstValue(const QString& path, const QByteArray& name)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith(name))
            return QString::fromUtf8(line.mid(line.indexOf(':') + 1).simplified());
    }
    return {};
}

QString Processor()
{
    const QString model = FirstValue(QStringLiteral("/proc/cpuinfo"), "model name");
    return QStringLiteral("%1, %2 cores")
        .arg(model.isEmpty() ? QSysInfo::currentCpuArchitecture() : model)
        .arg(QThread::idealThreadCount());
}

QString MemorySize()
{
    const qint64 kib
        = FirstValue(QStringLiteral("/proc/meminfo"), "MemTotal").section(QLatin1Char(' '), 0, 0).toLongLong();
    return kib ? QStringLiteral("%1 GiB").arg(double(kib) / 1048576.0, 0, 'f', 1) : QStringLiteral("unknown");
}

QString SpdlogVersion()
{
    return QStringLiteral("%1.%2.%3").arg(SPDLOG_VER_MAJOR).arg(SPDLOG_VER_MINOR).arg(SPDLOG_VER_PATCH);
}

} // namespace

QVector<Machine::Fact> Machine::Facts(const QString& folder)
{
    const QString flags = QStringLiteral(BENCH_FLAGS).trimmed();
    return {
        {QStringLiteral("Processor"), Processor()},
        {QStringLiteral("Memory"), MemorySize()},
        {QStringLiteral("System"),
         QSysInfo::prettyProductName() + QLatin1String(", kernel ") + QSysInfo::kernelType() + QLatin1Char(' ')
             + QSysInfo::kernelVersion()},
        {QStringLiteral("File system of the logs"), QString::fromLatin1(QStorageInfo(folder).fileSystemType())},
        {QStringLiteral("Compiler"),
         QStringLiteral(BENCH_COMPILER) + QLatin1String(", ") + QStringLiteral(BENCH_BUILD_TYPE)
             + (flags.isEmpty() ? QString() : QLatin1Char(' ') + flags)},
        {QStringLiteral("Libraries"),
         QLatin1String("Qt ") + QString::fromLatin1(qVersion()) + QLatin1String(", spdlog ") + SpdlogVersion()},
        {QStringLiteral("Reading the clock"), QStringLiteral("%1 ns").arg(ClockCost(), 0, 'f', 1)},
    };
}

QString Machine::Load()
{
    QFile file(QStringLiteral("/proc/loadavg"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLatin1(file.readAll()).section(QLatin1Char(' '), 0, 0);
}
