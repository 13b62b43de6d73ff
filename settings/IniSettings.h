#pragma once

#include "IniChanges.h"
#include "IniDisk.h"
#include "SharedChanges.h"

#include <QtCore/QSettings>

#include <memory>
#include <optional>

/// The framework's settings on an INI file, with safeguards: the framework does not see values that it cannot decode
/// safely, a path that is not a file is not opened, and if a change could not be written completely, the file gets its
/// old contents back.
class IniSettings : public QSettings // clazy:exclude=missing-qobject-macro
{
public:
    using Change = IniChanges::Change;
    using Changes = IniChanges::Many;

    explicit IniSettings(const QString& path);
    ~IniSettings() override;

    /// The path, like fileName, even if it is not a file.
    QString Path() const { return iPath; }
    /// Whether this object may read values; otherwise use ReadableIni.
    bool IsReadable();
    /// Loads changes from the disk, and writes unsaved ones. Returns IsReadable.
    bool Refresh();
    /// The last change of a key that is not in the file yet.
    std::optional<Change> Unsaved(const QString& group, const QString& key) const;
    /// By their whole names, the values that are not in the file yet and that QSettings does not know; null if removed.
    QHash<QString, QVariant> Unknown() const { return (iShared ? iShared->All() : iChanges).Values(); }
    /// Changes memory only.
    void Add(const Change& change);
    /// Call it outside of all groups. False if a change is not in the file; the next change tries it again.
    bool Save();
    /// The same for many changes at once, without copying them. Changes that are not in the file then are dropped.
    bool Save(const Changes& changes);

protected:
    bool event(QEvent* event) override;

private:
    /// With `isCopy`, the file is one in which nothing is left for IniEncoding to do.
    IniSettings(const QString& path, bool isCopy, const IniDisk::FolderLock& lock);

    bool IsWritableHere(const QByteArray& text) const;
    void LookAt(const IniDisk::State& state, const QByteArray& text);
    bool HasUnsaved() const { return !iChanges.IsEmpty() || (iShared && !iShared->All().IsEmpty()); }
    void Share(const Change& change);
    void TakeShared();
    void ReturnShared();
    bool TrySave();
    void TakeAnew(const IniDisk::State& before);
    bool TrySaveBeside(const QByteArray& text);
    bool Replace(const QByteArray& text) const;
    bool IsWhole(const QByteArray& before, const QByteArray& after, const IniDisk::Backup& backup) const;
    void Apply();

    const QString iPath;
    const QByteArray iEncodedPath; ///< computed once, needed for each look-up
    const bool iIsElsewhere; ///< bound to a path that cannot exist, because the given one is not a file
    const bool iIsFrameworks; ///< QSettings may write changes as soon as they are made
    bool iIsReadable = true;
    bool iHasLooked = false;
    bool iHasTaken = false; ///< QSettings has loaded the version in iState
    bool iMayNest = false; ///< names may be nested, and QSettings has not parsed the whole file yet
    bool iIsForgotten = false; ///< QSettings has no unsaved changes
    bool iHasTidied = false; ///< has removed the files that killed writers left
    IniDisk::State iState;
    const std::shared_ptr<SharedChanges> iShared; ///< null if QSettings shares changes; iChanges is for Save only then
    IniChanges iChanges;
    bool iHasPosted = false; ///< an event that saves what is shared
};
