#pragma once

#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>

#include <memory>

/// Makes QSettings parse all sections in their order. By itself it parses only the section in which it expects a key,
/// which is the wrong one for nested names.
void TakeAll(const QSettings& settings);

/// Reads an INI file safely: through the file itself, or through a copy in which refused values are missing or empty.
class ReadableIni
{
public:
    enum class Refused { Missing, Empty };

    explicit ReadableIni(const QString& path, Refused refused = Refused::Missing);

    QSettings& Settings() { return *iSettings; }

private:
    Q_DISABLE_COPY(ReadableIni)

    std::unique_ptr<QTemporaryDir> iFolder;
    std::unique_ptr<QSettings> iSettings;
};
