#pragma once

#include "Export.h"

#include <QtCore/QtGlobal>

class QString;

/// Free space on disks. Any thread may call.
class NEROLTORVANEBASE_EXPORT DiskSpace
{
public:
    DiskSpace() = delete;

    /// Returns the free bytes on the volume that contains the file or folder at `path`. Returns -1 if there is no such
    /// path, if the path contains a NUL, or if the volume does not tell. Blocks as long as the volume takes to answer.
    static qint64 GetFreeDiskSpace(const QString& path);
};
