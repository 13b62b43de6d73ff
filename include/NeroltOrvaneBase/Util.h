#pragma once

/// @file
/// All classes of the module util.
#include "DiskSpace.h"
#include "FileInfoMac.h"
#include "FileUtilities.h"
#include "UrlQueryManager.h"
