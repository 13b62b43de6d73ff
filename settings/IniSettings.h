#pragma once

#include "IniDisk.h"

#include <QtCore/QSet>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <functional>
#include <memory>

/// The framework's settings on an INI file, with a net below: values that it cannot decode safely are kept from it, a
/// path that is no file is not opened, and what was in the file is there again when a change could not be written
/// whole.
class IniSettings : public QSettings // clazy:exclude=missing-qobject-macro
{
public:
    struct Change
    {
        QString iGroup;
        QString iKey;
        QVariant iValue;
        bool iIsRemoval = false;
    };

    /// Gives a function one change after the other.
    using Changes = std::function<void(const std::function<void(const Change&)>&)>;

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
    /// In memory.
    void Add(const Change& change);
    /// Outside of all groups. False if something is not in the file; it is kept, and tried again with the next change.
    bool Save();
    /// The same for many changes at once, which are not copied. Those that are not in the file then are given up.
    bool Save(const Changes& changes);

protected:
    bool event(QEvent* event) override;

private:
    QSet<QString> Removed() const;
    bool HasEffectOn(const QStringList& keys) const;
    void LookAt(const IniDisk::State& state, const QByteArray& text);
    bool HasChanges() const { return iMany || !iChanges.empty(); }
    void ForEachChange(const std::function<void(const Change&)>& function) const;
    bool TrySave();
    void TakeAnew();
    bool TrySaveBeside(const QByteArray& text);
    bool IsWhole(const QByteArray& before, const QByteArray& after, const IniDisk::Backup& backup) const;
    void Apply();

    const QString iPath;
    const QByteArray iEncodedPath; ///< for each look-up
    const bool iIsElsewhere; ///< bound to a file that cannot be, since the path is no file
    bool iIsReadable = true;
    bool iHasLooked = false;
    bool iHasTaken = false; ///< the framework has what the file holds in iState
    bool iMayNest = false; ///< and the framework has not taken in all of it
    bool iIsForgotten = false; ///< the framework knows of no changes
    bool iHasTidied = false; ///< removed what killed writers left
    IniDisk::State iState;
    QVector<Change> iChanges;
    Changes iMany;
};

/// Has the framework take in all sections, in their order. By itself it takes in the one that it believes a key to be
/// in, which is another one where names are nested.
void TakeAll(const QSettings& settings);

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
