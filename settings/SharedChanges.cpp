#include "SharedChanges.h"

#include <map>

std::atomic<int> SharedChanges::sUnsaved{0};

SharedChanges::~SharedChanges()
{
    Take();
}

// The map is never destroyed: settings may be used until the end of the process.
std::shared_ptr<SharedChanges> SharedChanges::Of(const QString& path)
{
    static std::mutex mutex;
    static auto& files = *new std::map<QString, std::weak_ptr<SharedChanges>>;
    const std::lock_guard<std::mutex> lock(mutex);
    std::shared_ptr<SharedChanges> found = files[path].lock();
    if (found)
        return found;
    for (auto file = files.begin(); file != files.end();)
        file = file->second.expired() ? files.erase(file) : std::next(file);
    found = std::make_shared<SharedChanges>();
    files[path] = found;
    return found;
}

void SharedChanges::Add(const IniChanges::Change& change)
{
    const std::lock_guard<std::mutex> lock(iMutex);
    if (iChanges.IsEmpty())
        ++sUnsaved;
    iChanges.Add(change);
}

IniChanges SharedChanges::Take()
{
    const std::lock_guard<std::mutex> lock(iMutex);
    if (!iChanges.IsEmpty())
        --sUnsaved;
    return iChanges.TakeAdded();
}

void SharedChanges::PutBack(const IniChanges& changes)
{
    const std::lock_guard<std::mutex> lock(iMutex);
    if (iChanges.IsEmpty() && !changes.IsEmpty())
        ++sUnsaved;
    iChanges.Prepend(changes);
}

IniChanges SharedChanges::All() const
{
    const std::lock_guard<std::mutex> lock(iMutex);
    return iChanges;
}
