#pragma once

#include "Export.h"

#include <QtCore/QVariant>

/// A store of settings: keys with values, grouped in sections. IniFile writes every change straight through to its
/// file, SettingsIniFile holds a whole file in memory. An object is used by one thread at a time.
class NEROLTORVANEBASE_EXPORT IIniFileBase
{
public:
    virtual ~IIniFileBase();

    /// The text of the value of `key` in section `group`, as IniFile::SettingValue renders it. False, with `value` left
    /// as it was, when there is no such section or key: initialise `value` with its default.
    virtual bool GetKeyValue(const QString& group, const QString& key, QString& value) const = 0;

    /// Stores a value, creating the section and replacing the earlier value.
    virtual void SetKeyValue(const QString& group, const QString& key, const QVariant& value) = 0;

    /// Removes a key; no error if there is none.
    virtual void RemoveKey(const QString& group, const QString& key) = 0;

protected:
    IIniFileBase() = default;
    IIniFileBase(const IIniFileBase&) = default; ///< copies nothing
    IIniFileBase& operator=(const IIniFileBase&) = default; ///< copies nothing
};
