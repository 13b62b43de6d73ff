#pragma once

/// Files: every class of the family.
#include "FileInfoMac.h"
#include "FileUtilities.h"
