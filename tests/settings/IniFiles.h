#pragma once

#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IIniFileBase.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QString>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

/// INI files in the scratch folder of a test.
namespace IniFiles {

/// What Read returns for a missing file. NewFile creates no file for it.
inline const QByteArray kNoFile = "<no file>";

/// A path that this process has not used before: the framework caches files by name. A folder has few files, because
/// each writer looks through it.
inline QString NewPath()
{
    constexpr int kFiles = 10;
    static int count = 0;
    const QString folder = QStringLiteral("ini-%1").arg(count / kFiles);
    QDir(TestSupport::Scratch()).mkpath(folder);
    return QDir(TestSupport::Scratch()).filePath(folder + QStringLiteral("/%1.ini").arg(++count));
}

inline QString NewFolder()
{
    const QString path = NewPath();
    QDir().mkpath(path);
    return path;
}

inline void Write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("cannot write %s", qPrintable(path));
}

inline QString NewFile(const QByteArray& text)
{
    const QString path = NewPath();
    if (text != kNoFile)
        Write(path, text);
    return path;
}

inline QByteArray Read(const QString& path)
{
    return QFile::exists(path) ? LogText::Read(path) : kNoFile;
}

inline void SetTime(const QString& path, const QDateTime& time)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || !file.setFileTime(time, QFileDevice::FileModificationTime))
        qFatal("cannot set the time of %s", qPrintable(path));
}

inline QStringList Entries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

/// What most tests set and get.
inline const QString kGroup = QStringLiteral("A");
inline const QString kKey = QStringLiteral("k");

/// The value as text, "<none>" if there is none and the caller's text was left alone.
inline QString Get(const IIniFileBase& ini, const QString& group = kGroup, const QString& key = kKey)
{
    const QString untouched = QStringLiteral("<untouched>");
    QString value = untouched;
    if (ini.GetKeyValue(group, key, value))
        return value;
    return value == untouched ? QStringLiteral("<none>") : QStringLiteral("<none, but changed>");
}

// Whether no other process has locked the folder of the file in that way.
inline bool CanLockFolder(const QString& path, int operation)
{
    const int folder = ::open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY);
    const bool can = ::flock(folder, operation | LOCK_NB) == 0;
    ::close(folder);
    return can;
}

} // namespace IniFiles
