#pragma once

#include "IniFiles.h"

#include <NeroltOrvaneBase/IniFile.h>

#include <QtCore/QSettings>
#include <QtCore/QVariant>

/// The framework's settings, right about every file: all keys are listed before anything else is asked or done.
class ListedSettings : public QSettings // clazy:exclude=missing-qobject-macro
{
public:
    explicit ListedSettings(const QString& path)
        : QSettings(path, QSettings::IniFormat)
        , iKeys(allKeys())
    {
    }

    const QStringList& Keys() const { return iKeys; }

    /// As IniFiles::Get.
    QString Text(const QString& group, const QString& key)
    {
        beginGroup(group);
        const QString text = IniFile::SettingValue(value(key), false);
        const bool isThere = contains(key);
        endGroup();
        return isThere ? text : QStringLiteral("<none>");
    }

private:
    const QStringList iKeys;
};
