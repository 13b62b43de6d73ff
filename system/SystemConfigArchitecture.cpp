#include "Host.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QProcess>

namespace {

constexpr int kPatienceMSecs = 5000;

QString OutputOfFile(const QString& path)
{
    QProcess file;
    file.start(QStringLiteral("file"), {path}, QIODevice::ReadWrite);
    if (!file.waitForFinished(kPatienceMSecs)) {
        file.kill();
        file.waitForFinished(); // leaves no zombie
        return QString();
    }
    return QString::fromLocal8Bit(file.readAllStandardOutput().trimmed().constData());
}

} // namespace

QString SystemConfig::getCPUArchitecture()
{
    return Host::CpuArchitecture();
}

QString SystemConfig::getApplicationBuildArch()
{
    // The plug-in of the user interface stands for the whole application.
    const QString plugin = QStringLiteral("UIContentHost_").remove(QLatin1Char('_'));
    return Host::BuildArchitecture(OutputOfFile(GetPluginPath(plugin)));
}
