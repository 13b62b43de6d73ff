#include "IniSettings.h"

#include "IniEncoding.h"
#include "IniNames.h"
#include "IniText.h"
#include "ReadableIni.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <utility>

using IniDisk::Backup;
using IniDisk::Content;
using IniDisk::FolderLock;
using IniDisk::Kind;
using IniDisk::State;
using IniDisk::StateOf;
using IniDisk::TargetOf;
using IniNames::kSeparator;

namespace {

/// The number of objects with changes that are not in their files. QSettings shares unsaved changes between objects on
/// one file, so the next look-up of one object would write the changes of another.
std::atomic<int>& gUnsaved = SharedChanges::sUnsaved;

QString Bindable(const QString& path)
{
    return StateOf(path).iKind == Kind::Other ? path + QLatin1String("/none") : path;
}

// The keys that the framework finds when it reads the file again. If it finds too few, either a read failed or the
// framework did not write this text.
QStringList KeysOf(const Backup& backup, const QByteArray& text)
{
    constexpr int kReadings = 3;
    QStringList keys = QSettings(backup.Path(), QSettings::IniFormat).allKeys();
    for (int i = 1; i < kReadings && keys.size() < IniNames::Count(text); ++i) {
        const Backup other(backup.Path());
        QStringList more = QSettings(other.Path(), QSettings::IniFormat).allKeys();
        if (more.size() > keys.size())
            keys.swap(more);
    }
    return keys;
}

void ApplyTo(QSettings& settings, const IniSettings::Change& change)
{
    if (change.iIsRemoval)
        settings.remove(change.iKey);
    else
        settings.setValue(change.iKey, change.iValue);
}

} // namespace

IniSettings::IniSettings(const QString& path)
    : IniSettings(path, false, FolderLock(path, FolderLock::For::Reading))
{
}

// QSettings reads the file while this is constructed.
IniSettings::IniSettings(const QString& path, bool isCopy, const FolderLock&)
    : QSettings(Bindable(path), QSettings::IniFormat)
    , iPath(QFileInfo(path).absoluteFilePath())
    , iEncodedPath(QFile::encodeName(iPath))
    , iIsElsewhere(fileName() != iPath)
    , iIsFrameworks(isCopy || IniEncoding::kIsFrameworks)
    , iShared(iIsFrameworks ? nullptr : SharedChanges::Of(iPath))
{
}

IniSettings::~IniSettings()
{
    if (!HasUnsaved())
        return;
    Save();
    if (!iChanges.IsEmpty())
        --gUnsaved;
}

void IniSettings::Add(const Change& change)
{
    // QSettings sets a value without reading the file, but removes only keys that it has read.
    if (change.iIsRemoval)
        Refresh();
    else if (!iHasLooked)
        IsReadable();
    if (iShared)
        return Share(change);
    if (iChanges.IsEmpty())
        ++gUnsaved;
    iChanges.Add(change);
    if (!iIsReadable || iIsForgotten)
        return;
    beginGroup(change.iGroup);
    ApplyTo(*this, change);
    endGroup();
}

// As QSettings does with changes.
void IniSettings::Share(const Change& change)
{
    iShared->Add(change);
    if (!std::exchange(iHasPosted, true))
        QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest));
}

void IniSettings::TakeShared()
{
    const IniChanges taken = iShared ? iShared->Take() : IniChanges();
    if (taken.IsEmpty())
        return;
    if (iChanges.IsEmpty())
        ++gUnsaved;
    iChanges.Prepend(taken);
    iIsForgotten = true;
}

void IniSettings::ReturnShared()
{
    if (!iShared || iChanges.IsEmpty())
        return;
    iShared->PutBack(iChanges.TakeAdded());
    if (iChanges.IsEmpty())
        --gUnsaved;
}

std::optional<IniSettings::Change> IniSettings::Unsaved(const QString& group, const QString& key) const
{
    const IniChanges changes = iShared ? iShared->All() : iChanges;
    const Change* const last = changes.Last(group, key);
    return last ? std::make_optional(*last) : std::nullopt;
}

// Checks the text once for each version of the file.
bool IniSettings::IsReadable()
{
    const State state = StateOf(iEncodedPath);
    if (iHasLooked && state == iState)
        return iIsReadable;
    Content content;
    const bool isKnown = state.iKind != Kind::File || content.Read(iPath);
    LookAt(state, content.Bytes());
    iHasLooked = isKnown;
    return iIsReadable;
}

void IniSettings::LookAt(const State& state, const QByteArray& text)
{
    iHasLooked = true;
    iIsReadable = !iIsElsewhere && state.iKind != Kind::Other && IniText::Refused(text).isEmpty()
        && (iIsFrameworks || IniEncoding::IsRead(text));
    iState = state;
    iHasTaken = false;
    iMayNest = IniText::MayNest(text);
}

// QSettings checks the file for changes, too, but compares only its time and size.
bool IniSettings::Refresh()
{
    bool isReadable = IsReadable();
    if (gUnsaved > 0 && (isReadable || HasUnsaved())) {
        Save();
    } else if (isReadable && !iHasTaken) {
        const FolderLock lock(iPath, FolderLock::For::Reading);
        isReadable = IsReadable();
        if (isReadable)
            sync();
        iHasTaken = isReadable && iHasLooked && iState.iKind == Kind::File && iState.iSize > 0;
    }
    if (isReadable && std::exchange(iMayNest, false))
        TakeAll(*this);
    return isReadable;
}

bool IniSettings::event(QEvent* event)
{
    if (event->type() != QEvent::UpdateRequest)
        return QSettings::event(event);
    iHasPosted = false;
    Save();
    return true;
}

void IniSettings::Apply()
{
    TakeAll(*this); // outside of all groups
    QString group;
    beginGroup(group);
    iChanges.ForEach([&](const Change& change) {
        if (change.iGroup != group) {
            endGroup();
            group = change.iGroup;
            beginGroup(group);
        }
        ApplyTo(*this, change);
    });
    endGroup();
}

bool IniSettings::Save()
{
    constexpr int kRounds = 4;
    const FolderLock lock(iPath, FolderLock::For::Writing);
    if (!std::exchange(iHasTidied, true))
        IniDisk::RemoveLeftovers(TargetOf(iPath));
    TakeShared();
    for (int i = 0; i < kRounds; ++i) {
        if (TrySave()) {
            if (!iChanges.IsEmpty())
                --gUnsaved;
            iChanges.Clear();
            iIsForgotten = false;
            return true;
        }
        iIsForgotten = true;
    }
    ReturnShared();
    return false;
}

bool IniSettings::Save(const Changes& changes)
{
    ++gUnsaved;
    iChanges.SetMany(changes);
    iIsForgotten = true;
    const bool isSaved = Save();
    if (!isSaved)
        --gUnsaved;
    iChanges.SetMany(nullptr);
    return isSaved;
}

// QSettings does not notice a short write or a short read. Either loses the end of the text.
bool IniSettings::IsWhole(const QByteArray& before, const QByteArray& after, const Backup& backup) const
{
    if (!after.isEmpty() && !after.endsWith('\n'))
        return false;
    const QSet<QString> removed = iChanges.Removed();
    const auto isRemoved = [&removed](const QString& key) { return IniChanges::IsBelow(key, removed); };
    const bool isCut = iChanges.SetAfter(IniNames::Last(after));
    if (!isCut && IniNames::AreKept(before, after, isRemoved))
        return true; // without building lists of all keys
    const QStringList keys = allKeys();
    QSet<QString> lines; // a section without a name is written as the top level
    for (const QString& key : keys)
        lines += key.startsWith(kSeparator) ? key.mid(1) : key;
    if (IniNames::Count(after) < lines.size())
        return false;
    const QStringList wanted = KeysOf(backup, before);
    const QSet<QString> there(keys.begin(), keys.end());
    return std::all_of(wanted.begin(), wanted.end(),
                       [&](const QString& key) { return there.contains(key) || isRemoved(key); });
}

bool IniSettings::TrySave()
{
    const State state = StateOf(iEncodedPath);
    const bool isFile = state.iKind == Kind::File;
    Content content;
    if (state.iKind == Kind::Other || (isFile && !content.Read(iPath)))
        return false;
    const QByteArray& text = content.Bytes();
    if (!iHasLooked || !(state == iState))
        LookAt(state, text);
    if (!iIsReadable || !IsWritableHere(text))
        return TrySaveBeside(text);
    if (iIsForgotten)
        Apply();
    Backup backup(isFile ? TargetOf(iPath) : QString());
    if (isFile && backup.Path().isEmpty())
        return false;
    sync();
    const State changed = StateOf(iEncodedPath);
    if (changed == state)
        return status() != AccessError || !iChanges.HaveEffectOn(isFile ? KeysOf(backup, text) : QStringList());
    Content after;
    if (after.Read(iPath) && IsWhole(text, after.Bytes(), backup)) {
        LookAt(changed, after.Bytes());
        if (IniText::MayNest(text) || !IniDisk::IsLater(changed, state))
            TakeAnew(state);
        return true;
    }
    if (isFile)
        backup.Restore();
    else
        QFile::remove(TargetOf(iPath));
    return false;
}

// QSettings reads the file again if its time has changed. Other processes notice a new version by that, too. And
// QSettings drops a separator at the start of a name when it writes, but remembers the old name.
void IniSettings::TakeAnew(const State& before)
{
    IniDisk::SetLater(iPath, iState, before);
    iState = StateOf(iEncodedPath);
    sync();
}
