#include "IniSettings.h"

#include "IniText.h"

#include <QtCore/QEvent>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtCore/QSet>
#include <QtCore/QUuid>

#include <algorithm>
#include <atomic>
#include <utility>

using namespace IniDisk;

namespace {

constexpr QLatin1Char kSeparator('/');
constexpr int kLockMSecs = 2000;

/// Objects with changes that are not in their files. The framework shares changes between objects on one file, and
/// would write one's with another's next look-up.
std::atomic<int> gUnsaved{0};

QString Bindable(const QString& path)
{
    return StateOf(path).iKind == Kind::Other ? path + QLatin1String("/none") : path;
}

QString Full(const QString& group, const QString& key)
{
    return group.isEmpty() ? key : group + kSeparator + key;
}

QString Normal(const QString& key)
{
    return key.split(kSeparator, Qt::SkipEmptyParts).join(kSeparator);
}

// Whether the removal of a key takes another along.
bool IsBelow(const QString& key, const QString& removed)
{
    const QString name = Normal(key);
    const QString start = Normal(removed);
    return start.isEmpty() || name == start || name.startsWith(start + kSeparator);
}

// A file's keys as the framework reads them from it anew. A reading that failed is one of fewer keys, if it is not one
// of a text that the framework did not write.
QStringList KeysOf(const Backup& backup, const QByteArray& text)
{
    constexpr int kReadings = 3;
    QStringList keys = QSettings(backup.Path(), QSettings::IniFormat).allKeys();
    for (int i = 1; i < kReadings && keys.size() < IniText::CountKeys(text); ++i) {
        const Backup other(backup.Path());
        QStringList more = QSettings(other.Path(), QSettings::IniFormat).allKeys();
        if (more.size() > keys.size())
            keys.swap(more);
    }
    return keys;
}

bool Put(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
}

} // namespace

IniSettings::IniSettings(const QString& path)
    : QSettings(Bindable(path), QSettings::IniFormat)
    , iPath(QFileInfo(path).absoluteFilePath())
    , iEncodedPath(QFile::encodeName(iPath))
    , iIsElsewhere(fileName() != iPath)
{
}

IniSettings::~IniSettings()
{
    if (iChanges.isEmpty())
        return;
    Save();
    if (!iChanges.isEmpty())
        --gUnsaved;
}

void IniSettings::Note(const Change& change)
{
    if (iChanges.isEmpty())
        ++gUnsaved;
    iChanges += change;
}

void IniSettings::Set(const QString& key, const QVariant& value)
{
    Note({Full(group(), key), value, false});
    if (iHasLooked ? iIsReadable : IsReadable()) // without a look for each of many
        setValue(key, value);
}

void IniSettings::Remove(const QString& key)
{
    Note({Full(group(), key), QVariant(), true});
    if (IsReadable())
        remove(key);
}

const IniSettings::Change* IniSettings::Unsaved(const QString& group, const QString& key) const
{
    for (int i = iChanges.size() - 1; i >= 0; --i) {
        const Change& change = iChanges.at(i);
        const QString name = Full(group, key);
        if (change.iIsRemoval ? IsBelow(name, change.iKey) : Normal(change.iKey) == Normal(name))
            return &change;
    }
    return nullptr;
}

bool IniSettings::IsRemoved(const QString& key) const
{
    return std::any_of(iChanges.begin(), iChanges.end(),
                       [&key](const Change& change) { return change.iIsRemoval && IsBelow(key, change.iKey); });
}

bool IniSettings::HasEffectOn(const QStringList& keys) const
{
    const bool sets
        = std::any_of(iChanges.begin(), iChanges.end(), [](const Change& change) { return !change.iIsRemoval; });
    return sets || std::any_of(keys.begin(), keys.end(), [this](const QString& key) { return IsRemoved(key); });
}

// Looks at the text once for each state of the file.
bool IniSettings::IsReadable()
{
    const State state = StateOf(iEncodedPath);
    if (iHasLooked && state == iState)
        return iIsReadable;
    QByteArray text;
    const bool isFile = state.iKind == Kind::File;
    iHasLooked = !isFile || Read(iPath, text);
    iIsReadable = !iIsElsewhere && state.iKind != Kind::Other && IniText::Refused(text).isEmpty();
    iState = state;
    iHasTaken = false;
    return iIsReadable;
}

// The framework would look whether the file has changed, and knows less of it than its state tells.
bool IniSettings::Refresh()
{
    const bool isReadable = IsReadable();
    if (gUnsaved > 0 && (isReadable || !iChanges.isEmpty())) {
        Save();
    } else if (isReadable && !iHasTaken) {
        sync();
        iHasTaken = iHasLooked && iState.iKind == Kind::File && iState.iSize > 0;
    }
    return isReadable;
}

bool IniSettings::event(QEvent* event)
{
    if (event->type() != QEvent::UpdateRequest)
        return QSettings::event(event);
    Save();
    return true;
}

void IniSettings::Apply(const QVector<Change>& changes, QSettings& settings)
{
    for (const Change& change : changes) {
        if (change.iIsRemoval)
            settings.remove(change.iKey);
        else
            settings.setValue(change.iKey, change.iValue);
    }
}

bool IniSettings::Save()
{
    constexpr int kTries = 4;
    const FolderLock lock(TargetOf(iPath));
    if (!std::exchange(iHasTidied, true))
        RemoveLeftovers(TargetOf(iPath));
    for (int i = 0; i < kTries; ++i) {
        if (iIsForgotten && IsReadable())
            Apply(iChanges, *this);
        if (TrySave()) {
            if (!iChanges.isEmpty())
                --gUnsaved;
            iChanges.clear();
            iIsForgotten = false;
            return true;
        }
        iIsForgotten = true;
    }
    return false;
}

// The framework takes for written what it has handed to the system, and for read what it got.
bool IniSettings::IsWhole(const QByteArray& before, const Backup& backup) const
{
    QByteArray after;
    if (!Read(iPath, after) || (!after.isEmpty() && !after.endsWith('\n')))
        return false;
    const bool isLost = IniText::MayHaveLost(before, after);
    if (!isLost && iChanges.size() == 1 && after != before)
        return true; // as it should be, for less than the list of all keys costs
    const QStringList keys = allKeys();
    if (IniText::CountKeys(after) < keys.size())
        return false;
    if (!isLost)
        return true;
    const QStringList wanted = KeysOf(backup, before);
    const QSet<QString> there(keys.begin(), keys.end());
    return std::all_of(wanted.begin(), wanted.end(),
                       [&](const QString& key) { return there.contains(key) || IsRemoved(key); });
}

bool IniSettings::TrySave()
{
    const State state = StateOf(iEncodedPath);
    QByteArray text;
    if (state.iKind == Kind::Other || (state.iKind == Kind::File && !Read(iPath, text)))
        return false;
    if (iIsElsewhere || !IniText::Refused(text).isEmpty())
        return TrySaveBeside(text);
    const bool isFile = state.iKind == Kind::File;
    Backup backup(isFile ? TargetOf(iPath) : QString());
    if (isFile && backup.Path().isEmpty())
        return false;
    sync();
    if (StateOf(iEncodedPath) == state)
        return status() != AccessError || !HasEffectOn(isFile ? KeysOf(backup, text) : QStringList());
    if (IsWhole(text, backup))
        return true;
    if (isFile)
        backup.Restore();
    else
        QFile::remove(TargetOf(iPath));
    return false;
}

// In a copy, in which something harmless stands for what is refused.
bool IniSettings::TrySaveBeside(const QByteArray& text)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("settings.ini"));
    const QVector<IniText::Line> lines = IniText::Refused(text);
    const QByteArray mark = QUuid::createUuid().toByteArray(QUuid::Id128);
    const auto standIn = [&mark](int i) { return mark + QByteArray::number(i) + 'x'; };
    QLockFile lock(iPath + QLatin1String(".lock"));
    if (!Put(path, IniText::WithValues(text, lines, standIn)) || !lock.tryLock(kLockMSecs))
        return false;
    IniSettings copy(path);
    copy.iChanges = iChanges;
    Apply(iChanges, copy);
    ++gUnsaved;
    QByteArray changed;
    if (!copy.Save() || !Read(path, changed))
        return false;
    for (int i = 0; i < lines.size(); ++i)
        changed.replace(standIn(i), text.mid(lines[i].iValueFrom, lines[i].iTo - lines[i].iValueFrom));
    return Replace(TargetOf(iPath), changed);
}

ReadableIni::ReadableIni(const QString& path, Refused refused)
{
    QByteArray text;
    const Kind kind = StateOf(path).iKind;
    const bool isRead = kind == Kind::File && Read(path, text);
    const QVector<IniText::Line> lines = IniText::Refused(text);
    QString readable = path;
    if (kind == Kind::Other || !lines.isEmpty()) {
        iFolder = std::make_unique<QTemporaryDir>();
        readable = iFolder->filePath(QStringLiteral("settings.ini"));
    }
    if (isRead && !lines.isEmpty())
        Put(readable,
            refused == Refused::Empty ? IniText::WithValues(text, lines, [](int) { return QByteArray(); })
                                      : IniText::Without(text, lines));
    iSettings = std::make_unique<QSettings>(readable, QSettings::IniFormat);
}
