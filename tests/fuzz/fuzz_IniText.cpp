#include "Fuzz.h"
#include "settings/IniText.h"
#include "settings/ReadableIni.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QTemporaryDir>

namespace {

using Values = QMap<QPair<QString, QString>, QString>;

void Write(const QString& path, const std::uint8_t* bytes, std::size_t size)
{
    QFile file(path);
    FUZZ_CHECK(file.open(QIODevice::WriteOnly));
    FUZZ_CHECK(file.write(reinterpret_cast<const char*>(bytes), qint64(size)) == qint64(size));
}

// Values by folded names. If names differ only in case, the last one counts. A key without a name is empty.
Values Read(const QString& path, const IniFile& store)
{
    Values values;
    ReadableIni readable(path);
    QSettings& file = readable.Settings();
    for (const QString& group : file.childGroups()) {
        if (group.isEmpty())
            continue;
        file.beginGroup(group);
        for (const QString& key : file.childKeys()) {
            QString text = QStringLiteral("untouched");
            if (!key.isEmpty())
                FUZZ_CHECK(store.GetKeyValue(group, key, text));
            values[{group.toCaseFolded(), key.toCaseFolded()}] = key.isEmpty() ? QString() : text;
        }
        file.endGroup();
    }
    return values;
}

void Check(const Values& values, const SettingsIniFile& store)
{
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        QString text = QStringLiteral("untouched");
        FUZZ_CHECK(store.GetKeyValue(value.key().first, value.key().second, text));
        FUZZ_CHECK(text == value.value());
    }
}

} // namespace

// In any file both stores find the values that the framework finds, except those that it must not decode. The values
// survive being written to another file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    // In memory if possible: the framework waits until each file is on the disk.
    static const QString memory = QStringLiteral("/dev/shm");
    static const bool isUsable = QFileInfo(memory).isWritable();
    static const QTemporaryDir folder((isUsable ? memory : QDir::tempPath()) + QStringLiteral("/fuzz"));
    FUZZ_CHECK(folder.isValid());
    const QString path = folder.filePath(QStringLiteral("any.ini"));
    const QString copy = folder.filePath(QStringLiteral("copy.ini"));
    Write(path, bytes, size);
    QFile::remove(copy);
    const Values values = Read(path, IniFile(path));
    SettingsIniFile store;
    FUZZ_CHECK(store.ReadFile(path));
    // If a key occurs twice and one of its values is refused, the two stores may differ.
    if (IniText::Refused(QByteArray(reinterpret_cast<const char*>(bytes), int(size))).isEmpty())
        Check(values, store);

    FUZZ_CHECK(store.WriteFile(copy));
    SettingsIniFile again;
    FUZZ_CHECK(again.ReadFile(copy));

    // Any file accepts changes. Each has its own name: the framework recognises versions by size and milliseconds.
    static int count = 0;
    const QString changed = folder.filePath(QString::number(++count) + QStringLiteral(".ini"));
    Write(changed, bytes, size);
    store.SetKeyValue(QStringLiteral("Any"), QStringLiteral("key"), 1);
    FUZZ_CHECK(store.WriteFile(changed));
    QFile::remove(changed);
    return 0;
}
