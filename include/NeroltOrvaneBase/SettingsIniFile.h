#pragma once

#include "Export.h"
#include "IIniFileBase.h"
#include "IniString.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

class QSettings;

/// The settings of a whole INI file in memory, read from a file and written back on request.
///
/// Section and key names are matched without regard to case and keep their first spelling. The text of files is
/// QSettings' INI format. The object is not tied to a file and is used by one thread at a time. Nothing here throws.
class NEROLTORVANEBASE_EXPORT SettingsIniFile : public IIniFileBase
{
public:
    /// Empty.
    SettingsIniFile();
    /// Copies the values, not what was removed. A section without keys is not copied.
    SettingsIniFile(const SettingsIniFile& other);
    /// Replaces the values and keeps what was removed here. An object assigned to itself loses its values.
    SettingsIniFile& operator=(const SettingsIniFile& other);
    ~SettingsIniFile() override;

    /// Drops all values. What was removed before is still removed from files that are written later.
    void Clear();

    /// Adds the values of a file: keys directly in named sections. Always true; a file that is missing or cannot be
    /// read, and a path that is no file, add nothing. Nor do values in the framework's binary notation that it cannot
    /// decode safely. Blocks for the disk. Logs at debug and trace level.
    bool ReadFile(const QString& path);

    /// Sets all values in a file and then takes out of it every key that was ever removed here, spelled as it was
    /// removed and even if it was set again, together with what is nested below it ("x/y" below "x"). Other keys of the
    /// file stay; comments do not. False when this is not in the file afterwards; the file is then as it was. Blocks
    /// for the disk. Logs at debug level.
    bool WriteFile(const QString& path) const;

    /// Logs a hit at trace level.
    bool GetKeyValue(const QString& group, const QString& key, QString& value) const override;
    /// Stores a value in memory; an earlier one is replaced whole, its type included. Never logs. A string literal and
    /// a literal 0 fit both forms equally well, which compilers refuse: write QString("text") and QVariant(0).
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
