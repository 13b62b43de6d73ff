#pragma once

/// @file
/// Settings kept in INI files: every class of the family.
#include "IIniFileBase.h"
#include "IniFile.h"
#include "IniString.h"
#include "SettingsIniFile.h"
