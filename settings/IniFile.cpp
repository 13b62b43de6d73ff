#include "../logging/LogIf.h"
#include "../util/Framework.h"
#include "IniSettings.h"
#include "ReadableIni.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QSettings>
#include <QtCore/QSize>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

namespace ZEP_GLOBALS {

const char* const gAutoDownloadsStartTime = "AutoDownloadsStart";
const char* const gAutoDownloadsEndTime = "AutoDownloadsEnd";

} // namespace ZEP_GLOBALS

namespace {

// Every object holds settings of this class.
IniSettings& Of(const std::unique_ptr<QSettings>& settings)
{
    return static_cast<IniSettings&>(*settings);
}

std::unique_ptr<QSettings> Open(const QString& filePath)
{
    return std::make_unique<IniSettings>(filePath);
}

std::unique_ptr<QSettings> OpenAgain(const std::unique_ptr<QSettings>& settings)
{
    return settings ? Open(Of(settings).Path()) : nullptr;
}

class Group
{
public:
    Group(QSettings& settings, const QString& name)
        : iSettings(settings)
    {
        iSettings.beginGroup(name);
    }
    ~Group() { iSettings.endGroup(); }
    Q_DISABLE_COPY(Group)

private:
    QSettings& iSettings;
};

QString TextOf(const QSize& size)
{
    return QLatin1String("@Size(") + QString::number(size.width()) + QLatin1Char(' ') + QString::number(size.height())
        + QLatin1Char(')');
}

QString TextOf(const QVariant& value)
{
    switch (Framework::TypeNumber(value)) {
    case QMetaType::Bool:
        return IniFile::ToString(value.toBool());
    case QMetaType::Int:
        return QString::number(value.toInt());
    case QMetaType::UInt:
        return QString::number(value.toUInt());
    case QMetaType::ULongLong:
        return QString::number(value.toULongLong());
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QStringList:
        return value.toStringList().join(QLatin1Char(' '));
    case QMetaType::QByteArray:
        return QString();
    case QMetaType::QDateTime:
        return Framework::TextDate(value.toDateTime());
    case QMetaType::QSize:
        return TextOf(value.toSize());
    default:
        LogIf::Trace("IniFile::SettingValue",
                     [&] { return QLatin1String("type is ") + QString::number(Framework::TypeNumber(value)); });
        return QString();
    }
}

void LogSetting(const char* what, const QVariant& value, const QString& key, const QString& group)
{
    LogIf::Debug("IniFile::Merge", [&] {
        return QLatin1String(what) + IniFile::SettingValue(value, false) + QLatin1String(" for key ") + key
            + QLatin1String(", section ") + group;
    });
}

// The values that a merge finds in its target.
class Target
{
public:
    Target(const IniSettings& target, const QSettings& file)
        : iUnknown(target.Unknown())
        , iFile(file)
    {
    }
    bool Has(const QString& name) const
    {
        const auto unknown = iUnknown.constFind(name);
        return !Framework::IsNull(unknown == iUnknown.constEnd() ? iFile.value(name) : *unknown);
    }

private:
    const QHash<QString, QVariant> iUnknown;
    const QSettings& iFile;
};

bool MergeGroup(const QString& group, QSettings& source, const Target& there, IniSettings& target, bool overwrite)
{
    const Group sourceGroup(source, group);
    bool changed = false;
    const QStringList keys = source.childKeys();
    for (const QString& key : keys) {
        const QString path = group + QLatin1Char('/') + key;
        if (key.isEmpty() || (!overwrite && there.Has(path)))
            continue; // the framework stores no value without a name
        const QVariant value = source.value(key);
        LogSetting(overwrite ? "Overwrite (if existing) setting value " : "setting value ", value, key, group);
        target.Add({group, key, value, false});
        changed = true;
    }
    return changed;
}

bool Find(QSettings& settings, const QString& group, const QString& key, QString& text)
{
    const Group open(settings, group);
    text = IniFile::SettingValue(settings.value(key), false);
    // An empty text may be a value that is refused.
    return !text.isEmpty() || settings.contains(key);
}

bool FindAnywhere(IniSettings& settings, const QString& group, const QString& key, QString& text)
{
    const bool isReadable = settings.Refresh();
    if (const auto change = settings.Unsaved(group, key)) {
        text = IniFile::SettingValue(change->iValue, false);
        return !change->iIsRemoval;
    }
    if (isReadable)
        return Find(settings, group, key, text);
    ReadableIni readable(settings.Path(), ReadableIni::Refused::Empty);
    TakeAll(readable.Settings());
    return Find(readable.Settings(), group, key, text);
}

QTime DefaultTime(const QString& key)
{
    return key == QLatin1String(ZEP_GLOBALS::gAutoDownloadsStartTime) ? QTime(16, 0) : QTime(20, 0);
}

} // namespace

IniFile::IniFile(const QString& filePath)
    : iSettings(filePath.isEmpty() ? nullptr : Open(filePath))
{
}

IniFile::IniFile(const IniFile& other)
    : IIniFileBase(other)
    , iSettings(OpenAgain(other.iSettings))
{
}

IniFile& IniFile::operator=(const IniFile& other)
{
    if (this != &other) {
        iSettings.reset();
        iSettings = OpenAgain(other.iSettings);
    }
    return *this;
}

IniFile::~IniFile() = default;

void IniFile::SetFilePath(const QString& filePath)
{
    constexpr const char* func = "IniFile::SetFilePath";
    LogIf::Debug(func, [&] { return QLatin1String("The file is ") + filePath; });
    if (iSettings) {
        Logger::LogDebug(func, QStringLiteral("Clear the old settings first."));
        iSettings.reset();
    }
    iSettings = Open(filePath);
}

QString IniFile::GetFileName() const
{
    return iSettings ? Of(iSettings).Path() : QString();
}

bool IniFile::GetKeyValue(const QString& group, const QString& key, QString& value) const
{
    if (!iSettings)
        return false;
    QString text;
    if (!FindAnywhere(Of(iSettings), group, key, text))
        return false;
    value = text;
    LogIf::Trace("IniFile::GetKeyValue",
                 [&] { return QLatin1String("The key is ") + key + QLatin1String(" value is ") + text; });
    return true;
}

void IniFile::SetKeyValue(const QString& group, const QString& key, const QVariant& value)
{
    if (!iSettings)
        return;
    IniSettings& settings = Of(iSettings);
    settings.Add({group, key, value, false});
    settings.Save();
}

void IniFile::RemoveKey(const QString& group, const QString& key)
{
    if (!iSettings)
        return;
    IniSettings& settings = Of(iSettings);
    settings.Add({group, key, QVariant(), true});
    settings.Save();
}

bool IniFile::Merge(const QString& mergeFilePath, const QString& overwriteSection)
{
    constexpr const char* func = "IniFile::Merge";
    LogIf::Debug(func, [&] { return QLatin1String("File to merge is ") + mergeFilePath; });
    if (!iSettings)
        iSettings = Open(SystemConfig::GetPrefsIniPath());
    if (QFile(mergeFilePath).size() < 1) {
        Logger::LogWarning(func, QStringLiteral("The file to merge is empty"));
        return false;
    }
    ReadableIni readable(mergeFilePath);
    QSettings& source = readable.Settings();
    IniSettings& target = Of(iSettings);
    std::unique_ptr<ReadableIni> rest;
    if (!target.IsReadable())
        rest = std::make_unique<ReadableIni>(target.Path(), ReadableIni::Refused::Empty);
    const QSettings& file = rest ? rest->Settings() : target;
    TakeAll(file);
    const Target there(target, file);
    bool changed = false;
    const QStringList groups = source.childGroups();
    for (const QString& group : groups) {
        // The framework treats a section without a name as the top level.
        if (!group.isEmpty())
            changed |= MergeGroup(group, source, there, target, group == overwriteSection);
    }
    return changed;
}

QString IniFile::SettingValue(const QVariant& value, bool)
{
    QString text = Framework::IsNull(value) ? QString() : TextOf(value);
    LogIf::Trace("IniFile::SettingValue", [&] { return QLatin1String("the return value is ") + text; });
    return text;
}

QString IniFile::ToString(bool b)
{
    return b ? QStringLiteral("true") : QStringLiteral("false");
}

bool IniFile::ToBool(const QString& text)
{
    return text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
}

QTime IniFile::GetTimeFromPrefs(const IIniFileBase& ini, const QString& group, const QString& key)
{
    QString text;
    ini.GetKeyValue(group, key, text); // without a value the text is empty
    const QStringList parts = text.split(QLatin1Char(':'));
    bool isNumber = false;
    const uint hour = parts.first().toUInt(&isNumber);
    if (!isNumber)
        return DefaultTime(key);
    if (hour > 23)
        return QTime(-1, -1, 0, 0);
    const int minute = parts.value(1).toInt(&isNumber);
    if (!isNumber)
        return DefaultTime(key);
    return QTime(int(hour), minute, 0, 0);
}
