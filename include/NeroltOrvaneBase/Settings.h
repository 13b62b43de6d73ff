#pragma once

/// @file
/// All classes of the module settings.
#include "IIniFileBase.h"
#include "IniFile.h"
#include "IniString.h"
#include "SettingsIniFile.h"
