#pragma once

#include "IniDisk.h"

#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <memory>

/// The framework's settings on an INI file, with a net below: values that it cannot decode safely are kept from it, a
/// path that is no file is not opened, and what was in the file is there again when a change could not be written
/// whole.
class IniSettings : public QSettings
{
public:
    struct Change
    {
        QString iKey;
        QVariant iValue;
        bool iIsRemoval = false;
    };

    explicit IniSettings(const QString& path);
    ~IniSettings() override;

    /// As fileName, whatever stands at the path.
    QString Path() const { return iPath; }
    /// Whether it may be asked for values; otherwise ReadableIni may.
    bool IsReadable();
    /// Takes in what changed on the disk, and writes what is unsaved. Returns IsReadable.
    bool Refresh();
    /// What was last done to a key and is not in the file; null for nothing.
    const Change* Unsaved(const QString& group, const QString& key) const;
    /// In memory; the names are QSettings', below its group.
    void Set(const QString& key, const QVariant& value);
    void Remove(const QString& key);
    /// Outside of all groups. False if something is not in the file; it is kept, and tried again with the next change.
    bool Save();

protected:
    bool event(QEvent* event) override;

private:
    bool IsRemoved(const QString& key) const;
    bool HasEffectOn(const QStringList& keys) const;
    void Note(const Change& change);
    bool TrySave();
    bool TrySaveBeside(const QByteArray& text);
    bool IsWhole(const QByteArray& before, const IniDisk::Backup& backup) const;
    static void Apply(const QVector<Change>& changes, QSettings& settings);

    const QString iPath;
    const QByteArray iEncodedPath; ///< for each look-up
    const bool iIsElsewhere; ///< bound to a file that cannot be, since the path is no file
    bool iIsReadable = true;
    bool iHasLooked = false;
    bool iHasTaken = false; ///< the framework has what the file holds in iState
    bool iIsForgotten = false; ///< the framework knows of no changes
    bool iHasTidied = false; ///< removed what killed writers left
    IniDisk::State iState;
    QVector<Change> iChanges;
};

/// What can be read of an INI file without danger: through the file itself, or through a copy in which values that are
/// refused are missing or empty.
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
