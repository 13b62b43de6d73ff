#pragma once

#include <QtCore/QString>

struct OSVersion;

/// The words for a host: what each platform makes of the facts that its system gives.
namespace HostWords {

/// The version of macOS: the number that the enumeration of old versions (QSysInfo) has for it decides, else `version`.
QString MacVersion(int macintoshVersion, const OSVersion& version);
/// "intel" with the machine's name behind it, whatever the processor is; null stands for a machine without a name.
QString MacProcessor(const char* machine);
/// The processor family for a number of "hw.cputype".
QString MacCpu(quint32 cpuType);
/// The architectures that the output of "file" names.
QString MacBuildArch(const QString& fileOutput);

QString LinuxVersion(const OSVersion& version);
/// The processor family for a machine's name.
QString LinuxCpu(const char* machine);
/// As MacBuildArch; the words for libraries in ELF count too.
QString LinuxBuildArch(const QString& fileOutput);

/// Whether a file of this name, without a path, is one of the application's cache files.
bool IsCacheFile(const QString& fileName);

} // namespace HostWords
