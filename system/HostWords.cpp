#include "Host.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

namespace {

QString Dotted(const OSVersion& version)
{
    return QString::number(version.iMajor) + QLatin1Char('.') + QString::number(version.iMinor);
}

QString BuildArch(bool hasIntel, bool hasArm)
{
    if (hasIntel)
        return hasArm ? QStringLiteral("Universal") : QStringLiteral("intelx64");
    return hasArm ? QStringLiteral("arm64") : QString();
}

bool IsMacIntel(const QString& fileOutput)
{
    return fileOutput.contains(QLatin1String("x86_64"));
}

bool IsMacArm(const QString& fileOutput)
{
    return fileOutput.contains(QLatin1String("arm64"));
}

} // namespace

QString HostWords::MacVersion(int macintoshVersion, const OSVersion& version)
{
    switch (macintoshVersion) {
    case 6:
        return QStringLiteral("10.4");
    case 7:
        return QStringLiteral("10.5");
    case 8:
        return QStringLiteral("10.6");
    case 9:
        return QStringLiteral("10.7");
    case 10:
        return QStringLiteral("10.8");
    case 11:
        return QStringLiteral("10.9");
    default:
        return Dotted(version);
    }
}

QString HostWords::MacProcessor(const char* machine)
{
    return QLatin1String("intel_") + QString::fromUtf8(machine ? machine : "i386");
}

QString HostWords::MacCpu(quint32 cpuType)
{
    switch (cpuType) {
    case 0x0200000C:
        return QStringLiteral("arm");
    case 0x0100000C:
        return QStringLiteral("arm64");
    case 7:
        return QStringLiteral("x86_64");
    default:
        return QStringLiteral("Unknown");
    }
}

QString HostWords::MacBuildArch(const QString& fileOutput)
{
    return BuildArch(IsMacIntel(fileOutput), IsMacArm(fileOutput));
}

QString HostWords::LinuxVersion(const OSVersion& version)
{
    return Dotted(version);
}

QString HostWords::LinuxCpu(const char* machine)
{
    QString name = QString::fromUtf8(machine);
    if (name == QLatin1String("x86_64"))
        return name;
    if (name == QLatin1String("aarch64") || name == QLatin1String("arm64"))
        return QStringLiteral("arm64");
    if (name.startsWith(QLatin1String("arm")))
        return QStringLiteral("arm");
    return QStringLiteral("Unknown");
}

QString HostWords::LinuxBuildArch(const QString& fileOutput)
{
    return BuildArch(IsMacIntel(fileOutput) || fileOutput.contains(QLatin1String("x86-64")),
                     IsMacArm(fileOutput) || fileOutput.contains(QLatin1String("ARM aarch64")));
}
