#include "Host.h"
#include "ReportText.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <sys/utsname.h>

void Host::GetSystemInfo(QString& osName, QString& osVersion, QString& processor)
{
    osName = QStringLiteral("linux");
    osVersion = HostWords::LinuxVersion(FileInfoMac::GetOSVersion());
    processor.clear();
}

QString Host::CpuArchitecture()
{
    struct utsname names = {};
    ::uname(&names); // if this fails, the name is empty, and so unknown
    return HostWords::LinuxCpu(names.machine);
}

QString Host::BuildArchitecture(const QString& fileOutput)
{
    return HostWords::LinuxBuildArch(fileOutput);
}

QString Host::GraphicsScript(const QString& output)
{
    return ReportText::LinuxGraphicsScript(output);
}
