#include "Host.h"
#include "ReportText.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtCore/QOperatingSystemVersion>

#include <sys/sysctl.h>
#include <sys/utsname.h>

namespace {

// As QSysInfo::MacintoshVersion counted: 2 for 10.0, one more for each system after that, 0 for those from 11 on.
int MacintoshVersion()
{
    const QOperatingSystemVersion system = QOperatingSystemVersion::current();
    return system.majorVersion() == 10 ? system.minorVersion() + 2 : 0;
}

} // namespace

void Host::GetSystemInfo(QString& osName, QString& osVersion, QString& processor)
{
    osName = QStringLiteral("MacOSX");
    osVersion = HostWords::MacVersion(MacintoshVersion(), FileInfoMac::GetOSVersion());
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
