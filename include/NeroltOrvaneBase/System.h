#pragma once

/// @file
/// All classes of the module system.
#include "SystemConfig.h"
