#pragma once

#include <AvailabilityMacros.h>

#define __MAC_10_6 MAC_OS_X_VERSION_10_6
#define __MAC_OS_X_VERSION_MIN_REQUIRED MAC_OS_X_VERSION_MIN_REQUIRED
#define __MAC_OS_X_VERSION_MAX_ALLOWED MAC_OS_X_VERSION_MAX_ALLOWED

/// What went out of use must warn here as it warns on a Mac.
#define STUB_DEPRECATED(since, until) __attribute__((availability(macos, introduced = since, deprecated = until)))
