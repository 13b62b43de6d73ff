#pragma once

#include "Export.h"
#include "IIniFileBase.h"

#include <QtCore/QString>

#include <memory>

class QSettings;
class QTime;

/// The preference keys of the daily window in which downloads may start by themselves.
namespace ZEP_GLOBALS {

extern NEROLTORVANEBASE_EXPORT const char* const gAutoDownloadsStartTime; ///< "AutoDownloadsStart"
extern NEROLTORVANEBASE_EXPORT const char* const gAutoDownloadsEndTime; ///< "AutoDownloadsEnd"

} // namespace ZEP_GLOBALS

/// Settings in an INI file that is read before every look-up and written after every change.
///
/// The text of the file is QSettings' INI format; section and key names are matched with case. Objects on one file
/// share the file and nothing else: each sees the others' changes at its next operation. Operations block for the disk;
/// failures to write are not reported: the file stays as it was, and the object keeps the change and tries again.
/// Values in the framework's binary notation that it cannot decode safely are empty and stay in the file. A path that
/// is a pipe, a socket or a device holds nothing. An object without a file (an empty path) holds nothing and keeps
/// nothing. Nothing here throws. An object is used by one thread at a time.
class NEROLTORVANEBASE_EXPORT IniFile : public IIniFileBase
{
public:
    /// Binds to the file, which need not exist. An empty path binds to none.
    explicit IniFile(const QString& filePath);
    /// Binds to the other's file.
    IniFile(const IniFile& other);
    /// Binds to the other's file instead of the one so far, which stays as it is.
    IniFile& operator=(const IniFile& other);
    ~IniFile() override;

    /// Binds to another file; an empty path too counts as a file here. Logs at debug level.
    void SetFilePath(const QString& filePath);
    /// The path of the file, empty without one.
    QString GetFileName() const;

    /// False without a file. Logs a hit at trace level.
    bool GetKeyValue(const QString& group, const QString& key, QString& value) const override;
    /// The value is in the file when this returns, unless the file cannot be written.
    void SetKeyValue(const QString& group, const QString& key, const QVariant& value) override;
    /// The key, and keys nested below it, are out of the file when this returns, unless the file cannot be written. An
    /// empty key stands for all keys of the group, as with QSettings.
    void RemoveKey(const QString& group, const QString& key) override;

    /// Adds the settings of the INI file at `mergeFilePath` that this one lacks, and replaces those in the section
    /// called exactly `overwriteSection`. Only keys directly in named sections count. The values are in the file after
    /// the next operation or the object's end. True when anything was set. False, with a warning in the log, for an
    /// empty or missing source. An object without a file is bound to SystemConfig::GetPrefsIniPath() first. Logs at
    /// debug level.
    bool Merge(const QString& mergeFilePath, const QString& overwriteSection);

    /// The text of a value: "true" or "false", integers in decimal (signed 64-bit ones excepted), strings as they are,
    /// lists of strings joined by blanks, dates and times as Qt::TextDate, sizes as "@Size(640 480)". Everything else,
    /// null, bytes and floating point included, is empty. `flag` is ignored. Any thread may call. Logs at trace level.
    static QString SettingValue(const QVariant& value, bool flag);

    /// "true" or "false".
    static QString ToString(bool b);
    /// True for "true" in any case, false for everything else.
    static bool ToBool(const QString& text);

    /// The time of day in a value like "07:45". What is missing or no number gives the default, 16:00 for
    /// ZEP_GLOBALS::gAutoDownloadsStartTime and 20:00 for other keys; numbers out of range give an invalid time.
    static QTime GetTimeFromPrefs(const IIniFileBase& ini, const QString& group, const QString& key);

private:
    std::unique_ptr<QSettings> iSettings;
};
