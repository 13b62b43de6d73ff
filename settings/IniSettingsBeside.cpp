#include "IniEncoding.h"
#include "IniSettings.h"
#include "IniText.h"
#include "StandIns.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtCore/QTemporaryDir>

using IniDisk::State;
using IniDisk::StateOf;

// How settings are saved that QSettings would not read or write as they are: through a copy of the file.

namespace {

constexpr int kLockMSecs = 2000;

} // namespace

// Whether QSettings would write all values as they are to be written.
bool IniSettings::IsWritableHere(const QByteArray& text) const
{
    if (iIsFrameworks)
        return true;
    bool isPlain = IniEncoding::IsKept(text);
    const auto standIn = [&isPlain](const QByteArray&) {
        isPlain = false;
        return QString();
    };
    iChanges.ForEach([&](const Change& change) {
        if (isPlain)
            IniEncoding::Writable(change.iValue, standIn);
    });
    return isPlain;
}

// Saves through a copy in which harmless values replace those that QSettings cannot read or would write differently.
bool IniSettings::TrySaveBeside(const QByteArray& text)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("settings.ini"));
    const QVector<IniText::Line> lines = IniText::LinesOf(text, [](const char* from, const char* to) {
        return !IniEncoding::IsKept(QByteArray::fromRawData(from, int(to - from))) || IniText::IsRefused(from, to);
    });
    StandIns standIns;
    const auto hidden = [&](int i) {
        const QByteArray value = text.mid(lines[i].iValueFrom, lines[i].iTo - lines[i].iValueFrom);
        const bool isRefused = IniText::IsRefused(value.constBegin(), value.constEnd());
        return standIns.For(isRefused ? value : IniEncoding::Rewritten(value));
    };
    if (!iIsFrameworks)
        QFileInfo(IniDisk::TargetOf(iPath)).dir().mkpath(QStringLiteral(".")); // as QSettings does
    QLockFile lock(iPath + QLatin1String(".lock"));
    if (!IniDisk::Put(path, IniEncoding::Readable(IniText::WithValues(text, lines, hidden)))
        || !lock.tryLock(kLockMSecs))
        return false;
    IniSettings copy(path, true, IniDisk::FolderLock(path, IniDisk::FolderLock::For::Reading));
    const auto changes = [&](const auto& function) {
        iChanges.ForEach([&](const Change& change) {
            const auto standIn = [&](const QByteArray& value) { return QString::fromLatin1(standIns.For(value)); };
            function({change.iGroup, change.iKey, IniEncoding::Writable(change.iValue, standIn), change.iIsRemoval});
        });
    };
    IniDisk::Content content;
    if (!copy.Save(changes) || !content.Read(path))
        return false;
    return Replace(standIns.Restored(content.Bytes()));
}

bool IniSettings::Replace(const QByteArray& text) const
{
    const State before = StateOf(iEncodedPath);
    if (!IniDisk::Replace(IniDisk::TargetOf(iPath), text))
        return false;
    const State version = StateOf(iEncodedPath);
    if (!IniDisk::IsLater(version, before))
        IniDisk::SetLater(iPath, version, before);
    return true;
}
