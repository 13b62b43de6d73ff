#pragma once

#include <QtCore/QString>

/// The host as its platform sees it: the choice among HostWords and ReportText, and the questions to the system.
namespace Host {

void GetSystemInfo(QString& osName, QString& osVersion, QString& processor);
QString CpuArchitecture();
QString BuildArchitecture(const QString& fileOutput);
QString GraphicsScript(const QString& output);

} // namespace Host
