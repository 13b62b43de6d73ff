#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

#include <functional>
#include <memory>

/// The same work on the same file, done by the library and by its peers.
///
/// A work returns what it found, so that no result counts that is not right: the sum of the lengths of all values that
/// it read, or that the file holds afterwards.
struct Work
{
    QString iName;
    int iOperations; ///< what the time is divided by
    std::function<qint64(const QString&)> iFunction; ///< on the file at that path
};

struct Task
{
    QString iTitle;
    QString iUnit; ///< "ns", "us" or "ms"
    QVector<Work> iWorks; ///< ours first, then the framework's
    double iMostShare; ///< how much more than the framework's ours may take; 0 for no such aim
    double iMost; ///< how much ours may take in that unit; 0 for no such aim
};

/// 500 sections of 100 keys.
constexpr int kSections = 500;
constexpr int kKeys = 100;

QString SectionName(int section);
QString KeyName(int key);
QString Value(int section, int key);

void WriteFile(const QString& path);

QVector<Task> Tasks();

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
