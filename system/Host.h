#pragma once

#include <QtCore/QString>

struct OSVersion;

/// What differs by platform: asks the system, and answers in the words of HostWords and ReportText.
namespace Host {

void GetSystemInfo(QString& osName, QString& osVersion, QString& processor);
QString CpuArchitecture();
QString BuildArchitecture(const QString& fileOutput);
QString GraphicsScript(const QString& output);

} // namespace Host

/// Names for the facts that each platform's system reports about the host.
namespace HostWords {

/// The version of macOS: from the enumeration of old versions (QSysInfo) if that has one, otherwise `version`.
QString MacVersion(int macintoshVersion, const OSVersion& version);
/// "intel_" and the machine's name, for every processor. Null means that the machine has no name.
QString MacProcessor(const char* machine);
/// The processor family for a value of "hw.cputype".
QString MacCpu(quint32 cpuType);
/// The architectures that the output of "file" names.
QString MacBuildArch(const QString& fileOutput);

QString LinuxVersion(const OSVersion& version);
/// The processor family for a machine's name.
QString LinuxCpu(const char* machine);
/// Like MacBuildArch, but also recognises the names of ELF libraries.
QString LinuxBuildArch(const QString& fileOutput);

} // namespace HostWords
