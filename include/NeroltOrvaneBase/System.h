#pragma once

/// The application's folders: every class of the family.
#include "SystemConfig.h"
