#pragma once

/// @file
/// Files, disks and URLs: every class of the family.
#include "DiskSpace.h"
#include "FileInfoMac.h"
#include "FileUtilities.h"
#include "UrlQueryManager.h"
