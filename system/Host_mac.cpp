#include "Host.h"
#include "ReportText.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtCore/QSysInfo>

#include <sys/sysctl.h>
#include <sys/utsname.h>

void Host::GetSystemInfo(QString& osName, QString& osVersion, QString& processor)
{
    osName = QStringLiteral("MacOSX");
    osVersion = HostWords::MacVersion(QSysInfo::MacintoshVersion, FileInfoMac::GetOSVersion());
    struct utsname names = {};
    processor = HostWords::MacProcessor(::uname(&names) == 0 ? names.machine : nullptr);
}

QString Host::CpuArchitecture()
{
    quint32 type = 0;
    std::size_t size = sizeof type;
    if (::sysctlbyname("hw.cputype", &type, &size, nullptr, 0) != 0)
        return QStringLiteral("Unknown");
    return HostWords::MacCpu(type);
}

QString Host::BuildArchitecture(const QString& fileOutput)
{
    return HostWords::MacBuildArch(fileOutput);
}

QString Host::GraphicsScript(const QString& output)
{
    return ReportText::MacGraphicsScript(output);
}
