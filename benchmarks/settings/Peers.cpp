#include "Peers.h"

#include <NeroltOrvaneBase/Settings.h>

#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QTextStream>

namespace {

template <typename Store>
qint64 Length(const Store& store, const QString& group, const QString& key)
{
    QString value;
    store.GetKeyValue(group, key, value);
    return value.size();
}

// A look-up that sees what others wrote since.

qint64 LookUpIniFile(const QString& path)
{
    const IniFile file(path);
    qint64 length = 0;
    for (int i = 0; i < kLookUps; ++i)
        length += Length(file, SectionName(i % kSections), KeyName(i % kKeys));
    return length;
}

qint64 LookUpQSettings(const QString& path)
{
    QSettings file(path, QSettings::IniFormat);
    qint64 length = 0;
    for (int i = 0; i < kLookUps; ++i) {
        file.beginGroup(SectionName(i % kSections));
        file.sync();
        length += file.value(KeyName(i % kKeys)).toString().size();
        file.endGroup();
    }
    return length;
}

// A change that is in the file afterwards.

qint64 ChangeIniFile(const QString& path)
{
    IniFile file(path);
    for (int i = 0; i < kChanges; ++i)
        file.SetKeyValue(SectionName(i), KeyName(i), QStringLiteral("changed"));
    return Length(IniFile(path), SectionName(0), KeyName(0));
}

qint64 ChangeQSettings(const QString& path)
{
    QSettings file(path, QSettings::IniFormat);
    for (int i = 0; i < kChanges; ++i) {
        file.beginGroup(SectionName(i));
        file.setValue(KeyName(i), QStringLiteral("changed"));
        file.sync();
        file.endGroup();
    }
    return Length(IniFile(path), SectionName(0), KeyName(0));
}

// A whole file, each key read once.

qint64 LoadSettingsIniFile(const QString& path)
{
    SettingsIniFile file;
    file.ReadFile(path);
    return ForEachKey([&](const QString& group, const QString& key) { return Length(file, group, key); });
}

// A whole file read, changed and written back.

qint64 RewriteSettingsIniFile(const QString& path)
{
    {
        SettingsIniFile file;
        file.ReadFile(path);
        ForEachKey([&](const QString& group, const QString& key) {
            file.SetKeyValue(group, key, QStringLiteral("changed"));
            return 0;
        });
        file.WriteFile(path);
    }
    return LengthOfAll(path);
}

// As a store that is not tied to a file has to do it: one object reads, another one writes.
qint64 RewriteQSettings(const QString& path)
{
    LengthOfAll(path);
    {
        QSettings file(path, QSettings::IniFormat);
        ForEachKey([&](const QString& group, const QString& key) {
            file.setValue(group + QLatin1Char('/') + key, QStringLiteral("changed"));
            return 0;
        });
    }
    return LengthOfAll(path);
}

// The same with an object that stays open, which avoids reading the file again.
qint64 RewriteOpenQSettings(const QString& path)
{
    const QSettings open(path, QSettings::IniFormat);
    return RewriteQSettings(path);
}

Task InMemoryTask()
{
    const auto ours = InMemory<SettingsIniFile>(
        [](const QString& path) {
            auto file = std::make_shared<SettingsIniFile>();
            file->ReadFile(path);
            return file;
        },
        [](const SettingsIniFile& file, const QString& group, const QString& key) { return Length(file, group, key); });
    const auto framework = InMemory<QSettings>(
        [](const QString& path) { return std::make_shared<QSettings>(path, QSettings::IniFormat); },
        [](QSettings& file, const QString& group, const QString& key) {
            file.beginGroup(group);
            const qint64 size = file.value(key).toString().size();
            file.endGroup();
            return size;
        });
    return {
        QStringLiteral("A look-up in memory"),
        QStringLiteral("ns"),
        {{QStringLiteral("SettingsIniFile"), kAll, ours}, {QStringLiteral("QSettings without sync"), kAll, framework}},
        0,
        1000};
}

Task MakeTask(const char* title, const char* unit, QVector<Work> works, double mostShare)
{
    works[1].iName = QStringLiteral("QSettings");
    return {QString::fromLatin1(title), QString::fromLatin1(unit), std::move(works), mostShare, 0};
}

QVector<QString> Names(int count, QString (*name)(int))
{
    QVector<QString> names;
    for (int i = 0; i < count; ++i)
        names += name(i);
    return names;
}

} // namespace

const QVector<QString>& SectionNames()
{
    static const QVector<QString> names = Names(kSections, SectionName);
    return names;
}

const QVector<QString>& KeyNames()
{
    static const QVector<QString> names = Names(kKeys, KeyName);
    return names;
}

qint64 LengthOfAll(const QString& path)
{
    QSettings file(path, QSettings::IniFormat);
    qint64 length = 0;
    const QStringList groups = file.childGroups();
    for (const QString& group : groups) {
        file.beginGroup(group);
        const QStringList keys = file.childKeys();
        for (const QString& key : keys)
            length += file.value(key).toString().size();
        file.endGroup();
    }
    return length;
}

QString SectionName(int section)
{
    return QStringLiteral("Section%1").arg(section, 3, 10, QLatin1Char('0'));
}

QString KeyName(int key)
{
    return QStringLiteral("Key%1").arg(key, 3, 10, QLatin1Char('0'));
}

QString Value(int section, int key)
{
    return QStringLiteral("value of %1 in %2").arg(key).arg(section);
}

void WriteFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(path));
    QTextStream stream(&file);
    for (int section = 0; section < kSections; ++section) {
        stream << '[' << SectionName(section) << "]\n";
        for (int key = 0; key < kKeys; ++key)
            stream << KeyName(key) << '=' << Value(section, key) << '\n';
        stream << '\n';
    }
}

QVector<Task> Tasks()
{
    const QString ini = QStringLiteral("IniFile");
    const QString memory = QStringLiteral("SettingsIniFile");
    QVector<Task> tasks = {
        MakeTask("A look-up that sees what others wrote", "us",
                 {{ini, kLookUps, LookUpIniFile}, {{}, kLookUps, LookUpQSettings}}, 0.05),
        MakeTask("A change that is in the file afterwards", "ms",
                 {{ini, kChanges, ChangeIniFile}, {{}, kChanges, ChangeQSettings}}, 0.05),
        MakeTask("50,000 keys loaded, each read once", "ms", {{memory, 1, LoadSettingsIniFile}, {{}, 1, LengthOfAll}},
                 0.15),
        MakeTask("50,000 keys loaded, changed and written back", "ms",
                 {{memory, 1, RewriteSettingsIniFile},
                  {{}, 1, RewriteQSettings},
                  {QStringLiteral("QSettings, one object"), 1, RewriteOpenQSettings}},
                 0.15),
        InMemoryTask(),
    };
    const QVector<Work> others = KConfigWorks();
    for (int i = 0; i < others.size(); ++i)
        tasks[i].iWorks.insert(2, others[i]);
    return tasks;
}
