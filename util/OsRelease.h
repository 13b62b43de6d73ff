#pragma once

#include <NeroltOrvaneBase/FileInfoMac.h>

/// Major and minor number of a release such as "6.1.0-18-amd64"; a number that is missing counts as zero.
OSVersion ParseOsRelease(const char* release);
