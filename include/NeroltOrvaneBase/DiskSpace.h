#pragma once

#include "Export.h"

#include <QtCore/QtGlobal>

class QString;

/// Free space on disks. Any thread may call.
class NEROLTORVANEBASE_EXPORT DiskSpace
{
public:
    DiskSpace() = delete;

    /// The bytes that are free on the volume with the file or folder at `path`; -1 when there is no such path, as for
    /// one with a NUL in it, or the volume does not tell. Blocks as long as the volume takes to answer.
    static qint64 GetFreeDiskSpace(const QString& path);
};
