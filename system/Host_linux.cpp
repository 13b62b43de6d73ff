#include "Host.h"
#include "HostWords.h"
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
    ::uname(&names); // without an answer the machine has no name, which is none that is known
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
