#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <functional>

/// The names of keys in INI texts that the framework has written: one per line, sorted.
namespace IniNames {

/// Between the name of a section and that of a key.
constexpr QLatin1Char kSeparator('/');

struct Name
{
    QString iSection;
    QString iKey;
};
/// Compares in the framework's order.
bool operator<(const Name& left, const Name& right);

Name Split(const QString& name);
QString Full(const Name& name);

int Count(const QByteArray& text);
/// The last name, empty for a text without keys.
Name Last(const QByteArray& text);
/// Whether the keys of `before` are in `after`, except for those removed. True is certain; false may be wrong if the
/// keys are not in the framework's order.
bool AreKept(const QByteArray& before, const QByteArray& after, const std::function<bool(const QString&)>& isRemoved);

} // namespace IniNames
