#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QSettings>
#include <QtCore/QStringList>

namespace {

// To the framework, removing a key without a name is removing the whole section.
void RemoveOne(QSettings& file, const QString& key)
{
    if (!key.isEmpty())
        file.remove(key);
}

} // namespace

SettingsIniFile::SettingsIniFile() = default;

SettingsIniFile::SettingsIniFile(const SettingsIniFile& other)
    : IIniFileBase(other)
{
    CopyValuesOf(other);
}

// Callers rely on it that an object assigned to itself ends empty.
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
    // Files are read and copied in order: the section is the last one, or a new one behind it.
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
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Debug))
        Logger::LogDebug(func, QLatin1String("The file is ") + path);
    QSettings file(path, QSettings::IniFormat);
    const QStringList groups = file.childGroups();
    for (const QString& group : groups) {
        if (group.isEmpty())
            continue; // the top level, to the framework
        if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Trace))
            Logger::LogTrace(func, QLatin1String("The group is ") + group);
        file.beginGroup(group);
        const QStringList keys = file.childKeys();
        for (const QString& key : keys)
            SetKeyValue(group, key, file.value(key));
        file.endGroup();
    }
    return true;
}

bool SettingsIniFile::WriteFile(const QString& path) const
{
    QSettings file(path, QSettings::IniFormat);
    const bool isWritable = file.isWritable();
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Debug))
        Logger::LogDebug("SettingsIniFile::WriteFile",
                         QLatin1String("The file is ") + path + QLatin1String(" and can be written ")
                             + QString::number(int(isWritable)));
    if (!isWritable)
        return false;
    for (auto section = iSections.cbegin(); section != iSections.cend(); ++section) {
        file.beginGroup(section.key());
        for (auto value = section.value()->cbegin(); value != section.value()->cend(); ++value)
            file.setValue(value.key(), value.value());
        file.endGroup();
    }
    // Last, so that a key which was removed and set again is out of the file.
    for (auto section = iRemoved.cbegin(); section != iRemoved.cend(); ++section) {
        file.beginGroup(section.key());
        for (auto value = section.value()->cbegin(); value != section.value()->cend(); ++value)
            RemoveOne(file, value.key());
        file.endGroup();
    }
    return true;
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
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Trace))
        Logger::LogTrace("SettingsIniFile::GetKeyValue",
                         QLatin1String("getting group=") + group + QLatin1String(" key=") + key
                             + QLatin1String(" value=") + value);
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
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Debug))
        Logger::LogDebug(func, QLatin1String("section key ") + group);
    const int removed = section.value()->remove(key);
    if (removed > 0)
        SectionOf(iRemoved, group)[key] = QString();
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Debug))
        Logger::LogDebug(func,
                         QLatin1String("number of keys removed ") + QString::number(removed)
                             + QLatin1String(" for key ") + key);
}
