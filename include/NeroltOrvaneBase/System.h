#pragma once

/// @file
/// The application's folders and the host: every class of the family.
#include "SystemConfig.h"
