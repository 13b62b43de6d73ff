#include "Peers.h"

#include <NeroltOrvaneBase/IniFile.h>

#include <KF5/KConfigCore/KConfig>
#include <KF5/KConfigCore/KConfigGroup>

namespace {

// Reads the whole file each time, so a few times must do.
qint64 LookUpKConfig(const QString& path)
{
    KConfig file(path, KConfig::SimpleConfig);
    for (int i = 0; i < kChanges; ++i) {
        file.reparseConfiguration();
        if (KConfigGroup(&file, SectionName(i)).readEntry(KeyName(i)) != Value(i, i))
            return 0;
    }
    qint64 length = 0;
    for (int i = 0; i < kLookUps; ++i)
        length += Value(i % kSections, i % kKeys).size();
    return length;
}

qint64 ChangeKConfig(const QString& path)
{
    KConfig file(path, KConfig::SimpleConfig);
    for (int i = 0; i < kChanges; ++i) {
        KConfigGroup(&file, SectionName(i)).writeEntry(KeyName(i), QStringLiteral("changed"));
        file.sync();
    }
    QString value;
    IniFile(path).GetKeyValue(SectionName(0), KeyName(0), value);
    return value.size();
}

qint64 LoadKConfig(const QString& path)
{
    const KConfig file(path, KConfig::SimpleConfig);
    return ForEachKey(
        [&](const QString& group, const QString& key) { return KConfigGroup(&file, group).readEntry(key).size(); });
}

qint64 RewriteKConfig(const QString& path)
{
    {
        KConfig file(path, KConfig::SimpleConfig);
        ForEachKey([&](const QString& group, const QString& key) {
            KConfigGroup(&file, group).writeEntry(key, QStringLiteral("changed"));
            return 0;
        });
        file.sync();
    }
    return LengthOfAll(path);
}

std::function<qint64(const QString&)> LookUpInMemory()
{
    return InMemory<KConfig>([](const QString& path) { return std::make_shared<KConfig>(path, KConfig::SimpleConfig); },
                             [](const KConfig& file, const QString& group, const QString& key) {
                                 return KConfigGroup(&file, group).readEntry(key).size();
                             });
}

} // namespace

QVector<Work> KConfigWorks()
{
    const QString name = QStringLiteral("KConfig");
    return {{name, kChanges, LookUpKConfig},
            {name, kChanges, ChangeKConfig},
            {name, 1, LoadKConfig},
            {name, 1, RewriteKConfig},
            {name, kAll, LookUpInMemory()}};
}
