#pragma once

#include "Export.h"
#include "IIniFileBase.h"

#include <QtCore/QString>

#include <memory>

class QSettings;
class QTime;

/// The preference keys of the time of day in which downloads may start automatically.
namespace ZEP_GLOBALS {

extern NEROLTORVANEBASE_EXPORT const char* const gAutoDownloadsStartTime; ///< "AutoDownloadsStart"
extern NEROLTORVANEBASE_EXPORT const char* const gAutoDownloadsEndTime; ///< "AutoDownloadsEnd"

} // namespace ZEP_GLOBALS

/// Settings in an INI file. The object reads the file before each look-up and writes it after each change.
///
/// The format is the INI format of QSettings. Section and key names are case-sensitive. Objects on one file share only
/// the file: each sees the changes of the others at its next operation. Operations block for the disk and for
/// other processes that change the file. Write failures are not reported: the file does not change, and the object
/// keeps the new value and tries again. A value in the framework's binary notation that cannot be decoded safely reads
/// as empty and stays in the file. A pipe, a socket or a device reads as empty. An object without a file (an empty
/// path) holds nothing and stores nothing. Nothing here throws. Only one thread at a time may use an object.
class NEROLTORVANEBASE_EXPORT IniFile : public IIniFileBase
{
public:
    /// Binds to the file, which need not exist. With an empty path the object has no file.
    explicit IniFile(const QString& filePath);
    /// Binds to the other's file.
    IniFile(const IniFile& other);
    /// Binds to the other's file. The previous file does not change.
    IniFile& operator=(const IniFile& other);
    ~IniFile() override;

    /// Binds to another file. Here an empty path counts as a file as well. Logs at debug level.
    void SetFilePath(const QString& filePath);
    /// Returns the path of the file, empty without one.
    QString GetFileName() const;

    /// Returns false without a file. Logs at trace level if it finds the key.
    bool GetKeyValue(const QString& group, const QString& key, QString& value) const override;
    /// When this returns the value is in the file, unless the file cannot be written.
    void SetKeyValue(const QString& group, const QString& key, const QVariant& value) override;
    /// When this returns the key and the keys nested below it are no longer in the file, unless the file cannot be
    /// written. An empty key removes all keys of the group, as with QSettings.
    void RemoveKey(const QString& group, const QString& key) override;

    /// Adds the settings of the INI file at `mergeFilePath` that this one lacks, and replaces those in the section with
    /// exactly the name `overwriteSection`. Only keys directly in named sections count. The values are in the file
    /// after the next operation, or when the object is destroyed. Returns true if anything was set. For an empty or
    /// missing source, returns false and logs a warning. An object without a file is first bound to
    /// SystemConfig::GetPrefsIniPath(). Logs at debug level.
    bool Merge(const QString& mergeFilePath, const QString& overwriteSection);

    /// Formats a value: "true" or "false", integers in decimal (except signed 64-bit ones), strings unchanged, lists of
    /// strings joined by blanks, dates and times as Qt::TextDate, sizes as "@Size(640 480)". Everything else, including
    /// null, bytes and floating point, gives an empty text. `flag` is ignored. Any thread may call. Logs at trace
    /// level.
    static QString SettingValue(const QVariant& value, bool flag);

    /// Returns "true" or "false".
    static QString ToString(bool b);
    /// Returns true for "true" in any letter case, and false for everything else.
    static bool ToBool(const QString& text);

    /// Returns the time of day in a value like "07:45". If the value is missing or not a number, returns the default:
    /// 16:00 for ZEP_GLOBALS::gAutoDownloadsStartTime and 20:00 for other keys. Numbers out of range give an invalid
    /// time.
    static QTime GetTimeFromPrefs(const IIniFileBase& ini, const QString& group, const QString& key);

private:
    std::unique_ptr<QSettings> iSettings;
};
