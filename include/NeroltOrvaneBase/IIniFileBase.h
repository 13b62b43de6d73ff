#pragma once

#include "Export.h"

#include <QtCore/QVariant>

/// A store of settings: keys with values, grouped in sections. IniFile writes each change to its file at once,
/// SettingsIniFile holds a whole file in memory. Only one thread at a time may use an object.
class NEROLTORVANEBASE_EXPORT IIniFileBase
{
public:
    virtual ~IIniFileBase();

    /// Gets the value of `key` in section `group` as text, as IniFile::SettingValue formats it. If there is no such
    /// section or key, returns false and leaves `value` alone: initialise it with the default.
    virtual bool GetKeyValue(const QString& group, const QString& key, QString& value) const = 0;

    /// Stores a value. Creates the section if needed, and replaces an earlier value.
    virtual void SetKeyValue(const QString& group, const QString& key, const QVariant& value) = 0;

    /// Removes a key. It is no error if there is none.
    virtual void RemoveKey(const QString& group, const QString& key) = 0;

protected:
    IIniFileBase() = default;
    IIniFileBase(const IIniFileBase&) = default; ///< copies nothing
    IIniFileBase& operator=(const IIniFileBase&) = default; ///< copies nothing
};
