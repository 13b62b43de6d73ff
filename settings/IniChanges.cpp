#include "IniChanges.h"

#include <algorithm>

using IniNames::kSeparator;

namespace {

QString Normal(const QString& key)
{
    return key.contains(kSeparator) ? key.split(kSeparator, Qt::SkipEmptyParts).join(kSeparator) : key;
}

QString Full(const QString& group, const QString& key)
{
    const QString start = Normal(group);
    return start.isEmpty() ? Normal(key) : start + kSeparator + Normal(key);
}

QString Full(const IniChanges::Change& change)
{
    return Full(change.iGroup, change.iKey);
}

IniNames::Name NameOf(const IniChanges::Change& change)
{
    const bool isSection = !change.iGroup.isEmpty() && !change.iGroup.contains(kSeparator);
    return isSection ? IniNames::Name{change.iGroup, Normal(change.iKey)} : IniNames::Split(Full(change));
}

} // namespace

void IniChanges::Clear()
{
    iChanges.clear();
    iMany = nullptr;
}

IniChanges IniChanges::TakeAdded()
{
    IniChanges taken;
    taken.iChanges.swap(iChanges);
    return taken;
}

void IniChanges::ForEach(const Function& function) const
{
    std::for_each(iChanges.begin(), iChanges.end(), function);
    if (iMany)
        iMany(function);
}

const IniChanges::Change* IniChanges::Last(const QString& group, const QString& key) const
{
    const QString name = Full(group, key);
    for (auto change = iChanges.rbegin(); change != iChanges.rend(); ++change) {
        const QString changed = Full(*change);
        if (change->iIsRemoval ? IsBelow(name, {Normal(changed)}) : changed == name)
            return &*change;
    }
    return nullptr;
}

QHash<QString, QVariant> IniChanges::Values() const
{
    QHash<QString, QVariant> values;
    for (const Change& change : iChanges)
        values[Full(change)] = change.iIsRemoval ? QVariant() : change.iValue;
    return values;
}

bool IniChanges::SetAfter(const IniNames::Name& name) const
{
    bool isAfter = false;
    ForEach([&](const Change& change) { isAfter = isAfter || (!change.iIsRemoval && name < NameOf(change)); });
    return isAfter;
}

bool IniChanges::HaveEffectOn(const QStringList& keys) const
{
    const QSet<QString> removed = Removed();
    bool sets = false;
    ForEach([&sets](const Change& change) { sets = sets || !change.iIsRemoval; });
    return sets || std::any_of(keys.begin(), keys.end(), [&](const QString& key) { return IsBelow(key, removed); });
}

QSet<QString> IniChanges::Removed() const
{
    QSet<QString> removed;
    ForEach([&removed](const Change& change) {
        if (change.iIsRemoval)
            removed += Normal(Full(change));
    });
    return removed;
}

bool IniChanges::IsBelow(const QString& key, const QSet<QString>& removed)
{
    QString name = Normal(key);
    while (!name.isEmpty() && !removed.contains(name))
        name.truncate(std::max(int(name.lastIndexOf(kSeparator)), 0));
    return removed.contains(name);
}
