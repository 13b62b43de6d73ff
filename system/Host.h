#pragma once

#include <QtCore/QString>

/// The platform layer: calls the system, and chooses the platform's functions of HostWords and ReportText.
namespace Host {

void GetSystemInfo(QString& osName, QString& osVersion, QString& processor);
QString CpuArchitecture();
QString BuildArchitecture(const QString& fileOutput);
QString GraphicsScript(const QString& output);

} // namespace Host
