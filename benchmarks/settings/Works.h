#pragma once

#include "Peers.h"

#include <memory>

// What the works have in common.

constexpr int kAll = kSections * kKeys;
constexpr int kLookUps = 20000;
constexpr int kChanges = 5;

/// Names are built beforehand, so that building them is not measured.
const QVector<QString>& SectionNames();
const QVector<QString>& KeyNames();

/// The lengths of all values in the file together, read with QSettings.
qint64 LengthOfAll(const QString& path);

/// KConfig's works, one for each task in their order; none where the benchmarks are built without it.
QVector<Work> KConfigWorks();

template <typename Function>
qint64 ForEachKey(const Function& function)
{
    qint64 length = 0;
    for (const QString& group : SectionNames()) {
        for (const QString& key : KeyNames())
            length += function(group, key);
    }
    return length;
}

/// A look-up in memory. The file is loaded once, before any time is taken.
template <typename Loaded, typename Read>
std::function<qint64(const QString&)> InMemory(std::function<std::shared_ptr<Loaded>(const QString&)> load, Read read)
{
    auto loaded = std::make_shared<std::shared_ptr<Loaded>>();
    return [=](const QString& path) {
        if (!*loaded)
            *loaded = load(path);
        static const QString group = SectionName(321);
        static const QString key = KeyName(45);
        qint64 length = 0;
        for (int i = 0; i < kAll; ++i)
            length += read(**loaded, group, key);
        return length;
    };
}
