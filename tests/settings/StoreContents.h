#pragma once

#include "support/PrivateAccess.h"

#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QDebug>
#include <QtCore/QMap>
#include <QtCore/QStringList>

using StoreSection = QMap<IniString, QVariant>;
using StoreTable = QMap<IniString, StoreSection*>;

NEROLT_PRIVATE(SettingsIniFile, iSections, StoreTable)
NEROLT_PRIVATE(SettingsIniFile, iRemoved, StoreTable)

/// The contents of a SettingsIniFile, in its order and spelling.
namespace StoreContents {

inline QVariant Text(const char* text)
{
    return QString::fromUtf8(text);
}

/// The line of one value: its type counts, not only its text.
inline QString Line(const QString& section, const QString& key, const QVariant& value)
{
    QString text;
    QDebug(&text).nospace() << value;
    return section + QLatin1Char('/') + key + QLatin1Char(' ') + text;
}

/// The line of a section without keys.
inline QString Empty(const QString& section)
{
    return section + QLatin1String("/ is empty");
}

inline QStringList Lines(const StoreTable& table)
{
    QStringList lines;
    for (auto section = table.cbegin(); section != table.cend(); ++section) {
        if (section.value()->isEmpty())
            lines += Empty(section.key());
        for (auto value = section.value()->cbegin(); value != section.value()->cend(); ++value)
            lines += Line(section.key(), value.key(), value.value());
    }
    return lines;
}

inline QStringList Sections(const SettingsIniFile& ini)
{
    return Lines(ini.*SettingsIniFile_iSections());
}

inline QStringList Removed(const SettingsIniFile& ini)
{
    return Lines(ini.*SettingsIniFile_iRemoved());
}

} // namespace StoreContents
