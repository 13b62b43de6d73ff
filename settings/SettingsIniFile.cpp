#include "../logging/LogIf.h"
#include "IniNames.h"
#include "IniSettings.h"
#include "ReadableIni.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QSettings>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <algorithm>
#include <utility>

using IniNames::kSeparator;

namespace {

/// The keys of a group are adjacent in the framework's sorted list of all keys.
struct GroupRange
{
    QString iName;
    int iFirst = 0;
    int iEnd = 0;
};

/// The named groups in the order of QSettings::childGroups. That function and childKeys build and sort a list for each
/// call, which takes as long as all the rest of reading.
QVector<GroupRange> GroupsOf(const QStringList& keys)
{
    QVector<GroupRange> groups;
    for (int i = 0; i < keys.size(); ++i) {
        const auto length = keys.at(i).indexOf(kSeparator);
        if (length < 0)
            continue; // at the top level
        const QStringView name = QStringView(keys.at(i)).left(length);
        if (groups.isEmpty() || groups.last().iName != name)
            groups.append({name.toString(), i, i});
        groups.last().iEnd = i + 1;
    }
    std::sort(groups.begin(), groups.end(), [](const GroupRange& a, const GroupRange& b) { return a.iName < b.iName; });
    return groups;
}

// To the framework, a name that ends with a separator is a different key.
QVariant ValueOf(const QSettings& file, const QString& key)
{
    return key.endsWith(kSeparator) ? QVariant() : file.value(key);
}

// To the framework, removing a key with an empty name, or with separators only, removes the whole section.
bool HasName(const QString& key)
{
    return std::any_of(key.cbegin(), key.cend(), [](QChar c) { return c != kSeparator; });
}

} // namespace

SettingsIniFile::SettingsIniFile() = default;

SettingsIniFile::SettingsIniFile(const SettingsIniFile& other)
    : IIniFileBase(other)
{
    CopyValuesOf(other);
}

// Callers rely on self-assignment clearing the object.
SettingsIniFile& SettingsIniFile::operator=(const SettingsIniFile& other) // NOLINT(bugprone-unhandled-self-assignment)
{
    Clear();
    CopyValuesOf(other);
    return *this;
}

SettingsIniFile::~SettingsIniFile()
{
    Clear();
    qDeleteAll(iRemoved);
}

void SettingsIniFile::Clear()
{
    qDeleteAll(iSections);
    iSections.clear();
}

void SettingsIniFile::CopyValuesOf(const SettingsIniFile& other)
{
    for (auto section = other.iSections.cbegin(); section != other.iSections.cend(); ++section) {
        const Section& values = *section.value();
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            SetKeyValue(section.key(), value.key(), value.value());
    }
}

SettingsIniFile::Section& SettingsIniFile::SectionOf(Table& table, const QString& group)
{
    // Files are read and copied in order: the section is the last one, or a new one after it.
    const IniString name(group);
    if (!table.isEmpty() && table.lastKey() == name)
        return *table.last();
    auto section = table.find(name);
    if (section == table.end())
        section = table.insert(name, new Section);
    return *section.value();
}

bool SettingsIniFile::ReadFile(const QString& path)
{
    constexpr const char* func = "SettingsIniFile::ReadFile";
    LogIf::Debug(func, [&] { return QLatin1String("The file is ") + path; });
    ReadableIni readable(path);
    const QSettings& file = readable.Settings();
    QStringList keys = file.allKeys();
    const QVector<GroupRange> groups = GroupsOf(keys);
    for (const GroupRange& group : groups) {
        LogIf::Trace(func, [&] { return QLatin1String("The group is ") + group.iName; });
        if (group.iName.isEmpty())
            continue; // to the framework this is the top level again
        ReadGroup(file, group.iName, keys.begin() + group.iFirst, keys.begin() + group.iEnd);
    }
    return true;
}

void SettingsIniFile::ReadGroup(const QSettings& file, const QString& group, QStringList::iterator key,
                                const QStringList::iterator& end)
{
    const auto start = group.size() + 1;
    for (; key != end; ++key) {
        if (key->indexOf(kSeparator, start) >= 0)
            continue; // in a nested group
        SetKeyValue(group, key->mid(start), ValueOf(file, *key)); // which a subclass may override
        key->clear(); // the next keys reuse its memory
    }
}

bool SettingsIniFile::WriteFile(const QString& path) const
{
    IniSettings file(path);
    const bool isWritable = file.isWritable();
    LogIf::Debug("SettingsIniFile::WriteFile", [&] {
        return QLatin1String("The file is ") + path + QLatin1String(" and can be written ")
            + QString::number(int(isWritable));
    });
    if (!isWritable)
        return false;
    return file.Save([this](const auto& change) {
        for (auto section = iSections.cbegin(); section != iSections.cend(); ++section) {
            for (auto value = section.value()->cbegin(); value != section.value()->cend(); ++value)
                change({section.key(), value.key(), value.value(), false});
        }
        // Last, so that the file does not keep a key that was removed and set again.
        for (auto section = iRemoved.cbegin(); section != iRemoved.cend(); ++section) {
            for (auto value = section.value()->cbegin(); value != section.value()->cend(); ++value) {
                if (HasName(value.key()))
                    change({section.key(), value.key(), QVariant(), true});
            }
        }
    });
}

bool SettingsIniFile::GetKeyValue(const QString& group, const QString& key, QString& value) const
{
    const auto section = iSections.constFind(group);
    if (section == iSections.cend())
        return false;
    const auto found = section.value()->constFind(key);
    if (found == section.value()->cend())
        return false;
    value = IniFile::SettingValue(found.value(), true);
    LogIf::Trace("SettingsIniFile::GetKeyValue", [&] {
        return QLatin1String("getting group=") + group + QLatin1String(" key=") + key + QLatin1String(" value=")
            + value;
    });
    return true;
}

void SettingsIniFile::SetKeyValue(const QString& group, const QString& key, const QVariant& value)
{
    Section& section = SectionOf(iSections, group);
    const IniString name(key);
    if (section.isEmpty() || section.lastKey() < name)
        section.insert(section.cend(), name, value); // in order: no search
    else
        section[name] = value;
}

void SettingsIniFile::SetKeyValue(const QString& group, const QString& key, const QString& value)
{
    SetKeyValue(group, key, QVariant(value));
}

void SettingsIniFile::RemoveKey(const QString& group, const QString& key)
{
    constexpr const char* func = "SettingsIniFile::RemoveKey";
    const auto section = iSections.constFind(group);
    if (section == iSections.cend())
        return;
    LogIf::Debug(func, [&] { return QLatin1String("section key ") + group; });
    const auto removed = section.value()->remove(key);
    if (removed > 0)
        SectionOf(iRemoved, group)[key] = QString();
    LogIf::Debug(func, [&] {
        return QLatin1String("number of keys removed ") + QString::number(removed) + QLatin1String(" for key ") + key;
    });
}
