#include "Host.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QProcess>

#include <memory>

namespace {

constexpr int kPatienceMSecs = 5000;
constexpr int kEndMSecs = 1000;

QString OutputOfFile(const QString& path)
{
    auto file = std::make_unique<QProcess>();
    file->start(QStringLiteral("file"), {path}, QIODevice::ReadWrite);
    if (!file->waitForFinished(kPatienceMSecs)) {
        file->kill();
        // Leaves no zombie. A process that is blocked in the kernel does not end, and the destructor would wait for it.
        if (!file->waitForFinished(kEndMSecs))
            Q_UNUSED(file.release())
        return QString();
    }
    return QString::fromLocal8Bit(file->readAllStandardOutput().trimmed().constData());
}

} // namespace

QString SystemConfig::getCPUArchitecture()
{
    return Host::CpuArchitecture();
}

QString SystemConfig::getApplicationBuildArch()
{
    // The plug-in of the user interface is built like the whole application.
    const QString plugin = QStringLiteral("UIContentHost_").remove(QLatin1Char('_'));
    return Host::BuildArchitecture(OutputOfFile(GetPluginPath(plugin)));
}
