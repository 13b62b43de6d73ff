#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

#include <functional>

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
