#pragma once

#include "Export.h"
#include "IIniFileBase.h"
#include "IniString.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

class QSettings;

/// The settings of a whole INI file in memory, read from a file and written to a file on request.
///
/// Section and key names are case-insensitive and keep their first spelling. The format of files is the INI format of
/// QSettings. The object is not bound to a file. Only one thread at a time may use it. Nothing here throws.
class NEROLTORVANEBASE_EXPORT SettingsIniFile : public IIniFileBase
{
public:
    /// Creates an empty store.
    SettingsIniFile();
    /// Copies the values, but not the record of removed keys. Does not copy a section without keys.
    SettingsIniFile(const SettingsIniFile& other);
    /// Replaces the values and keeps this object's record of removed keys. Self-assignment loses the values.
    SettingsIniFile& operator=(const SettingsIniFile& other);
    ~SettingsIniFile() override;

    /// Removes all values. WriteFile still removes the keys that RemoveKey removed before.
    void Clear();

    /// Adds the values of a file: keys directly in named sections. Always returns true. Adds nothing if the file is
    /// missing, cannot be read, or is a pipe, a socket or a device. Skips values in the framework's binary notation
    /// that cannot be decoded safely. Blocks for the disk. Logs at debug and trace level.
    bool ReadFile(const QString& path);

    /// Sets all values in a file. Then removes every key from it that was ever removed here, in the spelling in which
    /// it was removed and even if it was set again, together with the keys nested below it ("x/y" below "x"). Other
    /// keys of the file stay; comments are lost. If this fails, returns false and the file is unchanged. Blocks for the
    /// disk. Logs at debug level.
    bool WriteFile(const QString& path) const;

    /// Logs at trace level if it finds the key.
    bool GetKeyValue(const QString& group, const QString& key, QString& value) const override;
    /// Stores a value in memory and replaces an earlier one, including its type. Never logs. A string literal or a
    /// literal 0 is ambiguous between the two overloads: write QString("text") and QVariant(0).
    void SetKeyValue(const QString& group, const QString& key, const QVariant& value) override;
    /// The same for text.
    void SetKeyValue(const QString& group, const QString& key, const QString& value);
    /// Logs at debug level if there is such a section.
    void RemoveKey(const QString& group, const QString& key) override;

private:
    using Section = QMap<IniString, QVariant>;
    using Table = QMap<IniString, Section*>;

    void ReadGroup(const QSettings& file, const QString& group, QStringList::iterator key,
                   const QStringList::iterator& end);
    void CopyValuesOf(const SettingsIniFile& other);
    static Section& SectionOf(Table& table, const QString& group);

    Table iSections;
    Table iRemoved;
};
