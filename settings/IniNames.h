#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <functional>

/// The names of keys in INI texts that the framework has written: one in a line, sorted.
namespace IniNames {

/// Between the name of a section and that of a key.
constexpr QLatin1Char kSeparator('/');

struct Name
{
    QString iSection;
    QString iKey;
};
/// The framework's order.
bool operator<(const Name& left, const Name& right);

Name Split(const QString& name);
QString Full(const Name& name);

int Count(const QByteArray& text);
/// Empty for a text without keys.
Name Last(const QByteArray& text);
/// Whether the keys of `before` are in `after`, but for those removed. Certain if it says so; it goes by the
/// framework's order.
bool AreKept(const QByteArray& before, const QByteArray& after, const std::function<bool(const QString&)>& isRemoved);

} // namespace IniNames
