#pragma once

#include "IniChanges.h"

#include <QtCore/QString>

#include <atomic>
#include <memory>
#include <mutex>

/// The changes that all objects of the process on one path share until one of them writes the file, where QSettings
/// must not do that. Any thread may call.
class SharedChanges
{
public:
    SharedChanges() = default;
    ~SharedChanges();

    /// Those of the path, which may be empty.
    static std::shared_ptr<SharedChanges> Of(const QString& path);
    /// The number of those that are not empty, and of other objects with such changes.
    static std::atomic<int> sUnsaved;

    void Add(const IniChanges::Change& change);
    /// In their order.
    IniChanges Take();
    /// Those that were taken, before those that came meanwhile.
    void PutBack(const IniChanges& changes);
    IniChanges All() const;

private:
    Q_DISABLE_COPY(SharedChanges)

    mutable std::mutex iMutex;
    IniChanges iChanges;
};
